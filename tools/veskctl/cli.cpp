#include "veskctl/cli.h"

#include "veskctl/colour.h"
#include "veskctl/command_table.h"
#include "veskctl/library.h"
#include "veskctl/option_checks.h"
#include "veskctl/program_version.h"
#include "veskctl/standard_streams.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <vector>

#include <unistd.h>

namespace veskctl {

namespace {

constexpr const char* kFooter = R"(Exit codes:
  0  done
  1  the device or the library failed, or the output could not be written
  2  the command line is wrong
  3  there is no controller

With --json, standard output carries one JSON document, also after an error.
Colour is used on a terminal only, and not with NO_COLOR set or TERM=dumb.)";

struct Options {
    std::string library = kDefaultLibrary;
    bool json = false;
};

struct Runnable {
    CLI::App* app;
    std::string path;  // all words of the command
    CommandRunner run;
};

struct CommandLine {
    explicit CommandLine(const CliHooks& hooks)
        : app("Shows the NVMe RAID controller of this host.", hooks.programName) {
        app.set_version_flag("--version", fmt::format("{} {}", hooks.programName, kProgramVersion));
        app.require_subcommand(1);
        app.footer(kFooter);
        addOptions(app, hooks);
        addCommands(app, "", commandTable(), hooks);
        addCommands(app, "", hooks.commands, hooks);
    }

    void addCommands(CLI::App& parent, const std::string& prefix,
                     const std::vector<Command>& commands, const CliHooks& hooks) {
        for (const Command& command : commands) {
            CLI::App* subcommand = parent.add_subcommand(command.name, command.summary);
            subcommand->footer(kFooter);
            addOptions(*subcommand, hooks);
            const std::string path = prefix + command.name;
            if (command.declare != nullptr) {
                runnable.push_back({subcommand, path, command.declare(*subcommand)});
            } else {
                subcommand->require_subcommand(1);
            }
            addCommands(*subcommand, path + ' ', command.subcommands, hooks);
        }
    }

    void addOptions(CLI::App& target, const CliHooks& hooks) {
        target.add_flag("--json", options.json, "Write one JSON document");
        target
            .add_option("--library", options.library,
                        "The library file, or a name for the loader to look for")
            ->option_text(fmt::format("PATH [{}]", kDefaultLibrary))
            ->check(refuseEmpty, "");
        if (hooks.addOptions) {
            hooks.addOptions(target);
        }
    }

    // Subcommands stand behind the command that they belong to, and were parsed with it.
    const Runnable& chosen() const {
        return *std::find_if(runnable.rbegin(), runnable.rend(),
                             [](const Runnable& candidate) { return candidate.app->parsed(); });
    }

    Options options;
    CLI::App app;
    std::vector<Runnable> runnable;
};

// A command line that cannot be read may still ask for a document.
bool asksForJson(int argc, const char* const* argv) {
    return std::any_of(argv + std::min(argc, 1), argv + argc,
                       [](const char* argument) { return std::strcmp(argument, "--json") == 0; });
}

CliOutcome outcomeOf(const std::string& command, const Report& report, bool json, bool colour) {
    CliOutcome outcome;
    outcome.exitCode = static_cast<int>(exitCodeOf(report.problems));
    outcome.standardOutput =
        json ? renderJson(command, report) : report.table.render(colour) + report.text;
    outcome.standardError = renderProblems(report.problems);
    if (!json) {
        outcome.standardError += renderNotes(report.notes);
    }
    return outcome;
}

// CLI11 complains of a missing command where there is an unknown one, or an unknown option only.
std::string usageMessage(const CLI::App& app, const CLI::ParseError& error) {
    const int code = error.get_exit_code();
    const bool aboutWords = code == static_cast<int>(CLI::ExitCodes::RequiredError) ||
                            code == static_cast<int>(CLI::ExitCodes::ExtrasError);
    const CLI::App* level = &app;
    std::string behind;
    while (!level->get_subcommands().empty()) {
        level = level->get_subcommands().front();
        behind += (behind.empty() ? "" : " ") + level->get_name();
    }
    if (!aboutWords || level->get_require_subcommand_min() == 0) {
        return error.what();
    }
    if (!behind.empty()) {
        behind = fmt::format(" behind '{}'", behind);
    }
    const std::vector<std::string> unknown = app.remaining(true);
    if (unknown.empty()) {
        return fmt::format("no command was given{}", behind);
    }
    const bool isOption = unknown.front().rfind('-', 0) == 0;
    return fmt::format("unknown {} '{}'{}", isOption ? "option" : "command", unknown.front(),
                       behind);
}

CliOutcome usageFailure(const CliHooks& hooks, const std::string& message, bool json) {
    Report report;
    report.problems.push_back({ProblemKind::Usage, message});
    CliOutcome outcome = outcomeOf("", report, json, false);
    outcome.standardError +=
        fmt::format("veskctl: try '{} --help' for more information\n", hooks.programName);
    return outcome;
}

void runCommand(const CommandRunner& runner, const CommandContext& context, const CliHooks& hooks,
                Report& report) {
    try {
        if (hooks.prepare) {
            hooks.prepare();
        }
        runner(context, report);
    } catch (const UsageError& error) {
        report.problems.push_back({ProblemKind::Usage, error.what()});
    } catch (const ProblemError& error) {
        report.problems.push_back(error.problem());
    } catch (const std::exception& error) {
        report.problems.push_back(
            {ProblemKind::Internal, fmt::format("the command failed: {}", error.what())});
    } catch (...) {
        // The library may throw things that are no exceptions.
        report.problems.push_back({ProblemKind::Internal, "the command failed for a reason that "
                                                          "the library did not state"});
    }
}

}  // namespace

CliOutcome evaluateCli(int argc, const char* const* argv, const CliHooks& hooks, bool colour) {
    CommandLine line(hooks);
    try {
        line.app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        return {static_cast<int>(ExitCode::Ok), line.app.help(), ""};
    } catch (const CLI::CallForVersion& version) {
        return {static_cast<int>(ExitCode::Ok), fmt::format("{}\n", version.what()), ""};
    } catch (const CLI::ParseError& error) {
        return usageFailure(hooks, usageMessage(line.app, error), asksForJson(argc, argv));
    }

    const Runnable& command = line.chosen();
    CommandContext context;
    context.libraryName = line.options.library;
    context.json = line.options.json;
    context.colour = colour;
    Report report;
    runCommand(command.run, context, hooks, report);
    return outcomeOf(command.path, report, context.json, colour);
}

int runCli(int argc, const char* const* argv, const CliHooks& hooks) {
    prepareStandardStreams();
    const bool colour =
        colourWanted(isatty(STDOUT_FILENO) == 1, std::getenv("NO_COLOR"), std::getenv("TERM"));
    CliOutcome outcome = evaluateCli(argc, argv, hooks, colour);

    // A reader that has gone has read enough: nothing to tell, and nobody to tell it to.
    const int failure = writeAndFlush(stdout, outcome.standardOutput);
    if (failure != 0 && failure != EPIPE) {
        outcome.standardError +=
            fmt::format("veskctl: standard output cannot be written: {}\n", std::strerror(failure));
        outcome.exitCode = static_cast<int>(ExitCode::Failed);
    }
    // Where standard error fails as well, the exit code has to do.
    static_cast<void>(writeAndFlush(stderr, outcome.standardError));
    return outcome.exitCode;
}

}  // namespace veskctl
