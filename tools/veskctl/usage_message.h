// What is said of a command line that cannot be read.
#pragma once

#include "veskctl/description.h"

#include <string>
#include <vector>

namespace veskctl {

// Of an option or a word that the command does not know.
std::string unknownMessage(const ProgramDescription& program, const CommandDescription& command,
                           const std::string& word);

// "try 'veskctl disks show --help'"
std::string helpHint(const ProgramDescription& program, const std::string& words);

}  // namespace veskctl
