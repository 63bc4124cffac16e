// `check`: the verdict for monitoring systems, as plugins tell it: one line with performance data,
// and an exit code.
#pragma once

#include "veskctl/command.h"
#include "veskctl/snapshot.h"
#include "veskctl/verdict.h"

#include <string>

namespace veskctl {

constexpr const char* kCheckName = "check";

// 0 OK, 1 WARNING, 2 CRITICAL, 3 UNKNOWN; a wrong command line is UNKNOWN, too.
int checkExitCode(Level level);

// "VESK WARNING - reasons | performance data".
std::string checkLine(const Snapshot& snapshot, const Verdict& verdict,
                      const Thresholds& thresholds);

// For `status` as well. The thresholds are written when the command line is read.
struct ThresholdOptions {
    Thresholds thresholds;
    std::string ignored;  // codes with commas between them

    void declare(Options& options);
    // Throws UsageError for values that contradict each other.
    Thresholds result() const;
};

Command checkCommand();

}  // namespace veskctl
