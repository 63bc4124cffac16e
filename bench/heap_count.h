// Counts the heap allocations of the process: malloc, calloc, realloc, and operator new, which
// calls malloc.
#pragma once

#include <cstdint>

namespace bench {

void startCountingHeap();
std::int64_t stopCountingHeap();  // since the start

}  // namespace bench
