// veskctl locate on, veskctl locate off
#pragma once

#include "veskctl/command.h"

namespace veskctl {

CommandRunner declareLocateOn(CLI::App& app);
CommandRunner declareLocateOff(CLI::App& app);

}  // namespace veskctl
