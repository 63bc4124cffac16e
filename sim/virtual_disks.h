// The controller's answers about its virtual disks.
#pragma once

#include "scenario.h"

#include <cstdint>
#include <vector>

namespace vesksim {

// 4096 bytes: the record of the virtual disk, or one that says that there is no such disk.
std::vector<std::uint8_t> virtualDiskReply(const Adapter& adapter, std::uint32_t id,
                                           std::uint64_t noiseSeed);

}  // namespace vesksim
