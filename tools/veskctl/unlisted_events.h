// Events that the library does not report, since the alert mapping has no row for their code.
#pragma once

#include "veskctl/event.h"
#include "veskctl/finding.h"

#include <string>
#include <vector>

namespace veskctl {

// All of them in one sentence.
std::string describeUnlisted(const std::vector<Event>& unlisted, const std::string& path);

// One finding for each class and code. path: the mapping file's.
std::vector<Finding> findUnlisted(const std::vector<Event>& unlisted, const std::string& path);

}  // namespace veskctl
