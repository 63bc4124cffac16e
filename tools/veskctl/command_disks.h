// veskctl disks, veskctl disks show
#pragma once

#include "veskctl/command.h"

namespace veskctl {

CommandRunner declareDisks(CLI::App& app);
CommandRunner declareDisksShow(CLI::App& app);

}  // namespace veskctl
