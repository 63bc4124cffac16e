// The controller's answers about its physical disks.
#pragma once

#include "scenario.h"

#include <cstdint>
#include <vector>

namespace vesksim {

const Disk* findDisk(const Adapter& adapter, std::uint32_t id);

// 4096 bytes: the record of the disk, or one that says that there is no such disk.
std::vector<std::uint8_t> physicalDiskReply(const Adapter& adapter, std::uint32_t id,
                                            std::uint64_t noiseSeed);

}  // namespace vesksim
