#include "veskctl/session.h"

#include "veskctl/command.h"
#include "veskctl/host_files.h"
#include "veskctl/report.h"

namespace veskctl {

LibrarySetup librarySetup(const CommandContext& context, unsigned timeoutSeconds) {
    LibrarySetup setup;
    setup.libraryName = context.libraryName;
    setup.timeout = std::chrono::seconds(context.timeoutSeconds.value_or(timeoutSeconds));
    setup.hooks = context.child;
    setup.hostRoot = context.hostRoot;
    return setup;
}

namespace {

// Some of what may lie there ends the library, or has it wait for ever.
const LibrarySetup& checked(const LibrarySetup& setup) {
    demandUsable(readHostFiles(setup.hostRoot));
    return setup;
}

}  // namespace

Session::Session(const LibrarySetup& setup, std::vector<Problem>& problems, bool& simulated)
    : m_process(checked(setup)) {
    simulated = m_process.simulated();
    const UCHAR_ result = functions().initialize();
    const bool found = functions().adapterGetCount() != 0;
    if (result != ERR_NONE) {
        const Problem problem = libraryCallFailed("ZT_API_Initialize", result);
        if (!found) {
            throw ProblemError(problem);
        }
        problems.push_back(problem);
    }
    if (!found) {
        const std::string printed = m_process.printed();
        throw ProblemError({ProblemKind::NoController,
                            "no controller was found on this host; check that it is installed and "
                            "that the host's NVMe driver has claimed it" +
                                (printed.empty() ? "" : "; the library printed: " + printed)});
    }
}

Session::Session(const CommandContext& context, Report& report)
    : Session(librarySetup(context), report.problems, report.simulated) {}

}  // namespace veskctl
