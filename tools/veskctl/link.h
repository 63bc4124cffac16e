// The controller's PCIe link on its own.
#pragma once

namespace veskctl {

struct Command;

Command linkCommand();

}  // namespace veskctl
