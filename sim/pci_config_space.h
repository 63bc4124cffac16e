// The first 256 bytes of an adapter's PCI configuration space: header, and a capability list of
// power management, MSI-X and, last, PCI Express with the link of the scenario.
#pragma once

#include "scenario.h"

#include <array>
#include <cstdint>

namespace vesksim {

std::array<std::uint8_t, 256> pciConfigSpace(const Adapter& adapter);

}  // namespace vesksim
