// The library's talker with the controller found, and no polling thread.
#pragma once

#include "api/command_handler.h"
#include "api/lib_initializer.h"

#include <cstdlib>

namespace bench {

inline void connectLibrary() {
    CLibInitializer::createOSdeviceTalkerInstance();
    if (!CLibInitializer::checkControllerExistence()) {
        std::abort();
    }
    CommandHandler::m_ControllerCount = 1;
}

}  // namespace bench
