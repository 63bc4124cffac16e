// What a pass-through asks for, in words.
#pragma once

#include "transport/nvme_uio.h"

#include <string>

namespace veskcap {

// As "information on disk 1"; by its numbers if it is none that the library sends.
std::string commandName(const nvme_uio& command);

// "opcode 0xe2, nsid 0x0, cdw10 0x400, ..., 4096 bytes": all that tells one command from another.
std::string commandNumbers(const nvme_uio& command);

}  // namespace veskcap
