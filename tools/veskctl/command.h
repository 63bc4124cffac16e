// What a command is to the rest of the program.
#pragma once

#include "veskctl/report.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <string>
#include <vector>

namespace veskctl {

struct CommandContext {
    std::string libraryName;  // as --library gave it, or the default
    bool json = false;        // one document is asked for
    bool colour = false;
};

// Fills the report. May throw: what the report holds by then is shown all the same, so lists are
// put there, empty, before anything can fail.
using CommandRunner = std::function<void(const CommandContext&, Report&)>;

struct Command {
    const char* name;
    const char* summary;
    // Adds the command's own options, if it has any; the runner reads what was parsed into them.
    // Null: the name is only the first word of its subcommands.
    CommandRunner (*declare)(CLI::App& app) = nullptr;
    std::vector<Command> subcommands = {};
};

}  // namespace veskctl
