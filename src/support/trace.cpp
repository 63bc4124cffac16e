#include "support/trace.h"

#include "support/log_line.h"

#include <algorithm>
#include <new>

namespace {

// Compilers differ in where they put the blank of a pointer: "CEvent* f" or "CEvent *f". With the
// first form everywhere, the name in the log does not depend on the compiler.
std::string withBlankBehindPointers(std::string signature) {
    for (std::size_t at = 0; at + 1 < signature.size(); ++at) {
        if (signature[at] == ' ' && (signature[at + 1] == '*' || signature[at + 1] == '&')) {
            std::swap(signature[at], signature[at + 1]);
        }
    }
    return signature;
}

}  // namespace

namespace stg {

std::string methodName(const std::string& signature) {
    const std::size_t end = std::min(signature.rfind('('), signature.size());
    // A function outside of any class has no "::"; its name starts behind its result type.
    const std::size_t qualifier = std::min(signature.find("::"), end);
    const std::size_t blank = signature.rfind(' ', qualifier);
    const std::size_t start = blank == std::string::npos ? 0 : blank + 1;
    return signature.substr(start, end - start) + "()";
}

void writeTrace(const char* signature, const char* label, const char* event) {
    try {
        logLine(methodName(withBlankBehindPointers(signature)), label, event);
    } catch (const std::bad_alloc&) {
        // Destructors trace too, and an exception out of one would end the host's process. The line
        // is lost, nothing else.
    }
}

}  // namespace stg
