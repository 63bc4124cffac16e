// Checks of option values, for CLI11's Option::check.
#pragma once

#include <string>

namespace veskctl {

// The complaint, or an empty text.
inline std::string refuseEmpty(const std::string& value) {
    return value.empty() ? "the value is empty" : "";
}

}  // namespace veskctl
