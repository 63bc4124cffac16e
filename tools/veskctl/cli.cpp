#include "veskctl/cli.h"

#include "veskctl/format.h"
#include "veskctl/library.h"
#include "veskctl/process.h"
#include "veskctl/program_version.h"
#include "veskctl/report.h"

#include <CLI/CLI.hpp>

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

// Declares with CLI11, which no other source includes: it takes seconds to read.
class CliOptions : public Options {
public:
    explicit CliOptions(CLI::App& app) : m_app(app) {}

    void addFlag(const std::string& name, bool& value, const std::string& help) override {
        m_app.add_flag(name, value, help);
    }

    void addText(const std::string& name, std::string& value, const std::string& shownAs,
                 const std::string& help) override {
        const auto refuseEmpty = [](const std::string& given) {
            return std::string(given.empty() ? "the value is empty" : "");
        };
        m_app.add_option(name, value, help)->option_text(shownAs)->check(refuseEmpty, "");
    }

    void addNumber(const std::string& name, unsigned& value, unsigned lowest, unsigned highest,
                   const std::string& shownAs, const std::string& help) override {
        m_app.add_option(name, value, help)
            ->option_text(shownAs)
            ->check(CLI::Range(lowest, highest));
    }

    void addId(std::optional<unsigned>& id, const std::string& thing, bool required) override {
        const auto check = [thing](const std::string& value) {
            return value == "0" || value == "1"
                       ? std::string()
                       : format("there is no {} '{}', the ids are 0 and 1", thing, value);
        };
        const auto store = [&id](const std::string& value) {
            id = value == "0" ? 0U : 1U;
        };
        m_app.add_option_function<std::string>("ID", store, format("The {}: 0 or 1", thing))
            ->option_text(" ")
            ->check(check, "")
            ->required(required);
    }

    void onlyWith(const std::string& name, const std::string& other) override {
        m_app.get_option(name)->needs(m_app.get_option(other));
    }

    void notWith(const std::string& name, const std::string& other) override {
        m_app.get_option(name)->excludes(m_app.get_option(other));
    }

    void addRemark(const std::string& text) override {
        m_app.footer(text + "\n\n" + m_app.get_footer());
    }

private:
    CLI::App& m_app;
};

struct Runnable {
    CLI::App* app;
    std::string path;  // all words of the command
    CommandRunner run;
};

class CommandLine {
public:
    explicit CommandLine(const CliHooks& hooks)
        : m_app("Shows the NVMe RAID controller of this host.", hooks.programName) {
        m_app.set_version_flag("--version", format("{} {}", hooks.programName, kProgramVersion));
        m_app.require_subcommand(1);
        m_app.footer(kFooter);
        addCommonOptions(m_app, hooks);
        addCommands(m_app, "", allCommands(), hooks);
        addCommands(m_app, "", hooks.commands, hooks);
    }

    CLI::App& app() { return m_app; }
    const std::string& library() const { return m_library; }
    bool json() const { return m_json; }

    // Subcommands stand behind the command that they belong to, and were parsed with it.
    const Runnable& chosen() const {
        return *std::find_if(m_runnable.rbegin(), m_runnable.rend(),
                             [](const Runnable& candidate) { return candidate.app->parsed(); });
    }

private:
    void addCommands(CLI::App& parent, const std::string& prefix,
                     const std::vector<Command>& commands, const CliHooks& hooks) {
        for (const Command& command : commands) {
            CLI::App* subcommand = parent.add_subcommand(command.name, command.summary);
            subcommand->footer(kFooter);
            addCommonOptions(*subcommand, hooks);
            const std::string path = prefix + command.name;
            if (command.declare != nullptr) {
                CliOptions options(*subcommand);
                m_runnable.push_back({subcommand, path, command.declare(options)});
            } else {
                subcommand->require_subcommand(1);
            }
            addCommands(*subcommand, path + ' ', command.subcommands, hooks);
        }
    }

    void addCommonOptions(CLI::App& target, const CliHooks& hooks) {
        CliOptions options(target);
        options.addFlag("--json", m_json, "Write one JSON document");
        options.addText("--library", m_library, format("PATH [{}]", kDefaultLibrary),
                        "The library file, or a name for the loader to look for");
        if (hooks.addOptions) {
            hooks.addOptions(options);
        }
    }

    std::string m_library = kDefaultLibrary;
    bool m_json = false;
    CLI::App m_app;
    std::vector<Runnable> m_runnable;
};

// A command line that cannot be read may still ask for a document.
bool asksForJson(int argc, const char* const* argv) {
    return std::any_of(argv + std::min(argc, 1), argv + argc,
                       [](const char* argument) { return std::strcmp(argument, "--json") == 0; });
}

CliOutcome outcomeOf(const std::string& command, const Report& report, bool json, bool colour) {
    CliOutcome outcome;
    outcome.exitCode = static_cast<int>(exitCodeOf(report.problems));
    if (report.problems.empty() && report.exitCode) {
        outcome.exitCode = *report.exitCode;
    }
    outcome.standardOutput = json ? renderJson(command, report)
                                  : report.lead + report.blocks.render(colour) + report.text;
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
        behind = format(" behind '{}'", behind);
    }
    const std::vector<std::string> unknown = app.remaining(true);
    if (unknown.empty()) {
        return format("no command was given{}", behind);
    }
    const bool isOption = unknown.front().rfind('-', 0) == 0;
    return format("unknown {} '{}'{}", isOption ? "option" : "command", unknown.front(), behind);
}

CliOutcome usageFailure(const CliHooks& hooks, const std::string& message, bool json) {
    Report report;
    report.problems.push_back({ProblemKind::Usage, message});
    CliOutcome outcome = outcomeOf("", report, json, false);
    outcome.standardError +=
        format("veskctl: try '{} --help' for more information\n", hooks.programName);
    return outcome;
}

void runCommand(const CommandRunner& runner, CommandContext& context, const CliHooks& hooks,
                Report& report) {
    try {
        if (hooks.prepare) {
            hooks.prepare(context);
        }
        runner(context, report);
    } catch (const ProblemError& error) {
        report.problems.push_back(error.problem());
    } catch (const std::exception& error) {
        report.problems.push_back(
            {ProblemKind::Internal, format("the command failed: {}", error.what())});
    } catch (...) {
        // The library may throw things that are no exceptions.
        report.problems.push_back({ProblemKind::Internal, "the command failed for a reason that "
                                                          "the library did not state"});
    }
}

}  // namespace

CliOutcome evaluateCli(int argc, const char* const* argv, const CliHooks& hooks,
                       const Screen& screen) {
    CommandLine line(hooks);
    try {
        line.app().parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        return {static_cast<int>(ExitCode::Ok), line.app().help(), ""};
    } catch (const CLI::CallForVersion& version) {
        return {static_cast<int>(ExitCode::Ok), format("{}\n", version.what()), ""};
    } catch (const CLI::ParseError& error) {
        return usageFailure(hooks, usageMessage(line.app(), error), asksForJson(argc, argv));
    }

    const Runnable& command = line.chosen();
    CommandContext context;
    context.libraryName = line.library();
    context.format = line.json() ? OutputFormat::JsonDocument : OutputFormat::Table;
    context.terminal = screen.terminal;
    context.colour = screen.takesColour;
    context.width = screen.width;
    Report report;
    runCommand(command.run, context, hooks, report);
    return outcomeOf(command.path, report, line.json(), context.colour);
}

int runCli(int argc, const char* const* argv, const CliHooks& hooks) {
    prepareStandardStreams();
    Screen screen;
    screen.terminal = isatty(STDOUT_FILENO) == 1;
    screen.takesColour =
        colourWanted(screen.terminal, std::getenv("NO_COLOR"), std::getenv("TERM"));
    CliOutcome outcome = evaluateCli(argc, argv, hooks, screen);

    // A reader that has gone has read enough: nothing to tell, and nobody to tell it to.
    const int failure = writeAndFlush(stdout, outcome.standardOutput);
    if (failure != 0 && failure != EPIPE) {
        outcome.standardError +=
            format("veskctl: standard output cannot be written: {}\n", std::strerror(failure));
        outcome.exitCode = static_cast<int>(ExitCode::Failed);
    }
    // Where standard error fails as well, the exit code has to do.
    static_cast<void>(writeAndFlush(stderr, outcome.standardError));
    return outcome.exitCode;
}

}  // namespace veskctl
