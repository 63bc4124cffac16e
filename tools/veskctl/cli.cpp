#include "veskctl/cli.h"

#include "veskctl/check.h"
#include "veskctl/common_options.h"
#include "veskctl/format.h"
#include "veskctl/library.h"
#include "veskctl/output.h"
#include "veskctl/process.h"
#include "veskctl/program_version.h"
#include "veskctl/report.h"
#include "veskctl/watch.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <exception>
#include <utility>
#include <vector>

#include <unistd.h>

namespace veskctl {

namespace {

constexpr const char* kFooter = R"(Exit codes:
  0  done
  1  the device or the library failed, or the output could not be written
  2  the command line is wrong
  3  there is no controller

Without a command, 'status' is meant. With --json, standard output carries one JSON document, also after an error.
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

    void addChoice(const std::string& name, std::string& value,
                   const std::vector<std::string>& choices, const std::string& shownAs,
                   const std::string& help) override {
        const auto check = [choices](const std::string& given) {
            if (std::find(choices.begin(), choices.end(), given) != choices.end()) {
                return std::string();
            }
            std::string known;
            for (const std::string& choice : choices) {
                known += (known.empty() ? "" : ", ") + choice;
            }
            return format("'{}' is none of {}", given, known);
        };
        m_app.add_option(name, value, help)->option_text(shownAs)->check(check, "");
    }

    void addOptionalNumber(const std::string& name, std::optional<unsigned>& value, unsigned alone,
                           unsigned lowest, unsigned highest, const std::string& shownAs,
                           const std::string& help) override {
        const auto store = [=, &value](const CLI::results_t& given) {
            unsigned number = alone;
            const bool understood = given.empty() || given.front().empty() ||
                                    CLI::detail::lexical_cast(given.front(), number);
            if (!understood || number < lowest || number > highest) {
                throw CLI::ValidationError(name, format("'{}' is no number from {} to {}",
                                                        given.front(), lowest, highest));
            }
            value = number;
            return true;
        };
        m_app.add_option(name, store, help)->option_text(shownAs)->expected(0, 1);
    }

    void addPath(std::string& path, const std::string& shownAs, const std::string& help,
                 bool required) override {
        m_app.add_option(shownAs, path, help)->option_text(" ")->required(required);
    }

    void addVolumeId(std::optional<unsigned>& id) override {
        const auto check = [](const std::string& value) {
            return isId(value) ? std::string()
                               : format("there is no volume '{}', the ids are 0 and 1", value);
        };
        const auto store = [&id](const std::string& value) {
            id = value == "0" ? 0U : 1U;
        };
        m_app.add_option_function<std::string>("ID", store, "The volume: 0 or 1")
            ->option_text(" ")
            ->check(check, "")
            ->required();
    }

    void addDisk(std::string& idOrSerial, bool required) override {
        // What is as short as an id was meant as one: no serial number is.
        constexpr std::size_t kLeastSerial = 4;
        const auto check = [](const std::string& value) {
            return isId(value) || value.size() >= kLeastSerial
                       ? std::string()
                       : format("there is no disk '{}', the ids are 0 and 1", value);
        };
        m_app.add_option("ID", idOrSerial, "The disk: 0 or 1, or its serial number")
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
    static bool isId(const std::string& value) { return value == "0" || value == "1"; }

    CLI::App& m_app;
};

struct Runnable {
    CLI::App* app;
    std::string path;  // all words of the command
    bool watchable;
    CommandRunner run;
};

class CommandLine {
public:
    explicit CommandLine(const CliHooks& hooks)
        : m_app("Shows the NVMe RAID controller of this host.", hooks.programName) {
        m_app.set_version_flag("--version", format("{} {}", hooks.programName, kProgramVersion));
        m_app.require_subcommand(0, 1);
        m_app.footer(kFooter);
        addCommonOptions(m_app, hooks);
        addCommands(m_app, "", allCommands(), hooks);
        addCommands(m_app, "", hooks.commands, hooks);
    }

    CLI::App& app() { return m_app; }
    const CommonOptions& common() const { return m_common; }

    // Subcommands stand behind the command that they belong to, and were parsed with it. Without
    // any word it is the first of all.
    const Runnable& chosen() const {
        const auto last =
            std::find_if(m_runnable.rbegin(), m_runnable.rend(),
                         [](const Runnable& candidate) { return candidate.app->parsed(); });
        return last == m_runnable.rend() ? m_runnable.front() : *last;
    }

    // Options that stand between the words of a command count for what was chosen. Throws
    // UsageError where they do not belong to it.
    void handDown() {
        const Runnable& command = chosen();
        for (const CLI::App* above = command.app->get_parent(); above != nullptr;
             above = above->get_parent()) {
            for (const CLI::Option* given : above->get_options()) {
                if (given->empty()) {
                    continue;
                }
                CLI::Option* own = command.app->get_option_no_throw(given->get_name());
                if (own == nullptr) {
                    throw UsageError(
                        format("{} does not go with '{}'", given->get_name(), command.path));
                }
                if (own->empty()) {
                    own->add_result(given->results());
                    own->run_callback();
                }
            }
        }
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
                m_runnable.push_back(
                    {subcommand, path, command.watchable, command.declare(options)});
            } else {
                subcommand->require_subcommand(1);
            }
            addCommands(*subcommand, path + ' ', command.subcommands, hooks);
        }
    }

    void addCommonOptions(CLI::App& target, const CliHooks& hooks) {
        CliOptions options(target);
        m_common.declare(options);
        if (hooks.addOptions) {
            hooks.addOptions(options);
        }
    }

    CommonOptions m_common;
    CLI::App m_app;
    std::vector<Runnable> m_runnable;
};

CliOutcome outcomeOf(const std::string& command, const Report& report,
                     const CommandContext& context) {
    Output output = renderOutput(command, report, context);
    CliOutcome outcome;
    outcome.exitCode = static_cast<int>(exitCodeOf(report.problems));
    if (report.problems.empty() && report.exitCode) {
        outcome.exitCode = *report.exitCode;
    } else if (command == kCheckName) {
        outcome.exitCode = checkExitCode(Level::Unknown);  // the usual one would read as critical
    }
    outcome.standardOutput = std::move(output.standardOutput);
    outcome.standardError = std::move(output.standardError);
    outcome.afterWriting = report.afterWriting;
    return outcome;
}

// All words of the command, as far as it was understood.
std::string wordsOf(const CLI::App& app) {
    const CLI::App* level = &app;
    std::string words;
    while (!level->get_subcommands().empty()) {
        level = level->get_subcommands().front();
        words += (words.empty() ? "" : " ") + level->get_name();
    }
    return words;
}

// CLI11 complains of a missing command where there is an unknown one, or an unknown option only.
std::string usageMessage(const CLI::App& app, const CLI::ParseError& error) {
    const int code = error.get_exit_code();
    const bool aboutWords = code == static_cast<int>(CLI::ExitCodes::RequiredError) ||
                            code == static_cast<int>(CLI::ExitCodes::ExtrasError);
    const CLI::App* level = &app;
    while (!level->get_subcommands().empty()) {
        level = level->get_subcommands().front();
    }
    std::string behind = wordsOf(app);
    const std::vector<std::string> unknown = app.remaining(true);
    const bool expectsWord = level->get_require_subcommand_min() > 0 || level == &app;
    if (!aboutWords || !expectsWord || (level == &app && unknown.empty())) {
        return error.what();
    }
    if (!behind.empty()) {
        behind = format(" behind '{}'", behind);
    }
    if (unknown.empty()) {
        return format("no command was given{}", behind);
    }
    const bool isOption = unknown.front().rfind('-', 0) == 0;
    return format("unknown {} '{}'{}", isOption ? "option" : "command", unknown.front(), behind);
}

CliOutcome usageFailure(const CliHooks& hooks, const std::string& command,
                        const std::string& message, bool json) {
    Report report;
    report.problems.push_back({ProblemKind::Usage, message});
    CommandContext context;
    context.format = json ? OutputFormat::JsonDocument : OutputFormat::Table;
    context.simulated = hooks.simulated;
    CliOutcome outcome = outcomeOf(command, report, context);
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
        return usageFailure(hooks, wordsOf(line.app()), usageMessage(line.app(), error),
                            asksForJson(argc, argv));
    }
    const Runnable& command = line.chosen();
    const std::optional<unsigned> watchSeconds = line.common().watchSeconds();
    CommandContext context;
    try {
        line.handDown();
        context = line.common().contextFor(screen);
        if (watchSeconds && !command.watchable) {
            throw UsageError(format("--watch does not go with '{}'", command.path));
        }
    } catch (const UsageError& error) {
        return usageFailure(hooks, command.path, error.what(), asksForJson(argc, argv));
    }
    Report report;
    context.simulated = hooks.simulated;
    runCommand(command.run, context, hooks, report);
    CliOutcome outcome = outcomeOf(command.path, report, context);
    outcome.watchSeconds = watchSeconds;
    return outcome;
}

namespace {

// The exit code. False is put into `goOn` once nobody reads any more.
int writeOutcome(CliOutcome outcome, bool& goOn) {
    // A reader that has gone has read enough: nothing to tell, and nobody to tell it to.
    const int failure = writeAndFlush(stdout, outcome.standardOutput);
    goOn = failure == 0;
    if (failure != 0 && failure != EPIPE) {
        outcome.standardError +=
            format("veskctl: standard output cannot be written: {}\n", std::strerror(failure));
        outcome.exitCode = static_cast<int>(ExitCode::Failed);
    }
    if (failure == 0 && outcome.afterWriting) {
        const std::optional<Problem> problem = outcome.afterWriting();
        if (problem) {
            outcome.standardError += renderProblems({*problem});
            outcome.exitCode = static_cast<int>(exitCodeOf({*problem}));
        }
    }
    // Where standard error fails as well, the exit code has to do.
    static_cast<void>(writeAndFlush(stderr, outcome.standardError));
    return outcome.exitCode;
}

// On a terminal, what the look says stands over what the last one said, errors too.
CliOutcome framed(const CliOutcome& look, const std::string& title, const Screen& screen) {
    CliOutcome outcome = look;
    if (screen.terminal) {
        outcome.standardOutput =
            frameOf(title + look.standardOutput + look.standardError, screen.height);
        outcome.standardError.clear();
    }
    return outcome;
}

}  // namespace

int runCli(int argc, const char* const* argv, const CliHooks& hooks) {
    prepareStandardStreams();
    std::string words;
    for (int index = 0; index < argc; ++index) {
        words += (index == 0 ? std::string(hooks.programName) : std::string(" ") + argv[index]);
    }
    bool goOn = true;
    int exitCode = 0;
    CliOutcome look = evaluateCli(argc, argv, hooks, standardScreen());
    if (!look.watchSeconds) {
        return writeOutcome(std::move(look), goOn);
    }
    const std::chrono::seconds interval(*look.watchSeconds);
    const StopSignals signals;
    do {
        const Screen screen = standardScreen();
        const std::string title = watchTitle(*look.watchSeconds, words);
        exitCode = writeOutcome(framed(look, title, screen), goOn);
        if (!goOn || !signals.pause(interval, STDOUT_FILENO)) {
            break;
        }
        look = evaluateCli(argc, argv, hooks, standardScreen());
    } while (look.watchSeconds);
    return signals.arrived() ? static_cast<int>(ExitCode::Ok) : exitCode;
}

}  // namespace veskctl
