#include "veskctl/snapshot.h"

#include "veskctl/command.h"
#include "veskctl/event_log.h"
#include "veskctl/report.h"
#include "veskctl/session.h"

#include <algorithm>

namespace veskctl {

namespace {

void readDevices(const LibraryFunctions& functions, Snapshot& snapshot) {
    for (unsigned id = 0; id < kIdCount; ++id) {
        snapshot.disks.push_back(readDisk(functions, id, snapshot.problems));
        snapshot.health.push_back(
            readHealthOf(functions, snapshot.disks.back(), snapshot.problems));
    }
    for (unsigned id = 0; id < kIdCount; ++id) {
        snapshot.volumes.push_back(readVolume(functions, id, snapshot.problems));
    }
}

// A controller that did not answer is not asked for its parts: each question may take as long as
// the driver waits.
void fillSilent(Snapshot& snapshot) {
    for (unsigned id = 0; id < kIdCount; ++id) {
        Disk disk;
        disk.slot = id;
        snapshot.disks.push_back(disk);
        snapshot.health.push_back({disk});
        Volume volume;
        volume.id = id;
        snapshot.volumes.push_back(volume);
    }
}

void readHost(const CommandContext& context, unsigned timeoutSeconds, Snapshot& snapshot) {
    const Session session(librarySetup(context, timeoutSeconds), snapshot.problems,
                          snapshot.simulated);
    guarded("the controller", snapshot.problems,
            [&] { snapshot.controller = readController(session.functions(), snapshot.problems); });
    if (snapshot.controller && snapshot.controller->responding()) {
        snapshot.reach = Reach::Answering;
        readDevices(session.functions(), snapshot);
    } else {
        snapshot.reach = snapshot.controller ? Reach::Silent : Reach::Unreachable;
        fillSilent(snapshot);
    }
}

template <class Thing, class Convert>
Json listToJson(const std::vector<Thing>& things, Convert convert) {
    Json json = Json::array();
    for (const Thing& thing : things) {
        json.push_back(convert(thing));
    }
    return json;
}

// Where no event is reported there is nothing to look at, and "none" would be untrue.
void readEvents(const CommandContext& context, unsigned timeoutSeconds, Snapshot& snapshot) {
    if (!snapshot.hostFiles.eventsAreReported()) {
        return;
    }
    CommandContext patient = context;
    patient.timeoutSeconds = context.timeoutSeconds.value_or(timeoutSeconds);
    guarded("the event log", snapshot.problems, [&] {
        snapshot.newEvents = peekEvents(patient);
        if (const std::optional<Problem> doubt = doubtAbout(*snapshot.newEvents)) {
            snapshot.problems.push_back(*doubt);
        }
    });
}

Json eventsToJson(const std::optional<EventReading>& reading, const std::string& host) {
    if (!reading) {
        return {};
    }
    Json json;
    json["mark"] = reading->mark;
    json["numbers_began_anew"] = reading->numbersBeganAnew;
    json["count"] = reading->events.size();
    json["by_severity"] = Json::object();
    for (const auto& [severity, count] : countBySeverity(reading->events)) {
        json["by_severity"][severity] = count;
    }
    json["looked"] = reading->looked;
    json["incomplete"] = reading->incomplete;
    const auto convert = [&host](const Event& event) {
        return eventToJson(event, host);
    };
    json["events"] = listToJson(reading->events, convert);
    json["unlisted"] = listToJson(reading->unlisted, convert);
    return json;
}

template <class Thing>
unsigned countPresent(const std::vector<Thing>& things) {
    return static_cast<unsigned>(
        std::count_if(things.begin(), things.end(),
                      [](const Thing& thing) { return thing.presence == Presence::Present; }));
}

}  // namespace

unsigned Snapshot::disksPresent() const {
    return countPresent(disks);
}

unsigned Snapshot::volumesPresent() const {
    return countPresent(volumes);
}

std::map<std::string, unsigned> countBySeverity(const std::vector<Event>& events) {
    std::map<std::string, unsigned> counts;
    for (const Event& event : events) {
        ++counts[event.severity().value_or(kUnnamedSeverity)];
    }
    return counts;
}

Snapshot takeSnapshot(const CommandContext& context, unsigned timeoutSeconds) {
    Snapshot snapshot;
    snapshot.takenAt = std::time(nullptr);
    snapshot.host = context.host;
    snapshot.simulated = context.simulated;
    guarded("the host's files", snapshot.problems,
            [&] { snapshot.hostFiles = readHostFiles(context.hostRoot); });
    try {
        readHost(context, timeoutSeconds, snapshot);
        if (snapshot.reach == Reach::Answering) {
            readEvents(context, timeoutSeconds, snapshot);
        }
    } catch (const ProblemError& error) {
        snapshot.problems.push_back(error.problem());
        if (error.problem().kind == ProblemKind::NoController) {
            snapshot.reach = Reach::Absent;
        }
    } catch (const std::exception& error) {
        snapshot.problems.push_back(
            {ProblemKind::Internal, std::string("the library failed: ") + error.what()});
    }
    if (snapshot.reach == Reach::Answering) {
        judgePciFiles(snapshot.hostFiles.pci, *snapshot.controller, snapshot.hostFiles.findings);
    }
    return snapshot;
}

Json snapshotToJson(const Snapshot& snapshot) {
    Json json;
    json["taken_at"] = valueOrNull(timeText(snapshot.takenAt));
    json["taken_at_raw"] = snapshot.takenAt;
    json["simulated"] = snapshot.simulated;
    json["controllers"] = Json::array();
    if (snapshot.controller) {
        json["controllers"].push_back(controllerToJson(*snapshot.controller));
    }
    json["disks"] = listToJson(snapshot.disks,
                               [](const Disk& disk) { return diskToJson(disk, Padding::Trim); });
    json["health"] = listToJson(snapshot.health, healthToJson);
    json["volumes"] = Json::array();
    for (const Volume& volume : snapshot.volumes) {
        if (volume.presence != Presence::Absent) {
            json["volumes"].push_back(volumeToJson(volume));
        }
    }
    json["new_events"] = eventsToJson(snapshot.newEvents, snapshot.host);
    json["host_files"] = hostFilesToJson(snapshot.hostFiles);
    return json;
}

}  // namespace veskctl
