// Options that are well-formed and cannot be honoured.
#pragma once

#include <stdexcept>

namespace veskctl {

// Thrown by CliHooks::prepare and by commands.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace veskctl
