#include "veskctl/events.h"

#include "veskctl/command.h"
#include "veskctl/event_log.h"
#include "veskctl/format.h"
#include "veskctl/mark_file.h"
#include "veskctl/output.h"
#include "veskctl/printable.h"
#include "veskctl/process.h"
#include "veskctl/record.h"
#include "veskctl/report.h"
#include "veskctl/unlisted_events.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include <unistd.h>

namespace veskctl {

namespace {

constexpr const char* kHelp =
    R"(Showing events moves the mark that libVeskNVMeAlertMapping.ini keeps, once they
are written: no later run, and no other program on this host, gets them again.
--peek and --since leave the mark alone. One look gives at most 64 events: run the
command again at once, or use --all. Several runs at once wait for each other;
other programs that have the library loaded do not.)";

constexpr const char* kTaken =
    "these events are marked as delivered: neither a later run nor another program gets them again";
constexpr const char* kFellSilent =
    "the controller fell silent: nothing is known of its events until it answers again";
constexpr const char* kMarkStays = "the mark stays where it is, so these events come again";
constexpr const char* kMore = "there are more: run the command again, or use --all";
constexpr const char* kBeganAnew =
    "the controller counts its events anew, below the mark {}: no new event will be above it for a "
    "long time; run 'veskctl mark set 0' to get all that the controller holds";
constexpr const char* kBeganAnewBesideOld =
    "the controller counts its events anew, below the mark {}: {} came since, the last one #{} "
    "'{}', severity {}. It holds old ones too, so no mark parts them: 'veskctl events --since {}' "
    "shows all from then on; 'veskctl mark set 0' once the old ones are overwritten";

struct EventOptions {
    bool peek = false;
    bool all = false;
    bool follow = false;
    std::string since;
    std::string severity;
    unsigned waitSeconds = 2;
    unsigned intervalSeconds = 10;
};

// What is shown of what was read. Events of an unknown severity, or without a time, always are.
struct EventFilter {
    std::optional<std::time_t> since;
    unsigned leastSeverity = 0;

    bool passes(const Event& event) const {
        const bool young =
            !since || event.timeRaw == 0 || static_cast<std::time_t>(event.timeRaw) >= *since;
        return young && (!event.isRanked() || event.severityCode >= leastSeverity);
    }
};

EventFilter filterOf(const EventOptions& options) {
    EventFilter filter;
    if (!options.since.empty()) {
        filter.since = parseSince(options.since, std::time(nullptr));
        if (!filter.since) {
            throw UsageError(format("--since: '{}' is no point in time; give one as "
                                    "2026-09-21T14:13:20Z or 2026-09-21, or how long ago: 30m, 2h, "
                                    "3d",
                                    options.since));
        }
    }
    const auto found = std::find(kSeverityNames.begin(), kSeverityNames.end(), options.severity);
    if (found != kSeverityNames.end()) {
        filter.leastSeverity = static_cast<unsigned>(found - kSeverityNames.begin());
    }
    return filter;
}

void demandOutput() {
    if (!standardOutputIsOpen()) {
        throw ProblemError(
            {ProblemKind::Internal, "standard output is closed, so no event was taken"});
    }
}

std::string describe(const EventGap& gap) {
    return format("{} number{} missing between {} and {}: the controller overwrote these events "
                  "before they were read",
                  gap.missing(), gap.missing() == 1 ? "" : "s", gap.after, gap.before);
}

std::string lineOf(const Event& event, const CommandContext& context) {
    return context.format == OutputFormat::JsonLines
               ? renderJsonLine(eventToJson(event, context.host))
               : eventToTextLine(event, context.colour);
}

// One run at a time by one mark: the lock is held until the mark was moved.
struct LockedLog {
    LockedLog(const CommandContext& context, std::chrono::milliseconds wait)
        : lock(placeOfMapping(context.hostRoot, readHostFiles(context.hostRoot))),
          log(context, wait) {}

    MarkLock lock;
    EventLog log;
};

std::optional<Problem> storeMark(LockedLog& locked, std::uint32_t number) {
    try {
        locked.log.storeMark(number);
        return std::nullopt;
    } catch (const ProblemError& error) {
        return error.problem();
    }
}

Json gapsToJson(const std::optional<EventGap>& gap) {
    Json array = Json::array();
    if (gap) {
        array.push_back(
            {{"after", gap->after}, {"before", gap->before}, {"missing", gap->missing()}});
    }
    return array;
}

// What else is to be said of what was read. path: of the alert mapping.
std::vector<std::string> sentencesOf(const EventReading& reading, const std::string& path) {
    std::vector<std::string> sentences;
    if (reading.gap) {
        sentences.push_back(describe(*reading.gap));
    }
    if (!reading.unlisted.empty()) {
        sentences.push_back(describeUnlisted(reading.unlisted, path));
    }
    return sentences;
}

std::string textOf(const EventReading& reading, const EventFilter& filter, const std::string& path,
                   const CommandContext& context) {
    std::string text;
    if (context.format == OutputFormat::Table) {
        for (const std::string& sentence : sentencesOf(reading, path)) {
            text += "! " + printable(sentence) + '\n';
        }
    }
    for (const Event& event : reading.events) {
        if (filter.passes(event)) {
            text += lineOf(event, context);
        }
    }
    return text;
}

std::string whyNothing(const EventReading& reading, const EventOptions& options) {
    if (!reading.looked) {
        return "The library has not looked at the controller's log yet: allow it time with "
               "--wait.\n";
    }
    if (!reading.events.empty()) {
        return format(
            "No event{}{}.\n", options.since.empty() ? "" : format(" since {}", options.since),
            options.severity.empty() ? ""
                                     : format(" of the severity {} or above", options.severity));
    }
    return options.since.empty()
               ? "There are no new events.\n"
               : "The controller's log holds no event that the library reports.\n";
}

void fillIn(Report& report, const EventReading& reading, const EventFilter& filter,
            const CommandContext& context) {
    report.fields["events"] = Json::array();
    for (const Event& event : reading.events) {
        if (filter.passes(event)) {
            report.fields["events"].push_back(eventToJson(event, context.host));
        }
    }
    report.fields["more_may_follow"] = reading.more;
    report.fields["mark"] = reading.mark;
    report.fields["gaps"] = gapsToJson(reading.gap);
    report.fields["looked"] = reading.looked;
    report.fields["incomplete"] = reading.incomplete;
    report.fields["unlisted"] = Json::array();
    for (const Event& event : reading.unlisted) {
        report.fields["unlisted"].push_back(eventToJson(event, context.host));
    }
}

std::string whyNotReported(const HostFiles& files) {
    for (const Finding& finding : files.findings) {
        if (hidesEvents(finding)) {
            return findingSentence(finding);
        }
    }
    return "the alert mapping reports no event";
}

std::string describeAnew(const EventReading& reading) {
    if (reading.belowMark.empty()) {
        return format(kBeganAnew, reading.mark);
    }
    const Event& last = reading.belowMark.back();
    return format(kBeganAnewBesideOld, reading.mark, reading.belowMark.size(), last.sequence,
                  deviceText(last.message, Padding::Trim).value_or("-"),
                  last.severity().value_or("unknown"),
                  reading.belowMark.front().time().value_or("1970-01-01"));
}

// What makes "no new events" untrue.
std::optional<Problem> hiddenEvents(const EventReading& reading, const HostFiles& files) {
    if (!files.eventsAreReported()) {
        return Problem{ProblemKind::EventsNotReported, whyNotReported(files)};
    }
    if (const std::optional<Problem> doubt = doubtAbout(reading)) {
        return doubt;
    }
    if (reading.numbersBeganAnew) {
        return Problem{ProblemKind::EventNumbersBeganAnew, describeAnew(reading)};
    }
    return std::nullopt;
}

void noteFindings(Report& report, const EventReading& reading, const std::string& path,
                  bool forPeople) {
    if (!forPeople) {
        for (const std::string& sentence : sentencesOf(reading, path)) {
            report.notes.push_back(sentence);
        }
    }
    if (reading.more) {
        report.notes.emplace_back(kMore);
    }
}

void noteHidden(Report& report, const EventReading& reading, const EventFilter& filter) {
    const auto shown = std::count_if(reading.events.begin(), reading.events.end(),
                                     [&](const Event& event) { return filter.passes(event); });
    const auto hidden = static_cast<long>(reading.events.size()) - shown;
    if (hidden > 0) {
        report.notes.push_back(format("{} more that were not asked for are marked as delivered "
                                      "too; --since shows what the controller still holds",
                                      hidden));
    }
}

// A signal ends this one too, with what was read until then.
void runOnce(const CommandContext& context, const EventOptions& options, Report& report) {
    report.items = "events";
    fillIn(report, EventReading(), EventFilter(), context);
    const EventFilter filter = filterOf(options);
    demandOutput();
    const bool taking = !options.peek && options.since.empty();
    if (taking && context.watching) {
        throw UsageError("--watch would show each event for one look only: add --peek or --since, "
                         "or use --follow instead");
    }
    const StopSignals signals;
    const auto locked =
        std::make_shared<LockedLog>(context, std::chrono::seconds(options.waitSeconds));
    locked->log.pause = [&signals](std::chrono::milliseconds time) {
        return signals.pause(time, STDOUT_FILENO);
    };
    const EventExtent extent =
        options.all || options.peek ? EventExtent::Everything : EventExtent::OneLook;
    const NumberCheck check = options.waitSeconds == 0 ? NumberCheck::No : NumberCheck::Yes;
    EventReading reading;
    try {
        if (options.since.empty()) {
            reading = locked->log.readNew(extent, check);
        } else {
            reading = locked->log.readHeld();
            reading.unlisted = locked->log.readUnlisted(0);
        }
    } catch (...) {
        report.simulated = locked->log.simulated();
        throw;
    }
    report.simulated = locked->log.simulated();
    for (const Problem& problem : locked->log.problems()) {
        addOnce(report.problems, problem);
    }
    locked->log.pause = nullptr;  // the signals go first

    const bool forPeople = context.format == OutputFormat::Table;
    fillIn(report, reading, filter, context);
    const std::string& path = locked->log.files().mapping.path;
    noteFindings(report, reading, path, forPeople);
    const bool looked = check == NumberCheck::Yes && !signals.arrived();
    const std::optional<Problem> hidden =
        looked ? hiddenEvents(reading, locked->log.files()) : reading.problem;
    if (hidden) {
        report.problems.push_back(*hidden);
    }
    if (forPeople) {
        report.text = textOf(reading, filter, path, context);
        if (report.text.empty() && report.problems.empty()) {
            report.text = whyNothing(reading, options);
        }
    }
    if (!taking || reading.events.empty()) {
        return;
    }
    if (reading.incomplete) {  // lower numbers may be among what is missing
        report.notes.emplace_back(kMarkStays);
        return;
    }
    noteHidden(report, reading, filter);
    if (context.terminal && forPeople) {
        report.notes.emplace_back(kTaken);
    }
    const std::uint32_t last = reading.events.back().sequence;
    report.afterWriting = [locked, last] {
        return storeMark(*locked, last);
    };
}

// Says things on standard error while it goes on.
void say(const std::string& text) {
    // Where standard error fails there is no other place to say it.
    static_cast<void>(writeAndFlush(stderr, text));
}

// What need not end a following that begins with it.
bool mayPass(ProblemKind kind) {
    return kind == ProblemKind::EventsNotSeen || kind == ProblemKind::EventsIncomplete ||
           kind == ProblemKind::EventNumbersBeganAnew;
}

class Follower {
public:
    Follower(const CommandContext& context, const EventOptions& options, const EventFilter& filter)
        : m_context(context), m_filter(filter), m_interval(options.intervalSeconds) {}

    void run(Report& report) {
        const StopSignals signals;
        for (bool first = true; first || signals.pause(m_interval, STDOUT_FILENO); first = false) {
            try {
                if (!look(signals, report)) {
                    return;
                }
                recover();
            } catch (const ProblemError& error) {
                if (first && !mayPass(error.problem().kind)) {
                    throw;
                }
                complain(error.problem());
            }
        }
        if (m_trouble) {  // it was told
            report.exitCode = static_cast<int>(exitCodeOf({*m_trouble}));
        }
        if (signals.arrived() && m_context.terminal) {
            report.notes.push_back(
                format("the mark is at {}: the next run goes on from there", m_mark));
        }
    }

private:
    // False: nobody reads any more.
    bool look(const StopSignals& signals, Report& report) {
        constexpr std::chrono::milliseconds kWait(2000);
        LockedLog locked(m_context, kWait);
        locked.log.pause = [&signals](std::chrono::milliseconds time) {
            return signals.pause(time, STDOUT_FILENO);
        };
        EventReading reading = locked.log.readNew(EventExtent::Everything, NumberCheck::Yes);
        sayHost(locked.log.simulated());
        m_mark = std::max(m_mark, reading.mark);
        const std::uint32_t last = reading.events.empty() ? 0 : reading.events.back().sequence;
        dropRepeated(reading);
        if (!write(reading, locked.log.files().mapping.path, report)) {
            return false;
        }
        // Of a log that was not read in full, lower numbers may be missing.
        if (last > locked.log.mark() && !reading.incomplete) {
            locked.log.storeMark(last);
            m_mark = last;
        }
        const std::optional<Problem> hidden = hiddenEvents(reading, locked.log.files());
        if (hidden && !signals.arrived()) {
            throw ProblemError(*hidden);
        }
        return true;
    }

    void sayHost(bool simulated) {
        if (!m_saidHost && (simulated || m_context.simulated)) {
            const bool table = m_context.format == OutputFormat::Table;
            static_cast<void>(writeAndFlush(table ? stdout : stderr, kSimulatedHost));
        }
        m_saidHost = true;
    }

    // They come again where the mark is not moved, and those without a row until it passes them.
    void dropRepeated(EventReading& reading) {
        for (std::vector<Event>* events : {&reading.events, &reading.unlisted}) {
            events->erase(std::remove_if(events->begin(), events->end(),
                                         [this](const Event& event) {
                                             return m_shown.count(keyOf(event)) != 0;
                                         }),
                          events->end());
        }
        if (reading.gap && !m_gaps.insert(reading.gap->after).second) {
            reading.gap.reset();  // told before
        }
    }

    using EventKey = std::pair<std::uint32_t, std::uint32_t>;
    static EventKey keyOf(const Event& event) { return {event.sequence, event.timeRaw}; }

    bool write(const EventReading& reading, const std::string& path, Report& report) {
        if (m_context.format != OutputFormat::Table && !m_context.quiet) {
            say(renderNotes(sentencesOf(reading, path)));
        }
        const int failure = writeAndFlush(stdout, textOf(reading, m_filter, path, m_context));
        if (failure != 0 && failure != EPIPE) {
            report.problems.push_back(
                {ProblemKind::Internal,
                 std::string("standard output cannot be written: ") + std::strerror(failure)});
        }
        if (failure == 0) {
            for (const std::vector<Event>* events : {&reading.events, &reading.unlisted}) {
                for (const Event& event : *events) {
                    m_shown.insert(keyOf(event));
                }
            }
        }
        return failure == 0;
    }

    void complain(Problem problem) {
        if (problem.kind == ProblemKind::ControllerNotResponding) {
            problem.message = kFellSilent;
        }
        if (!m_trouble || m_trouble->message != problem.message) {
            say(renderProblems({problem}));
        }
        m_trouble = problem;
    }

    void recover() {
        if (m_trouble) {
            say(renderNotes({"it works again"}));
            m_trouble.reset();
        }
    }

    const CommandContext& m_context;
    const EventFilter& m_filter;
    std::chrono::seconds m_interval;
    std::uint32_t m_mark = 0;
    std::set<EventKey> m_shown;      // also those that were told as unlisted
    std::set<std::uint32_t> m_gaps;  // that were told, by the number in front
    bool m_saidHost = false;
    std::optional<Problem> m_trouble;  // of the last look
};

void runFollow(const CommandContext& context, const EventOptions& options, Report& report) {
    if (context.watching) {
        throw UsageError("--follow goes on by itself: leave out --watch");
    }
    if (context.format == OutputFormat::JsonDocument || context.format == OutputFormat::Csv) {
        throw UsageError("--follow has no end, so it writes no document: use -o ndjson");
    }
    const EventFilter filter = filterOf(options);
    demandOutput();
    report.streamed = true;
    Follower(context, options, filter).run(report);
}

CommandRunner declareEvents(Options& options) {
    const auto wanted = std::make_shared<EventOptions>();
    options.addRemark(kHelp);
    options.addFlag("--peek", wanted->peek, "Show all new events, and leave the mark alone");
    options.addFlag("--all", wanted->all, "Show all new events, not only the first 64");
    options.addText("--since", wanted->since, "TIME",
                    "Show what the controller holds from then on, new or not, and leave the mark "
                    "alone: 2026-09-21T14:13:20Z, 2026-09-21, or 30m, 2h, 3d ago");
    options.addChoice("--severity", wanted->severity,
                      {kSeverityNames.begin(), kSeverityNames.end()}, "NAME",
                      "Show events of this severity and above");
    options.addFlag("--follow", wanted->follow, "Go on until SIGINT, SIGTERM or SIGHUP");
    options.addNumber("--wait", wanted->waitSeconds, 0, 600, "SECONDS [2]",
                      "How long to wait for the library's look at the log");
    options.addNumber("--interval", wanted->intervalSeconds, 1, 3600, "SECONDS [10]",
                      "How often --follow looks at the log");
    options.onlyWith("--interval", "--follow");
    for (const char* other : {"--wait", "--peek", "--all", "--since"}) {
        options.notWith(other, "--follow");
    }
    options.notWith("--all", "--since");
    options.notWith("--peek", "--since");
    return [wanted](const CommandContext& context, Report& report) {
        if (wanted->follow) {
            runFollow(context, *wanted, report);
        } else {
            runOnce(context, *wanted, report);
        }
    };
}

}  // namespace

std::optional<std::time_t> parseSince(const std::string& text, std::time_t now) {
    struct Unit {
        char letter;
        std::time_t seconds;
    };
    constexpr Unit kUnits[] = {{'s', 1}, {'m', 60}, {'h', 3600}, {'d', 86400}};
    constexpr std::size_t kMostDigits = 6;
    const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
    if (digits > 0 && digits <= kMostDigits && digits + 1 == text.size()) {
        for (const Unit& unit : kUnits) {
            if (unit.letter == text.back()) {
                return now - std::stol(text) * unit.seconds;
            }
        }
        return std::nullopt;
    }
    for (const char* form : {"%Y-%m-%dT%H:%M:%SZ", "%Y-%m-%d"}) {
        std::tm utc = {};
        const char* const end = strptime(text.c_str(), form, &utc);
        if (end != nullptr && *end == '\0') {
            return timegm(&utc);
        }
    }
    return std::nullopt;
}

Command eventsCommand() {
    return {"events",
            "Show the new events of the controller, oldest first",
            declareEvents,
            {},
            true,
            {{"events --peek", "look, and leave the mark where it is"},
             {"events --peek --watch", "look again every 2 seconds"},
             {"events --all", "take everything that is there"},
             {"events --since 2026-09-21 --severity warning",
              "what was bad since that day, taken or not"},
             {"events --follow --ndjson >> events.ndjson", "keep all from now on"}}};
}

}  // namespace veskctl
