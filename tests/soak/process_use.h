// What this process holds at a moment: to compare before and behind a long run.
#pragma once

#include <cstddef>
#include <iosfwd>

namespace vesktest {

struct ProcessUse {
    std::size_t heapBytes;    // taken and not given back
    std::size_t descriptors;  // open ones
    std::size_t threads;

    static ProcessUse now();
};

std::ostream& operator<<(std::ostream& stream, const ProcessUse& use);

}  // namespace vesktest
