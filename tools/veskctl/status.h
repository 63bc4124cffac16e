// `status`: everything at a glance, in a dozen lines.
#pragma once

#include "veskctl/command.h"

namespace veskctl {

Command statusCommand();

}  // namespace veskctl
