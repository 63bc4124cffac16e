// The library's trace log on the host.
#pragma once

#include "veskctl/finding.h"

#include <cstdint>
#include <string>
#include <vector>

namespace veskctl {

struct TraceLog {
    std::string folder;
    bool folderThere = false;
    unsigned fileCount = 0;
    std::uint64_t totalBytes = 0;
};

// wanted: the configuration switches the log on.
TraceLog readTraceLog(const std::string& hostRoot, bool wanted, std::vector<Finding>& findings);

}  // namespace veskctl
