// Everything of one moment, for what is kept or handed on: a snapshot, its verdict, the events that
// the controller holds, and what was found on the host.
#pragma once

#include "veskctl/event_reading.h"
#include "veskctl/finding.h"
#include "veskctl/snapshot.h"
#include "veskctl/verdict.h"

#include <vector>

namespace veskctl {

struct CommandContext;
struct Report;

struct Moment {
    Snapshot snapshot;
    Verdict verdict;
    std::vector<Finding> findings;  // as `doctor` shows them
    EventReading events;            // all that are held; the mark stays where it is
};

// What goes wrong stands in the report; so does whether the host is the simulated one.
Moment takeMoment(const CommandContext& context, Report& report);

// The fields of a document.
Json momentToJson(const Moment& moment);

}  // namespace veskctl
