// The side of the library: what the process does that holds it.
#pragma once

#include <string>

namespace veskctl {

struct LibrarySetup;

// Loads the library and answers calls until the other end of `connection` closes; then leaves at
// once, with nothing torn down: see leaveProcess. output: what the library prints goes there.
[[noreturn]] void serveLibrary(int connection, int output, const LibrarySetup& setup);

}  // namespace veskctl
