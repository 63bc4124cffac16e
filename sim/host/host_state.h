// Keeps what the controllers of the simulated host remember, their locate lights and event logs, in
// the file controller_state.json of the host folder, from one run of a program to the next.
#pragma once

#include <stdexcept>
#include <string>

namespace vesksim {

// what() names the file, the place in it, the reason and what to do.
class StateError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Both act on SimulatedHost::instance() and throw std::invalid_argument for an empty root or "/".

// To be called behind load(). Does nothing if there is no file. A log is taken over if the scenario
// still says the same about it, and goes on growing over the time in between; lights are taken over
// for disks that are there. Throws StateError for a file that cannot be read, is damaged or is not
// ours; host and file then stay as they are.
void loadState(const std::string& root);

// Replaces the file in one step. Adapters in it that this host does not have are kept. Throws
// StateError, and leaves the file as it is, where loadState would; std::system_error if the new
// file cannot be written.
void saveState(const std::string& root);

}  // namespace vesksim
