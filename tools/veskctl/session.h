// One use of the library: its set-up, and the number of controllers. At most one per process: the
// library can be set up only once. Nothing tears it down, see leave_process.h.
#pragma once

#include "veskctl/library.h"
#include "veskctl/problem.h"

#include <string>
#include <vector>

namespace veskctl {

class Session {
public:
    // Loads the library, sets it up and counts. Throws ProblemError if that fails or if there is no
    // controller. A set-up that complains and yet finds a controller is noted in `problems` only.
    Session(const std::string& libraryName, std::vector<Problem>& problems);

    const LibraryFunctions& functions() const { return m_library.functions(); }
    unsigned controllerCount() const { return m_controllerCount; }

private:
    Library m_library;
    unsigned m_controllerCount = 0;
};

}  // namespace veskctl
