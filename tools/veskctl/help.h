// What --help shows, and the command of that name.
#pragma once

#include "veskctl/description.h"

#include <string>

namespace veskctl {

// columns: of the screen; 0: not known.
std::string helpText(const ProgramDescription& program, const CommandDescription& command,
                     unsigned columns);

// "veskctl disks show ID [OPTIONS]"
std::string usageLine(const ProgramDescription& program, const CommandDescription& command);

// "-o, --output FORMAT [table]"
std::string optionTitle(const OptionDescription& option);

// "veskctl disks show 1"
std::string exampleLine(const ProgramDescription& program, const Example& example);

Command helpCommand();

}  // namespace veskctl
