// All commands, in the order of the help text.
#pragma once

#include "veskctl/command.h"

#include <vector>

namespace veskctl {

const std::vector<Command>& commandTable();

}  // namespace veskctl
