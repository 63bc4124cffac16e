// veskctl version
#pragma once

#include "veskctl/command.h"

namespace veskctl {

CommandRunner declareVersion(CLI::App& app);

}  // namespace veskctl
