// The controller and its PCIe link: decoded, asked for, shown.
#pragma once

#include "veskctl/library.h"
#include "veskctl/problem.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace veskctl {

class Blocks;
struct Command;

// The codes are those of PCI Express.
struct PcieLink {
    std::uint8_t currentSpeedCode = 0;
    std::uint8_t maxSpeedCode = 0;
    std::uint8_t currentWidthCode = 0;
    std::uint8_t maxWidthCode = 0;

    std::optional<double> currentSpeedGts() const;
    std::optional<double> maxSpeedGts() const;
    std::optional<unsigned> currentWidth() const;
    std::optional<unsigned> maxWidth() const;

    // Both speeds are: a link of 16 lanes has no known width.
    bool isKnown() const { return currentSpeedGts() && maxSpeedGts(); }

    // Slower or narrower than the controller could; empty where what is known does not tell.
    std::optional<bool> downgraded() const;
};

struct PciIdentity {
    std::uint16_t vendorId = 0;
    std::uint16_t deviceId = 0;
    std::uint16_t subsystemVendorId = 0;
    std::uint16_t subsystemDeviceId = 0;
    std::uint32_t addressRaw = 0;  // function, device and bus in the three low bytes

    // "3b:00.0". Empty for 0, which is what an address that was not found reads as; it is that of
    // the root complex, never a controller's.
    std::optional<std::string> address() const;
};

struct Controller {
    PciIdentity pci;
    std::array<std::uint16_t, 4> firmwareVersion{};
    PcieLink link;
    unsigned physicalDiskCount = 0;
    unsigned virtualDiskCount = 0;
    unsigned portCount = 0;
    unsigned maxBufferSizeRaw = 0;

    std::string firmwareVersionText() const;

    // A device command that failed leaves zeros, and the library does not tell. No controller that
    // answered has neither ids nor a firmware version.
    bool responding() const;
};

// "8 GT/s x4"; "?" for what is not reported.
std::string linkText(const PcieLink& link);
std::string maxLinkText(const PcieLink& link);

// Zeros where nothing came. What goes wrong is noted among the problems. May throw what the library
// throws.
Controller readController(const LibraryFunctions& functions, std::vector<Problem>& problems);

Json pcieLinkToJson(const PcieLink& link);
void addPcieLinkSection(const PcieLink& link, Blocks& blocks);

Json controllerToJson(const Controller& controller);
void addControllerSections(const Controller& controller, Blocks& blocks);

Command controllerCommand();

}  // namespace veskctl
