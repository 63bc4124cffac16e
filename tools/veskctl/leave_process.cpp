#include "veskctl/leave_process.h"

#include <cstdlib>

namespace veskctl {

void leaveProcess(int code) {
    std::_Exit(code);
}

}  // namespace veskctl
