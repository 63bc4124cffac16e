// Lets chosen allocations of the calling thread fail while the object lives. FailMalloc sees malloc
// and calloc, FailNew sees operator new and new[]; neither sees what the other does, nor what other
// threads do. realloc and the aligned forms of operator new are left alone.
//
// For programs that link vesk_memory_faults. Objects of one class nest; the inner one counts then.
#pragma once

#include "allocation_fault.h"

#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace vesktest {

// Which sizes count. For calloc the size is the number of elements times their size.
struct AllocationSize {
    std::size_t least = 0;
    std::size_t most = SIZE_MAX;

    static constexpr AllocationSize any() { return {0, SIZE_MAX}; }
    static constexpr AllocationSize exactly(std::size_t size) { return {size, size}; }
    static constexpr AllocationSize atLeast(std::size_t size) { return {size, SIZE_MAX}; }
};

enum class Repeat {
    kOnce,      // that allocation only
    kTwice,     // that one and the next of the size: often one that the handling of the first needs
    kEachLater  // that one and all later ones of the size
};

// How many fail behind the first one.
constexpr unsigned othersThatFail(Repeat repeat) {
    return repeat == Repeat::kOnce ? 0 : repeat == Repeat::kTwice ? 1 : UINT_MAX;
}

// False in a clang build with the thread sanitizer, whose run-time library does not let a program
// replace operator new. Tests that need FailNew skip themselves then; to make one throws
// std::logic_error.
constexpr bool kCanFailNew = VESK_CAN_FAIL_NEW != 0;

// What such a test says; it runs in every build that .ci/run makes. No longer needed once clang's
// thread sanitizer works as a shared library (see cmake/vesk_options.cmake): its operators new are
// then outside of the program, as the address sanitizer's are.
constexpr const char* kWhyNewCannotFail =
    "clang's thread sanitizer does not let a program replace operator new; this test runs in all "
    "other builds, gcc's thread sanitizer included";

// What the two kinds share; `exchange` puts the thread's fault of the kind in place.
class FailAllocation {
public:
    FailAllocation(const FailAllocation&) = delete;
    FailAllocation& operator=(const FailAllocation&) = delete;

    bool triggered() const { return m_fault.failed != 0; }
    unsigned seen() const { return m_fault.seen; }      // allocations of the size so far
    unsigned failed() const { return m_fault.failed; }  // those of them that failed
    // Of the first and the second that failed; 0 where there was none.
    std::array<std::size_t, 2> failedSizes() const {
        return {m_fault.failedSizes[0], m_fault.failedSizes[1]};
    }

protected:
    using Exchange = AllocationFault*(AllocationFault*);

    FailAllocation(Exchange* exchange, AllocationSize size, unsigned nth, Repeat repeat)
        : m_exchange(exchange),
          m_fault{size.least, size.most, nth, othersThatFail(repeat), 0, 0, {0, 0}},
          m_outer(exchange(&m_fault)) {}
    ~FailAllocation() { m_exchange(m_outer); }

private:
    Exchange* m_exchange;
    AllocationFault m_fault;
    AllocationFault* m_outer;
};

// malloc and calloc return null.
class FailMalloc : public FailAllocation {
public:
    // `nth` counts from 1; 0 lets nothing fail and only counts.
    explicit FailMalloc(AllocationSize size = AllocationSize::any(), unsigned nth = 1,
                        Repeat repeat = Repeat::kOnce)
        : FailAllocation(exchangeMallocFault, size, nth, repeat) {}
};

// operator new throws std::bad_alloc, its nothrow form gives null.
class FailNew : public FailAllocation {
public:
    explicit FailNew(AllocationSize size = AllocationSize::any(), unsigned nth = 1,
                     Repeat repeat = Repeat::kOnce)
        : FailAllocation(exchangeIfPossible(), size, nth, repeat) {}

private:
    static Exchange* exchangeIfPossible() {
        if (!kCanFailNew) {
            throw std::logic_error("this build cannot let operator new fail");
        }
        return exchangeNewFault;
    }
};

}  // namespace vesktest
