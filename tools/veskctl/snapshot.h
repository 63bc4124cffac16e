// All that can be known of controller and host at one moment.
#pragma once

#include "veskctl/controller.h"
#include "veskctl/disk.h"
#include "veskctl/event_reading.h"
#include "veskctl/health.h"
#include "veskctl/host_files.h"
#include "veskctl/problem.h"
#include "veskctl/volume.h"

#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace veskctl {

struct CommandContext;

enum class Reach {
    Answering,
    Silent,       // there is a controller, and it does not answer
    Absent,       // there is none
    Unreachable,  // the library did not get as far as that; the problems say why
};

struct Snapshot {
    std::time_t takenAt = 0;
    std::string host;
    bool simulated = false;
    Reach reach = Reach::Unreachable;
    std::optional<Controller> controller = std::nullopt;  // if there is one
    // One of each slot and id while there is a controller. Of a silent one nothing is known.
    std::vector<Disk> disks;
    std::vector<Health> health;
    std::vector<Volume> volumes;
    // What lies above the mark, which stays. Empty if it could not be looked at.
    std::optional<EventReading> newEvents = std::nullopt;
    HostFiles hostFiles;            // with what shows only beside the controller's answers
    std::vector<Problem> problems;  // what went wrong in reading

    unsigned disksPresent() const;
    unsigned volumesPresent() const;
};

// Never throws for what the host or the library does: that stands among the problems.
// timeoutSeconds: how long the library may take for one answer, if the command line does not say.
Snapshot takeSnapshot(const CommandContext& context, unsigned timeoutSeconds = 60);

constexpr const char* kUnnamedSeverity = "unnamed";

// How many events there are of each severity, by name.
std::map<std::string, unsigned> countBySeverity(const std::vector<Event>& events);

// The fields of a document: taken_at, taken_at_raw, simulated, controllers, disks, health, volumes,
// new_events, host_files.
Json snapshotToJson(const Snapshot& snapshot);

}  // namespace veskctl
