// Lets C library calls on the host's files fail while the object lives. The handler gets the name
// of the call and the path, and returns the errno to fail with, or 0.
#pragma once

#include "sim/redirect/redirect.h"

#include <string>
#include <utility>

namespace vesktest {

class FailingCalls {
public:
    explicit FailingCalls(vesksim::FailureHandler handler) {
        vesksim::setFailureHandler(std::move(handler));
    }
    ~FailingCalls() { vesksim::setFailureHandler(nullptr); }
    FailingCalls(const FailingCalls&) = delete;
    FailingCalls& operator=(const FailingCalls&) = delete;
};

// Streams open files by one of these, which of them is the standard library's affair.
inline bool isOpening(const std::string& function) {
    return function == "fopen" || function == "fopen64";
}

inline bool isWriting(const std::string& function) {
    return function == "write" || function == "writev";
}

}  // namespace vesktest
