// The PCIe link of a controller, decoded from PCI Express codes.
#pragma once

#include <cstdint>
#include <optional>

namespace veskctl {

struct PcieLink {
    std::uint8_t currentSpeedCode = 0;
    std::uint8_t maxSpeedCode = 0;
    std::uint8_t currentWidthCode = 0;
    std::uint8_t maxWidthCode = 0;

    std::optional<double> currentSpeedGts() const;
    std::optional<double> maxSpeedGts() const;
    std::optional<unsigned> currentWidth() const;
    std::optional<unsigned> maxWidth() const;

    // Slower or narrower than the controller could; empty where what is known does not tell.
    std::optional<bool> downgraded() const;
};

}  // namespace veskctl
