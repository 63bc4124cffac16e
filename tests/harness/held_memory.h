// Memory that the process holds.
#pragma once

#include <cstddef>

namespace vesktest {

// Bytes that were taken from malloc and operator new and not given back. Without a sanitizer it is
// the C library's account, in which what a thread keeps to give it out again counts as held.
std::size_t heldMemory();

}  // namespace vesktest
