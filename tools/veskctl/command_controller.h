// veskctl controller
#pragma once

#include "veskctl/command.h"

namespace veskctl {

CommandRunner declareController(CLI::App& app);

}  // namespace veskctl
