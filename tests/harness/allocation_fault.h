// What the replaced allocation functions look at. Plain, because they are built without
// instrumentation and must not allocate. Everything here belongs to the calling thread.
#pragma once

#include <cstddef>

namespace vesktest {

struct AllocationFault {
    std::size_t least;
    std::size_t most;
    unsigned nth;
    unsigned others;  // behind the n-th, which fail as well
    unsigned seen;
    unsigned failed;
    std::size_t failedSizes[2];  // of the first that failed
};

// Counts an allocation of this size and says whether it is to fail. `fault` may be null.
bool isToFail(AllocationFault* fault, std::size_t size);

// The thread's fault of each kind, null for none; the result is the one of before.
AllocationFault* exchangeMallocFault(AllocationFault* fault);
AllocationFault* exchangeNewFault(AllocationFault* fault);

// Lives while a form of operator new runs. It may lead to another form and end in malloc: that is
// the same allocation, and not the caller's malloc.
class InsideNew {
public:
    InsideNew();
    ~InsideNew();
    InsideNew(const InsideNew&) = delete;
    InsideNew& operator=(const InsideNew&) = delete;

    bool isToFail(std::size_t size) const;

private:
    bool m_before;
};

}  // namespace vesktest
