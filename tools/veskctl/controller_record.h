// The library's 304-byte record of a controller, and what it says. Read by offsets: the class
// behind the record lives in the library, which this program does not link.
#pragma once

#include "veskctl/pcie_link.h"

#include "VeskNvme.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace veskctl {

constexpr std::size_t kControllerRecordSize = 304;

struct alignas(CController) ControllerRecord {
    std::array<std::uint8_t, kControllerRecordSize> bytes{};

    CController* get() { return reinterpret_cast<CController*>(bytes.data()); }
};
static_assert(sizeof(ControllerRecord) == sizeof(CController), "the library fills all of it");

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

Controller decodeController(const ControllerRecord& record);

}  // namespace veskctl
