// Everything of one moment as one document in a file, and back.
#pragma once

#include "veskctl/problem.h"

#include <string>

namespace veskctl {

struct Command;

// A document that `dump` wrote. Throws UsageError if the file is none.
Json readDump(const std::string& path);

Command dumpCommand();

}  // namespace veskctl
