// `doctor`: everything between this program and the controller that is known to go wrong.
#pragma once

#include "veskctl/command.h"
#include "veskctl/finding.h"
#include "veskctl/snapshot.h"

#include <string>
#include <vector>

namespace veskctl {

struct LoadedLibraries {
    std::string library;   // the files; empty if it could not be loaded
    std::string platform;  // of the host's management library
    bool simulated = false;
};

// Loads and does not set up. Empty if that fails: a snapshot's problems say why.
LoadedLibraries loadLibraries(const CommandContext& context);

// Everything that was looked at, in the order from the program to the controller; what is in order
// stands there as information.
std::vector<Finding> examine(const Snapshot& snapshot, const LoadedLibraries& libraries);

// And of the codes that the controller's log holds, those that the mapping lacks: that is asked of
// the library.
std::vector<Finding> diagnose(const CommandContext& context, const Snapshot& snapshot,
                              const LoadedLibraries& libraries);

Command doctorCommand();

}  // namespace veskctl
