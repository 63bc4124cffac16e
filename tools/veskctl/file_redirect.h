// Single files in the place of others, for every library of the process. Stands in the program
// itself: its fopen and fopen64 come before those of the C library, by which the library opens all
// of its files. The library offers no other way to look at the controller's log without moving
// the host's mark: it reads and writes the mark where it reads the alert mapping.
#pragma once

#include <string>

namespace veskctl {

// From now on the file `to` is opened where `from` is asked for. The last one said counts.
void redirectFile(const std::string& from, const std::string& to);

}  // namespace veskctl
