// What a fuzz target is made of. A target takes any bytes at all and ends the process where the
// library does not do what it promises; sanitizers see to the rest.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// Called by libFuzzer, and by replay_main.cpp, any number of times in one process. 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace veskfuzz {

// Ends the process, which libFuzzer takes for a finding, unless `promise` is kept.
inline void require(bool kept, const char* promise) {
    if (!kept) {
        std::fprintf(stderr, "not kept: %s\n", promise);
        std::abort();
    }
}

}  // namespace veskfuzz
