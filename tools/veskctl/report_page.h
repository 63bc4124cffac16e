// One self-contained HTML page for a support case.
#pragma once

#include "veskctl/moment.h"

#include <string>

namespace veskctl {

struct Command;

// document: all of it as JSON, which the page carries. No text of a device or a file can become
// part of the page's markup.
std::string reportPage(const Moment& moment, bool simulated, const std::string& document);

Command reportCommand();

}  // namespace veskctl
