#include "veskctl/cli.h"

#include "veskctl/capture.h"
#include "veskctl/check.h"
#include "veskctl/command_line.h"
#include "veskctl/format.h"
#include "veskctl/help.h"
#include "veskctl/library.h"
#include "veskctl/output.h"
#include "veskctl/process.h"
#include "veskctl/program_version.h"
#include "veskctl/report.h"
#include "veskctl/usage_message.h"
#include "veskctl/watch.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <exception>
#include <utility>
#include <vector>

#include <unistd.h>

namespace veskctl {

namespace {

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
    if (command == kCheckName) {
        outcome.unwrittenCode = checkExitCode(Level::Unknown);
    }
    outcome.standardOutput = std::move(output.standardOutput);
    outcome.standardError = std::move(output.standardError);
    outcome.afterWriting = report.afterWriting;
    return outcome;
}

// The simulated host is not this machine.
constexpr const char* kSimulatedHostName = "simulated";

std::string nameOfThisHost() {
    std::array<char, 256> name = {};
    return gethostname(name.data(), name.size() - 1) == 0 && name[0] != '\0' ? name.data()
                                                                             : "unknown";
}

std::string hintLine(const ProgramDescription& program, const std::string& words) {
    return format("veskctl: {}\n", helpHint(program, words));
}

CliOutcome usageFailure(const CliHooks& hooks, const ProgramDescription& program,
                        const std::string& words, const std::string& message, bool json) {
    Report report;
    report.problems.push_back({ProblemKind::Usage, message});
    CommandContext context;
    context.format = json ? OutputFormat::JsonDocument : OutputFormat::Table;
    context.simulated = hooks.simulated;
    CliOutcome outcome = outcomeOf(words, report, context);
    outcome.standardError += hintLine(program, words);
    return outcome;
}

CliOutcome aboutProgram(const Request& request, const ProgramDescription& program,
                        const Screen& screen) {
    CliOutcome outcome;
    outcome.standardOutput = request.kind == Request::Kind::Version
                                 ? format("{} {}\n", program.name, kProgramVersion)
                                 : helpText(program, *program.find(request.words), screen.width);
    return outcome;
}

template <class Work>
void reported(Report& report, Work work) {
    try {
        work();
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

void runCommand(const Request& request, CommandContext& context, const CliHooks& hooks,
                const CaptureOptions& capture, const std::vector<std::string>& words,
                Report& report) {
    reported(report, [&] {
        if (request.aboutProgram && !capture.file.empty()) {
            throw UsageError("--capture is for commands that ask the controller");
        }
        startCapture(capture, context.libraryName, words);
        if (hooks.prepare && !request.aboutProgram) {
            hooks.prepare(context);
        }
        beginCapture(capture);
        request.run(context, report);
    });
    reported(report, [&] {
        if (hooks.finish && !request.aboutProgram) {
            hooks.finish(request.words, report);
        }
        finishCapture(report);
    });
}

}  // namespace

CliOutcome evaluateCli(int argc, const char* const* argv, const CliHooks& hooks,
                       const Screen& screen) {
    const ProgramDescription program = describeProgram(hooks);
    CommandLine line(hooks, program);
    Request request;
    CommandContext context;
    std::optional<unsigned> watchSeconds;
    try {
        request = line.read(argc, argv);
        if (request.kind != Request::Kind::Run) {
            return aboutProgram(request, program, screen);
        }
        watchSeconds = line.common().watchSeconds();
        context = line.common().contextFor(screen);
        if (watchSeconds && !request.watchable) {
            throw UsageError(format("--watch does not go with '{}'", request.words));
        }
    } catch (const LineError& error) {
        return usageFailure(hooks, program, error.words(), error.what(), asksForJson(argc, argv));
    } catch (const UsageError& error) {
        return usageFailure(hooks, program, request.words, error.what(), asksForJson(argc, argv));
    }
    Report report;
    context.program = &program;
    context.simulated = hooks.simulated && !request.aboutProgram;
    context.watching = watchSeconds.has_value();
    if (request.aboutProgram) {
        context.host.clear();
    } else if (context.host.empty()) {
        context.host = hooks.simulated ? kSimulatedHostName : nameOfThisHost();
    }
    const std::vector<std::string> words(argv, argv + argc);
    runCommand(request, context, hooks, line.common().capture(), words, report);
    report.host = context.host;
    CliOutcome outcome = outcomeOf(request.words, report, context);
    if (exitCodeOf(report.problems) == ExitCode::Usage) {
        outcome.standardError += hintLine(program, report.askAbout.value_or(request.words));
    } else {
        outcome.watchSeconds = watchSeconds;
    }
    return outcome;
}

namespace {

// The exit code. False is put into `goOn` once nobody reads any more.
int writeOutcome(CliOutcome outcome, bool& goOn) {
    const std::string simulated = kSimulatedHost;  // said before anything of that host is shown
    if (outcome.standardError.rfind(simulated, 0) == 0) {
        outcome.standardError.erase(0, simulated.size());
        static_cast<void>(writeAndFlush(stderr, simulated));
    }
    // A reader that has gone has read enough: nothing to tell, and nobody to tell it to.
    const int failure = writeAndFlush(stdout, outcome.standardOutput);
    goOn = failure == 0;
    if (failure != 0 && failure != EPIPE) {
        outcome.standardError +=
            format("veskctl: standard output cannot be written: {}\n", std::strerror(failure));
        outcome.exitCode = outcome.unwrittenCode;
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
    const unsigned seconds = *look.watchSeconds;
    const StopSignals signals;
    do {
        exitCode = writeOutcome(framed(look, watchTitle(seconds, words), standardScreen()), goOn);
        if (!goOn || !signals.pause(std::chrono::seconds(seconds), STDOUT_FILENO)) {
            break;
        }
        look = evaluateCli(argc, argv, hooks, standardScreen());
    } while (look.watchSeconds);
    if (!look.watchSeconds) {
        return writeOutcome(std::move(look), goOn);  // what is asked for cannot be asked any more
    }
    return signals.arrived() ? static_cast<int>(ExitCode::Ok) : exitCode;
}

}  // namespace veskctl
