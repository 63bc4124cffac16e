// malloc and calloc of the process, in the place of the C library's and a sanitizer's. Built
// without sanitizers. Called from any thread, from before main on; a thread's faults are its own.
#include "allocation_fault.h"

#include <cerrno>
#include <cstdlib>

extern "C" {
// Null in builds without a sanitizer.
extern decltype(malloc) __interceptor_malloc __attribute__((weak));
extern decltype(calloc) __interceptor_calloc __attribute__((weak));
// The C library's own, under names that need no search: searching allocates.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
}

namespace vesktest {
namespace {

thread_local AllocationFault* t_mallocFault = nullptr;
thread_local AllocationFault* t_newFault = nullptr;
thread_local bool t_insideNew = false;

bool mallocIsToFail(std::size_t size) {
    if (t_insideNew || !isToFail(t_mallocFault, size)) {
        return false;
    }
    errno = ENOMEM;
    return true;
}

}  // namespace

bool isToFail(AllocationFault* fault, std::size_t size) {
    if (fault == nullptr || size < fault->least || size > fault->most) {
        return false;
    }
    ++fault->seen;
    if (fault->nth == 0 || fault->seen < fault->nth ||
        (fault->seen > fault->nth && !fault->eachLater)) {
        return false;
    }
    fault->triggered = true;
    return true;
}

AllocationFault* exchangeMallocFault(AllocationFault* fault) {
    AllocationFault* const before = t_mallocFault;
    t_mallocFault = fault;
    return before;
}

AllocationFault* exchangeNewFault(AllocationFault* fault) {
    AllocationFault* const before = t_newFault;
    t_newFault = fault;
    return before;
}

InsideNew::InsideNew() : m_before(t_insideNew) {
    t_insideNew = true;
}

InsideNew::~InsideNew() {
    t_insideNew = m_before;
}

bool InsideNew::isToFail(std::size_t size) const {
    return !m_before && vesktest::isToFail(t_newFault, size);
}

}  // namespace vesktest

extern "C" {

void* malloc(std::size_t size) noexcept {
    if (vesktest::mallocIsToFail(size)) {
        return nullptr;
    }
    return &__interceptor_malloc != nullptr ? __interceptor_malloc(size) : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    // A product that wraps is the real function's business; it refuses.
    if (vesktest::mallocIsToFail(count * size)) {
        return nullptr;
    }
    return &__interceptor_calloc != nullptr ? __interceptor_calloc(count, size)
                                            : __libc_calloc(count, size);
}
}
