// The capture inside the document of a dump, and out of it again.
#pragma once

#include "veskctl/command.h"
#include "veskctl/problem.h"

namespace veskctl {

struct Report;

// What this process and those before it recorded: the file as it is now, of which the whole is
// small enough to be put inside a document. Null if nothing is recorded, or if it cannot be had;
// the reason stands in the report.
Json captureForDump(Report& report);

// `capture extract`.
Command extractCommand();

}  // namespace veskctl
