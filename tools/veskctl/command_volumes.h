// veskctl volumes, veskctl volumes show
#pragma once

#include "veskctl/command.h"

namespace veskctl {

CommandRunner declareVolumes(CLI::App& app);
CommandRunner declareVolumesShow(CLI::App& app);

}  // namespace veskctl
