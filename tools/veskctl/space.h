// How much of the physical disks is taken.
#pragma once

namespace veskctl {

struct Command;

Command spaceCommand();

}  // namespace veskctl
