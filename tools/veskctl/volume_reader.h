// Asks the library for virtual disks.
#pragma once

#include "veskctl/library.h"
#include "veskctl/problem.h"
#include "veskctl/volume.h"

#include <vector>

namespace veskctl {

// Never throws: what goes wrong is noted among the problems, so that the other one is still asked.
Volume readVolume(const LibraryFunctions& functions, unsigned id, std::vector<Problem>& problems);

}  // namespace veskctl
