// Switches the locate light of one disk.
#pragma once

#include "veskctl/library.h"

namespace veskctl {

enum class Blink { Off, On };

// The result code. It says that the request went out: whether the light blinks cannot be read back.
int requestLocate(const LibraryFunctions& functions, unsigned slot, Blink blink);

}  // namespace veskctl
