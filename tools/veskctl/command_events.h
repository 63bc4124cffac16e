// veskctl events
#pragma once

#include "veskctl/command.h"

namespace veskctl {

CommandRunner declareEvents(CLI::App& app);

}  // namespace veskctl
