// veskctl health
#pragma once

#include "veskctl/command.h"

namespace veskctl {

CommandRunner declareHealth(CLI::App& app);

}  // namespace veskctl
