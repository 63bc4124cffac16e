// The command record of a builder whose constructor does not throw.
#pragma once

#include "transport/command_dword.h"

#include <memory>

// A new record; null, logged and in the error state, without memory for it.
std::unique_ptr<CCommandDword> createCommand();
