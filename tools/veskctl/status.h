// `status`: everything at a glance, in a dozen lines.
#pragma once

#include "veskctl/command.h"
#include "veskctl/report.h"
#include "veskctl/snapshot.h"
#include "veskctl/verdict.h"

namespace veskctl {

// columns: of the screen; 0: any number.
void showStatus(const Snapshot& snapshot, const Verdict& verdict, unsigned columns, Report& report);

Command statusCommand();

}  // namespace veskctl
