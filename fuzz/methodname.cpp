// The name of a function out of its signature, for the lines of the trace log.
#include "fuzz_target.h"

#include "support/trace.h"

#include <string>

namespace {

// Written plainly: the name ends at the last parenthesis; it starts behind the last blank before
// its first "::", or before its end if it has none.
std::string plainName(const std::string& signature) {
    std::size_t end = signature.size();
    for (std::size_t i = 0; i < signature.size(); ++i) {
        if (signature[i] == '(') {
            end = i;
        }
    }
    std::size_t qualifier = end;
    for (std::size_t i = end; i-- > 0;) {
        if (signature[i] == ':' && i + 1 < signature.size() && signature[i + 1] == ':') {
            qualifier = i;
        }
    }
    std::size_t start = 0;
    for (std::size_t i = 0; i < qualifier; ++i) {
        if (signature[i] == ' ') {
            start = i + 1;
        }
    }
    return signature.substr(start, end - start) + "()";
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string signature(reinterpret_cast<const char*>(data), size);
    veskfuzz::require(stg::methodName(signature) == plainName(signature), "the name is found");
    // Where no log is open it reaches no file, but all of the statement runs.
    stg::writeTrace(signature.c_str(), "", " ENTRY ");
    return 0;
}
