#include "veskctl/pcie_link.h"

namespace veskctl {

namespace {

std::optional<double> speedOf(std::uint8_t code) {
    switch (code) {
    case 1:
        return 2.5;
    case 2:
        return 5.0;
    case 3:
        return 8.0;
    case 4:
        return 16.0;
    case 5:
        return 32.0;
    case 6:
        return 64.0;
    default:
        return std::nullopt;
    }
}

// The record has no room for 16 lanes: they read 0, as an unknown width does.
std::optional<unsigned> widthOf(std::uint8_t code) {
    return code == 0 ? std::nullopt : std::optional<unsigned>(code);
}

template <class Value>
std::optional<bool> below(const std::optional<Value>& current, const std::optional<Value>& max) {
    if (!current || !max) {
        return std::nullopt;
    }
    return *current < *max;
}

}  // namespace

std::optional<double> PcieLink::currentSpeedGts() const {
    return speedOf(currentSpeedCode);
}

std::optional<double> PcieLink::maxSpeedGts() const {
    return speedOf(maxSpeedCode);
}

std::optional<unsigned> PcieLink::currentWidth() const {
    return widthOf(currentWidthCode);
}

std::optional<unsigned> PcieLink::maxWidth() const {
    return widthOf(maxWidthCode);
}

std::optional<bool> PcieLink::downgraded() const {
    const std::optional<bool> slower = below(currentSpeedGts(), maxSpeedGts());
    const std::optional<bool> narrower = below(currentWidth(), maxWidth());
    if (slower.value_or(false) || narrower.value_or(false)) {
        return true;
    }
    if (!slower || !narrower) {
        return std::nullopt;
    }
    return false;
}

}  // namespace veskctl
