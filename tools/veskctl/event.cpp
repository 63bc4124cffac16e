#include "veskctl/event.h"

#include "veskctl/command.h"
#include "veskctl/event_loops.h"
#include "veskctl/format.h"
#include "veskctl/output.h"
#include "veskctl/printable.h"
#include "veskctl/process.h"
#include "veskctl/record.h"
#include "veskctl/report.h"
#include "veskctl/session.h"

#include "VeskNvme.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>

#include <unistd.h>

namespace veskctl {

namespace {

constexpr std::array<const char*, 3> kClasses = {"adapter", "virtual_disk", "physical_disk"};
constexpr std::array<const char*, 8> kSeverities = {"unknown", "other", "info",     "warning",
                                                    "minor",   "major", "critical", "fatal"};

template <std::size_t Count>
std::optional<std::string> nameOf(const std::array<const char*, Count>& names, unsigned code) {
    return code < Count ? std::optional<std::string>(names[code]) : std::nullopt;
}

}  // namespace

std::optional<std::string> Event::time() const {
    return timeRaw == 0 ? std::nullopt : timeText(static_cast<std::time_t>(timeRaw));
}

std::optional<std::string> Event::className() const {
    return nameOf(kClasses, classCode);
}

std::optional<std::string> Event::severity() const {
    return nameOf(kSeverities, severityCode);
}

// Asking the library.

namespace {

constexpr std::size_t kEventRecordSize = 64;
static_assert(sizeof(CEvent) == kEventRecordSize, "the library fills records of this size");

// Read by offsets: the class behind the record lives in the library, which this program does not
// link.
Event decodeEvent(const std::uint8_t* bytes) {
    constexpr std::size_t kDescriptionRoom = kEventRecordSize - CEVENT_DESCRIPTION;
    Event event;
    event.sequence = read32(bytes + CEVENT_SEQUENCE_NO);
    event.timeRaw = read32(bytes + CEVENT_TIME_STAMP);
    event.classCode = read16(bytes + CEVENT_CLASS);
    event.code = read16(bytes + CEVENT_CODE);
    event.severityCode = bytes[CEVENT_SEVERITY];
    event.deviceId = read16(bytes + CEVENT_DEVICE_ID);
    event.message =
        fieldText(reinterpret_cast<const char*>(bytes) + CEVENT_DESCRIPTION, kDescriptionRoom);
    return event;
}

}  // namespace

EventDelivery takeEvents(const LibraryFunctions& functions) {
    alignas(CEvent) std::array<std::uint8_t, kMostEvents* kEventRecordSize> room = {};
    UCHAR_ count = 0;
    const UCHAR_ result = functions.getEvents(0, 0, &count, reinterpret_cast<CEvent*>(room.data()));

    EventDelivery delivery;
    const std::size_t delivered = std::min<std::size_t>(count, kMostEvents);
    for (std::size_t index = 0; index < delivered; ++index) {
        delivery.events.push_back(decodeEvent(room.data() + index * kEventRecordSize));
    }
    delivery.full = delivered == kMostEvents;
    if (result != ERR_NONE) {
        delivery.problem = libraryCallFailed("ZT_EVT_GetEvent", result);
        delivery.problem->message +=
            "; the mark of what was delivered could not be stored, so the same events will come "
            "again; check that libVeskNVMeAlertMapping.ini can be written";
    }
    return delivery;
}

// Showing.

namespace {

// "info" and what is below it call for nobody.
constexpr unsigned kInfo = 2;

Tone toneOf(const Event& event) {
    if (!event.severity()) {
        return Tone::Faint;
    }
    return event.severityCode > kInfo ? Tone::Warning : Tone::Plain;
}

}  // namespace

Json eventToJson(const Event& event) {
    Json json;
    json["sequence"] = event.sequence;
    json["time"] = valueOrNull(event.time());
    json["time_raw"] = event.timeRaw;
    json["class"] = valueOrNull(event.className());
    json["class_code"] = event.classCode;
    json["code"] = event.code;
    json["severity"] = valueOrNull(event.severity());
    json["severity_code"] = event.severityCode;
    json["device_id"] = event.deviceId;
    json["message"] = valueOrNull(deviceText(event.message, Padding::Trim));
    return json;
}

std::string eventToTextLine(const Event& event, bool colour) {
    const std::string severity = format("{:<8}", event.severity().value_or("-"));
    const std::string className = event.className().value_or(format("class {}", event.classCode));
    const std::string message = deviceText(event.message, Padding::Trim).value_or("-");
    return format("{:<20}  {}  {:<13}  device {:<3}  code {:<5}  {}  (#{})\n",
                  event.time().value_or("time not reported"),
                  toned(severity, toneOf(event), colour), className, event.deviceId, event.code,
                  printable(message), event.sequence);
}

// The command.

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
    bool follow = false;
    unsigned waitSeconds = 2;
    unsigned intervalSeconds = 1;
};

void checkOptions(const CommandContext& context, const EventOptions& options) {
    if (context.format == OutputFormat::JsonDocument && options.follow) {
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

std::string lineOf(const Event& event, const CommandContext& context) {
    return context.format == OutputFormat::JsonLines ? renderJsonLine(eventToJson(event))
                                                     : eventToTextLine(event, context.colour);
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
    report.items = "events";
    report.fields["events"] = Json::array();
    report.fields["more_may_follow"] = false;
    demandOutput();
    const StopSignals signals;
    const Session session(context, report);

    EventLoopCalls calls = callsOf(session, signals);
    calls.show = [&](const Event& event) {
        report.fields["events"].push_back(eventToJson(event));
        report.text += lineOf(event, context);
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

    if (context.format == OutputFormat::JsonLines) {
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
    report.streamed = true;
    const StopSignals signals;
    const Session session(context, report);

    const auto say = [](const std::string& text) {
        // Where standard error fails there is no other place to say it.
        static_cast<void>(writeAndFlush(stderr, text));
    };
    EventLoopCalls calls = callsOf(session, signals);
    calls.show = [&](const Event& event) {
        const int failure = writeAndFlush(stdout, lineOf(event, context));
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

CommandRunner declare(Options& options) {
    const auto wanted = std::make_shared<EventOptions>();
    options.addRemark(kHelp);
    options.addFlag("--follow", wanted->follow, "Go on until SIGINT or SIGTERM");
    options.addNumber("--wait", wanted->waitSeconds, 0, 600, "SECONDS [2]",
                      "How long to wait for the library's first look at the log");
    options.addNumber("--interval", wanted->intervalSeconds, 1, 3600, "SECONDS [1]",
                      "How often --follow asks the library");
    options.onlyWith("--interval", "--follow");
    options.notWith("--wait", "--follow");
    return [wanted](const CommandContext& context, Report& report) {
        checkOptions(context, *wanted);
        if (wanted->follow) {
            runFollow(context, *wanted, report);
        } else {
            runOnce(context, *wanted, report);
        }
    };
}

}  // namespace

Command eventsCommand() {
    return {"events", "Take the new events from the controller, oldest first", declare};
}

}  // namespace veskctl
