// Asks the library for the health of physical disks.
#pragma once

#include "veskctl/health.h"
#include "veskctl/library.h"
#include "veskctl/problem.h"

#include <vector>

namespace veskctl {

// Never throws: what goes wrong is noted among the problems, so that the other disk is still asked.
Health readHealth(const LibraryFunctions& functions, unsigned slot, std::vector<Problem>& problems);

}  // namespace veskctl
