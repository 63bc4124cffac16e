#include "held_memory.h"

#include <malloc.h>

// Of a sanitizer that keeps the memory, if there is one.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace vesktest {

std::size_t heldMemory() {
    if (&__sanitizer_get_current_allocated_bytes != nullptr) {
        return __sanitizer_get_current_allocated_bytes();
    }
    const struct mallinfo2 known = mallinfo2();
    return known.uordblks + known.hblkhd;
}

}  // namespace vesktest
