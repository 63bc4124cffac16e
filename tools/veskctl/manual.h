// The manual page.
#pragma once

#include "veskctl/description.h"

#include <string>

namespace veskctl {

// In the language of mdoc(7).
std::string manualPage(const ProgramDescription& program);

Command manCommand();

}  // namespace veskctl
