// `doctor`: everything between this program and the controller that is known to go wrong.
#pragma once

#include "veskctl/command.h"
#include "veskctl/finding.h"
#include "veskctl/snapshot.h"

#include <vector>

namespace veskctl {

// Everything that was looked at, in the order from the program to the controller; what is in order
// stands there as information.
std::vector<Finding> examine(const Snapshot& snapshot);

Command doctorCommand();

}  // namespace veskctl
