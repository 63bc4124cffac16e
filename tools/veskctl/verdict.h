// Whether all is well, and why not. The one place where health is judged.
#pragma once

#include "veskctl/problem.h"
#include "veskctl/snapshot.h"

#include <string>
#include <vector>

namespace veskctl {

// A greater one outweighs. What could not be learnt outweighs a warning: it may hide anything.
enum class Level { Ok, Warning, Unknown, Critical };

struct Reason {
    Level level = Level::Warning;
    std::string code;     // in snake case
    std::string subject;  // "disk 1", "volume 0", "controller", "link", "events", "host files"
    std::string text;
};

struct Verdict {
    Level level = Level::Ok;
    std::vector<Reason> reasons;  // the worst first
};

struct Thresholds {
    // Percentage used, from which on.
    unsigned usedWarning = 90;
    unsigned usedCritical = 100;
    // Available spare that is no more than so many points above the disk's own threshold.
    unsigned spareMargin = 5;
    std::vector<std::string> ignored;  // codes of reasons that do not count
};

Verdict judge(const Snapshot& snapshot, const Thresholds& thresholds);

// What one thing gives by itself. Of an empty slot nothing: whether a disk belongs there is known
// only beside the volumes.
std::vector<Reason> reasonsOf(const Disk& disk, const Thresholds& thresholds = Thresholds());
std::vector<Reason> reasonsOf(const Health& health, const Thresholds& thresholds = Thresholds());
std::vector<Reason> reasonsOf(const Volume& volume, const Thresholds& thresholds = Thresholds());

// Whether its row is marked: there are reasons, or the slot is empty.
bool wantsAttention(const Disk& disk, const Thresholds& thresholds = Thresholds());
bool wantsAttention(const Health& health, const Thresholds& thresholds = Thresholds());
bool wantsAttention(const Volume& volume, const Thresholds& thresholds = Thresholds());

// All that a reason's code may be.
std::vector<std::string> reasonCodes();

bool hasReason(const std::vector<Reason>& reasons, const std::string& code);

// "ok", "warning", "critical", "unknown".
const char* levelName(Level level);

Json reasonToJson(const Reason& reason);
// With level and reasons.
Json verdictToJson(const Verdict& verdict);

}  // namespace veskctl
