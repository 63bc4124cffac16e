#include "veskctl/command_events.h"

#include "veskctl/event_loops.h"
#include "veskctl/event_view.h"
#include "veskctl/session.h"
#include "veskctl/standard_streams.h"
#include "veskctl/stop_signals.h"
#include "veskctl/usage_error.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include <unistd.h>

namespace veskctl {

namespace {

constexpr const char* kHelp =
    R"(Taking events moves the mark that libVeskNVMeAlertMapping.ini keeps: no later
run, and no other program, gets them again. The library looks at the controller's
log when it is set up, and then at each polling interval of 50 seconds or more.
One look gives at most 64 events; if there were more, the rest comes with the
next one: run the command again, or use --follow.)";

constexpr const char* kTaken =
    "these events are marked as delivered: neither a later run nor another program gets them again";
constexpr const char* kMore =
    "the library delivered as many events as it can at once; more may come "
    "with its next look at the controller's log, 50 seconds or more later";
constexpr const char* kLeaving =
    "the library's own stop could take as long as its polling interval, 50 seconds or more, so the "
    "program leaves without waiting for it; no event is lost: those above are printed, and the "
    "mark "
    "was stored with each delivery";

struct EventOptions {
    bool ndjson = false;
    bool follow = false;
    unsigned waitSeconds = 2;
    unsigned intervalSeconds = 1;
};

void checkOptions(const CommandContext& context, const EventOptions& options) {
    if (context.json && options.ndjson) {
        throw UsageError("--json and --ndjson exclude each other");
    }
    if (context.json && options.follow) {
        throw UsageError(
            "--json writes one document, which --follow would never end; use --ndjson");
    }
}

void demandOutput() {
    if (!standardOutputIsOpen()) {
        throw ProblemError(
            {ProblemKind::Internal, "standard output is closed, so no event was taken"});
    }
}

std::string lineOf(const Event& event, const CommandContext& context, const EventOptions& options) {
    return options.ndjson ? eventToJsonLine(event) : eventToTextLine(event, context.colour);
}

EventLoopCalls callsOf(const Session& session, const StopSignals& signals) {
    EventLoopCalls calls;
    calls.take = [&session] {
        return takeEvents(session.functions());
    };
    calls.pause = [&signals](std::chrono::milliseconds time) {
        return signals.pause(time, STDOUT_FILENO);
    };
    return calls;
}

// A signal ends this one too, with what was taken until then.
void runOnce(const CommandContext& context, const EventOptions& options, Report& report) {
    report.fields["events"] = nlohmann::ordered_json::array();
    report.fields["more_may_follow"] = false;
    demandOutput();
    const StopSignals signals;
    const Session session(context.libraryName, report.problems);

    EventLoopCalls calls = callsOf(session, signals);
    calls.show = [&](const Event& event) {
        report.fields["events"].push_back(eventToJson(event));
        report.text += lineOf(event, context, options);
        return true;
    };
    calls.complain = [&report](const Problem& problem) {
        report.problems.push_back(problem);
    };
    calls.warnOfMore = [&report] {
        report.fields["more_may_follow"] = true;
        report.notes.emplace_back(kMore);
    };
    drainEvents(calls, std::chrono::seconds(options.waitSeconds));

    if (options.ndjson) {
        return;
    }
    if (report.text.empty()) {
        report.text = "There are no new events.\n";
    } else if (report.problems.empty()) {
        report.notes.emplace_back(kTaken);
    }
}

void runFollow(const CommandContext& context, const EventOptions& options, Report& report) {
    demandOutput();
    const StopSignals signals;
    const Session session(context.libraryName, report.problems);

    const auto say = [](const std::string& text) {
        // Where standard error fails there is no other place to say it.
        static_cast<void>(writeAndFlush(stderr, text));
    };
    EventLoopCalls calls = callsOf(session, signals);
    calls.show = [&](const Event& event) {
        const int failure = writeAndFlush(stdout, lineOf(event, context, options));
        if (failure != 0 && failure != EPIPE) {
            report.problems.push_back(
                {ProblemKind::Internal,
                 std::string("standard output cannot be written: ") + std::strerror(failure)});
        }
        return failure == 0;
    };
    calls.complain = [&say](const Problem& problem) {
        say(renderProblems({problem}));
    };
    calls.warnOfMore = [&say] {
        say(renderNotes({kMore}));
    };
    followEvents(calls, std::chrono::seconds(options.intervalSeconds));
    if (signals.arrived()) {
        report.notes.emplace_back(kLeaving);
    }
}

}  // namespace

CommandRunner declareEvents(CLI::App& app) {
    auto options = std::make_shared<EventOptions>();
    app.footer(kHelp + ("\n\n" + app.get_footer()));
    app.add_flag("--ndjson", options->ndjson, "Write each event as one line of JSON, nothing else");
    auto* follow = app.add_flag("--follow", options->follow, "Go on until SIGINT or SIGTERM");
    auto* wait = app.add_option("--wait", options->waitSeconds,
                                "How long to wait for the library's first look at the log")
                     ->option_text("SECONDS [2]")
                     ->check(CLI::Range(0U, 600U));
    app.add_option("--interval", options->intervalSeconds, "How often --follow asks the library")
        ->option_text("SECONDS [1]")
        ->check(CLI::Range(1U, 3600U))
        ->needs(follow);
    wait->excludes(follow);
    return [options](const CommandContext& context, Report& report) {
        checkOptions(context, *options);
        if (options->follow) {
            runFollow(context, *options, report);
        } else {
            runOnce(context, *options, report);
        }
    };
}

}  // namespace veskctl
