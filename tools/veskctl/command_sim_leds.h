// veskctl-sim sim leds
#pragma once

#include "veskctl/command.h"

namespace veskctl {

CommandRunner declareSimLeds(CLI::App& app);

}  // namespace veskctl
