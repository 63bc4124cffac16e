// libVeskNVMeConfig.ini, as the library reads it.
#pragma once

#include "veskctl/finding.h"

#include <string>
#include <vector>

namespace veskctl {

struct LibraryConfig {
    bool traceLog = false;
    unsigned pollingSeconds = 50;
};

// text: the whole file's. What is wrong goes to the findings.
LibraryConfig readLibraryConfig(const std::string& text, const std::string& path,
                                std::vector<Finding>& findings);

}  // namespace veskctl
