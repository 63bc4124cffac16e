// The locate light of a disk.
#pragma once

#include "veskctl/library.h"

namespace veskctl {

struct Command;

enum class Blink { Off, On };

// The result code. It says that the request went out: whether the light blinks cannot be read back.
int requestLocate(const LibraryFunctions& functions, unsigned slot, Blink blink);

Command locateCommand();

}  // namespace veskctl
