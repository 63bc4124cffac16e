// Sequences of calls, as fast as they go.
#include "call_sequence.h"
#include "fuzz_target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    veskfuzz::runCalls(data, size, false);
    return 0;
}
