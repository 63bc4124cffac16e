// Puts the loader's complaint into words that say what to do.
#pragma once

#include "veskctl/problem.h"

#include <string>

namespace veskctl {

// requested: what dlopen was asked for. loaderText: what dlerror said then.
Problem describeLoadFailure(const std::string& requested, const std::string& loaderText);

// The file was loaded, and lacks a function. file: the path that was loaded.
Problem describeMissingSymbol(const std::string& file, const std::string& symbol);

}  // namespace veskctl
