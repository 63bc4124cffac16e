// The program behind its main functions: reads the command line, runs one command, writes the
// result.
#pragma once

#include "veskctl/command.h"
#include "veskctl/screen.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace veskctl {

// What a main function adds.
struct CliHooks {
    std::string programName = "veskctl";  // in the help text
    bool simulated = false;               // all that is shown is the simulated host
    // Called for the program and for each command, so that options may stand on either side of the
    // command's name. They must write to the same variables each time.
    std::function<void(Options&)> addOptions = {};
    // After the command line was read, before the command. Fills in what it knows of the host. May
    // throw UsageError.
    std::function<void(CommandContext&)> prepare = {};
    // After the command, also one that failed, with its name. May change the report, may throw.
    std::function<void(const std::string&, Report&)> finish = {};
    std::vector<Command> commands = {};                 // behind those of the program itself
    std::vector<EnvironmentVariable> environment = {};  // likewise, for the manual
};

struct CliOutcome {
    int exitCode = 0;
    std::string standardOutput;
    std::string standardError;
    int unwrittenCode = 1;  // instead, if standard output cannot be written
    std::function<std::optional<Problem>()> afterWriting = {};  // see Report
    std::optional<unsigned> watchSeconds = std::nullopt;        // until the next look is wanted
};

// Everything but the writing.
CliOutcome evaluateCli(int argc, const char* const* argv, const CliHooks& hooks,
                       const Screen& screen);

// Writes and flushes everything; the exit code is for leaveProcess.
int runCli(int argc, const char* const* argv, const CliHooks& hooks);

}  // namespace veskctl
