// The pages that tell of the adapter as a whole, 4096 bytes each.
#pragma once

#include "scenario.h"

#include <cstdint>
#include <vector>

namespace vesksim {

std::vector<std::uint8_t> identifyPage(const Adapter& adapter, std::uint64_t noiseSeed);
std::vector<std::uint8_t> adapterInfoPage(const Adapter& adapter, std::uint64_t noiseSeed);

}  // namespace vesksim
