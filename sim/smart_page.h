// The SMART / Health Information page (log page 2) of a disk.
#pragma once

#include "scenario.h"

#include <cstdint>
#include <vector>

namespace vesksim {

// 512 bytes.
std::vector<std::uint8_t> smartPage(const Smart& smart, std::uint64_t noiseSeed);

}  // namespace vesksim
