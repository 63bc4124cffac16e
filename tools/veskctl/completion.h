// Scripts that complete the program's words in a shell.
#pragma once

#include "veskctl/description.h"

#include <string>

namespace veskctl {

std::string bashCompletion(const ProgramDescription& program);
std::string zshCompletion(const ProgramDescription& program);
std::string fishCompletion(const ProgramDescription& program);

Command completionCommand();

}  // namespace veskctl
