// The place of a virtual operation in its class's table, as the platform's C++ ABI (x86-64) keeps
// it in a pointer to member. A destructor takes two places.
#pragma once

#include <cstddef>
#include <cstring>

namespace vesktest {

template <typename Operation>
std::ptrdiff_t virtualSlot(Operation operation) {
    std::ptrdiff_t words[2];
    static_assert(sizeof operation == sizeof words, "not a pointer to a member function");
    std::memcpy(words, &operation, sizeof words);
    return (words[0] - 1) / 8;
}

}  // namespace vesktest
