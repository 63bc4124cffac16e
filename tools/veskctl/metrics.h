// `metrics`: the snapshot as Prometheus reads it.
#pragma once

#include "veskctl/command.h"
#include "veskctl/snapshot.h"
#include "veskctl/verdict.h"

#include <string>

namespace veskctl {

// seconds: how long taking the snapshot took.
std::string metricsText(const Snapshot& snapshot, const Verdict& verdict, double seconds);

Command metricsCommand();

}  // namespace veskctl
