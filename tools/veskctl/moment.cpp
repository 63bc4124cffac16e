#include "veskctl/moment.h"

#include "veskctl/command.h"
#include "veskctl/doctor.h"
#include "veskctl/event_log.h"
#include "veskctl/program_version.h"
#include "veskctl/report.h"

#include <chrono>

namespace veskctl {

namespace {

constexpr std::chrono::milliseconds kWait(500);  // of one look at a log that may be empty

}  // namespace

Moment takeMoment(const CommandContext& context, Report& report) {
    Moment moment;
    const LoadedLibraries libraries = loadLibraries(context);
    moment.snapshot = takeSnapshot(context);
    moment.verdict = judge(moment.snapshot, Thresholds());
    moment.findings = diagnose(context, moment.snapshot, libraries);
    std::vector<Problem>& problems = moment.snapshot.problems;
    if (moment.snapshot.reach == Reach::Answering) {
        guarded("the event log", problems,
                [&] { moment.events = EventLog(context, kWait).readHeld(); });
        if (const std::optional<Problem> doubt = doubtAbout(moment.events)) {
            addOnce(problems, *doubt);
        }
    }
    report.problems = problems;
    report.simulated = libraries.simulated || moment.snapshot.simulated;
    return moment;
}

Json momentToJson(const Moment& moment) {
    Json json;
    json["program_version"] = kProgramVersion;
    json["verdict"] = verdictToJson(moment.verdict);
    json.update(snapshotToJson(moment.snapshot));
    json["findings"] = Json::array();
    for (const Finding& finding : moment.findings) {
        json["findings"].push_back(findingToJson(finding));
    }
    json["events"] = Json::array();
    for (const Event& event : moment.events.events) {
        json["events"].push_back(eventToJson(event, moment.snapshot.host));
    }
    json["capture"] = nullptr;
    return json;
}

}  // namespace veskctl
