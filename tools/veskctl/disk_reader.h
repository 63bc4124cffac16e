// Asks the library for physical disks.
#pragma once

#include "veskctl/disk.h"
#include "veskctl/library.h"
#include "veskctl/problem.h"

#include <optional>
#include <vector>

namespace veskctl {

// Never throws: what goes wrong is noted among the problems, so that the other disk is still asked.
Disk readDisk(const LibraryFunctions& functions, unsigned slot, std::vector<Problem>& problems);

// Presence and PD_Info alone. May throw what the library throws.
Disk readDiskInfo(const LibraryFunctions& functions, unsigned slot, std::vector<Problem>& problems);

}  // namespace veskctl
