// Sequences of calls, with the trace log: some ten times slower, so a target of its own.
#include "call_sequence.h"
#include "fuzz_target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    veskfuzz::runCalls(data, size, true);
    return 0;
}
