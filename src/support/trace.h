// The ENTRY and EXIT lines that nearly every function writes around its body.
//
// LOG_EXIT stands at the normal end only: an exception that leaves the function leaves no EXIT
// line.
#pragma once

#include "support/logger.h"

#include <string>

namespace stg {

// The name in a trace line: class and method of a function signature, and "()".
std::string methodName(const std::string& signature);

// Writes the line. `signature` is the compiler's text for the function, `label` stands right behind
// the parentheses of the name, `event` is " ENTRY " or " EXIT ".
[[gnu::cold]] void writeTrace(const char* signature, const char* label, const char* event);

// In place everywhere: while logging is off, the test is all that a function has of its trace.
[[gnu::always_inline]] inline void trace(const char* signature, const char* label,
                                         const char* event) {
    if (lout.isActive()) {
        writeTrace(signature, label, event);
    }
}

}  // namespace stg

// Macros, since only they see the name of the function that they stand in.
#define LOG_ENTRY ::stg::trace(__PRETTY_FUNCTION__, "", " ENTRY ")
#define LOG_EXIT ::stg::trace(__PRETTY_FUNCTION__, "", " EXIT ")
#define LOG_ENTRY_AS(signature) ::stg::trace(signature, "", " ENTRY ")
#define LOG_EXIT_AS(signature) ::stg::trace(signature, "", " EXIT ")
#define LOG_ENTRY_LABEL(label) ::stg::trace(__PRETTY_FUNCTION__, label, " ENTRY ")
#define LOG_EXIT_LABEL(label) ::stg::trace(__PRETTY_FUNCTION__, label, " EXIT ")
