// One use of the library: its set-up, and a controller that was found.
#pragma once

#include "veskctl/library_process.h"

#include <vector>

namespace veskctl {

struct CommandContext;
struct Report;

constexpr unsigned kDefaultTimeoutSeconds = 60;

// How the command line wants the library to be used. timeoutSeconds: if none was asked for.
LibrarySetup librarySetup(const CommandContext& context,
                          unsigned timeoutSeconds = kDefaultTimeoutSeconds);

// At most one at a time. The next one is a fresh start of the library, which then looks at the
// controller's log at once.
class Session {
public:
    // Starts the library, sets it up and counts. Throws ProblemError if that fails or if there is
    // no controller. A set-up that complains and yet finds a controller is noted in `problems`
    // only. simulated: set before anything is thrown, once it is known.
    Session(const LibrarySetup& setup, std::vector<Problem>& problems, bool& simulated);
    // Notes both in the report.
    Session(const CommandContext& context, Report& report);

    const LibraryFunctions& functions() const { return m_process.functions(); }
    LogReads logReads() { return m_process.logReads(); }

private:
    LibraryProcess m_process;
};

}  // namespace veskctl
