#include "veskctl/locate.h"

#include "veskctl/command.h"
#include "veskctl/controller.h"
#include "veskctl/disk.h"
#include "veskctl/format.h"
#include "veskctl/output.h"
#include "veskctl/process.h"
#include "veskctl/report.h"
#include "veskctl/session.h"
#include "veskctl/sizes.h"

#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <vector>

namespace veskctl {

int requestLocate(const LibraryFunctions& functions, unsigned slot, Blink blink) {
    PD_OEM_Data request = {};
    request.pdId = static_cast<UCHAR_>(slot);
    request.ledStatus = blink == Blink::On ? 1 : 0;
    return functions.diskLocate(0, &request);
}

namespace {

struct LocateOptions {
    std::string disk;  // id or serial number
    bool all = false;
    std::string time;  // how long it blinks; empty: until it is switched off
};

// What is asked of which disks.
struct Request {
    std::vector<unsigned> slots;
    Blink blink = Blink::On;
};

const char* nameOf(Blink blink) {
    return blink == Blink::On ? "on" : "off";
}

std::string sentenceOf(const Request& request) {
    std::string disks;
    for (const unsigned slot : request.slots) {
        disks += format("{}disk {}", disks.empty() ? "" : " and ", slot);
    }
    return format("Requested: {} blinking the locate light of {}",
                  request.blink == Blink::On ? "start" : "stop", disks);
}

// True if all requests could be handed over. A silent controller would obey none of them, and the
// library would not tell.
bool send(const LibraryFunctions& functions, const Request& request, Report& report) {
    if (!readController(functions, report.problems).responding()) {
        return false;
    }
    bool done = true;
    for (const unsigned slot : request.slots) {
        const int result = requestLocate(functions, slot, request.blink);
        if (result != ERR_NONE) {
            report.problems.push_back(
                libraryCallFailed("ZT_PD_OEMData", result, format("disk {}", slot)));
        }
        done = done && result == ERR_NONE;
        report.fields["lights"].push_back(
            {{"slot", slot}, {"locate", nameOf(request.blink)}, {"requested", result == ERR_NONE}});
    }
    return done;
}

// Each in a session of its own: nothing of the library runs while the light blinks.
bool sendAlone(const CommandContext& context, const LocateOptions& options, Request& request,
               Report& report) {
    const Session session(context, report);
    if (request.slots.empty()) {
        request.slots =
            wantedSlots(session.functions(), options.all ? "" : options.disk, report.problems);
        if (!options.all) {
            report.fields["slot"] = request.slots.front();
        }
    }
    const bool done = send(session.functions(), request, report);
    report.fields["requested"] = done;
    return done;
}

// Until the time is over or a signal comes; then the light is switched off.
void blinkFor(const CommandContext& context, const LocateOptions& options, Request& request,
              unsigned seconds, Report& report) {
    const StopSignals signals;
    if (!sendAlone(context, options, request, report)) {
        return;
    }
    const bool forPeople = context.format == OutputFormat::Table;
    const auto say = [&](const std::string& text) {
        if (forPeople) {
            static_cast<void>(writeAndFlush(stdout, text));  // the light is what counts
        }
    };
    report.streamed = forPeople;
    say(format("{}{}; it stops after {}, or when this program is interrupted.\n",
               context.simulated || report.simulated ? kSimulatedHost : "", sentenceOf(request),
               durationText(seconds)));
    static_cast<void>(signals.pause(std::chrono::seconds(seconds), -1));
    request.blink = Blink::Off;
    try {
        if (sendAlone(context, options, request, report)) {
            say(sentenceOf(request) + ".\n");
            return;
        }
    } catch (const ProblemError& error) {
        report.problems.push_back(error.problem());
    }
    report.notes.push_back(format("the locate light of disk {0} may go on blinking: switch it off "
                                  "with 'veskctl locate off {0}'",
                                  request.slots.front()));
}

unsigned secondsToBlink(const LocateOptions& options) {
    const std::optional<unsigned> seconds = secondsOf(options.time);
    if (!seconds || *seconds == 0) {
        throw UsageError(
            format("--for: '{}' is no time: say for example 90s, 5m or 1h", options.time));
    }
    return *seconds;
}

void runLocate(const CommandContext& context, const LocateOptions& options, Blink blink,
               Report& report) {
    if (options.disk.empty() != options.all) {
        throw UsageError(options.all ? "--all means each disk: name none"
                                     : "name a disk by its id or its serial number, or say --all");
    }
    report.items = "lights";
    report.fields["slot"] = nullptr;
    report.fields["locate"] = nameOf(blink);
    report.fields["requested"] = false;
    report.fields["lights"] = Json::array();
    Request request;
    request.blink = blink;
    if (!options.time.empty()) {
        blinkFor(context, options, request, secondsToBlink(options), report);
    } else if (sendAlone(context, options, request, report)) {
        report.text = sentenceOf(request) + ".\n";
    }
}

CommandRunner declareOn(Options& options) {
    const auto wanted = std::make_shared<LocateOptions>();
    options.addDisk(wanted->disk, true);
    options.addText("--for", wanted->time, "TIME",
                    "Wait so long (90s, 5m, 1h), then stop the blinking");
    return [wanted](const CommandContext& context, Report& report) {
        runLocate(context, *wanted, Blink::On, report);
    };
}

CommandRunner declareOff(Options& options) {
    const auto wanted = std::make_shared<LocateOptions>();
    options.addDisk(wanted->disk, false);
    options.addFlag("--all", wanted->all, "Of each disk");
    return [wanted](const CommandContext& context, Report& report) {
        runLocate(context, *wanted, Blink::Off, report);
    };
}

}  // namespace

Command locateCommand() {
    return {"locate",
            "Switch the locate light of a physical disk",
            nullptr,
            {{"on",
              "Start the blinking",
              declareOn,
              {},
              false,
              {{"locate on 1", "until somebody switches it off"},
               {"locate on VD00480A000171 --for 5m", "for five minutes"}}},
             {"off",
              "Stop the blinking",
              declareOff,
              {},
              false,
              {{"locate off 1", "one light"}, {"locate off --all", "every light"}}}}};
}

}  // namespace veskctl
