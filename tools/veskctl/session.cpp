#include "veskctl/session.h"

namespace veskctl {

Session::Session(const std::string& libraryName, std::vector<Problem>& problems)
    : m_library(libraryName) {
    const UCHAR_ result = functions().initialize();
    m_controllerCount = functions().adapterGetCount();
    if (result != ERR_NONE) {
        const Problem problem = libraryCallFailed("ZT_API_Initialize", result);
        if (m_controllerCount == 0) {
            throw ProblemError(problem);
        }
        problems.push_back(problem);
    }
    if (m_controllerCount == 0) {
        throw ProblemError({ProblemKind::NoController,
                            "no controller was found on this host; check that it is installed and "
                            "that the host's NVMe driver has claimed it"});
    }
}

}  // namespace veskctl
