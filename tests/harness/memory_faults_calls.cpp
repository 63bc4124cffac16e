// malloc and calloc of the process, in the place of the C library's and a sanitizer's. Built
// without sanitizers. Called from any thread, from before main on; a thread's faults are its own.
#include "allocation_fault.h"

#include <link.h>

#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

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

// A library may bring an operator new of its own, which no other one takes the place of. It calls
// malloc, and the environment tells between which offsets of the library it stands:
// VESK_OWN_NEW="libVeskNvme.so 3f6d0 3f727".
struct OwnNew {
    char library[64] = "";
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
};

int addBase(dl_phdr_info* info, std::size_t /*size*/, void* argument) {
    auto& own = *static_cast<OwnNew*>(argument);
    const char* const slash = std::strrchr(info->dlpi_name, '/');
    if (slash == nullptr || std::strcmp(slash + 1, own.library) != 0) {
        return 0;
    }
    own.begin += info->dlpi_addr;
    own.end += info->dlpi_addr;
    return 1;
}

OwnNew findOwnNew() {
    OwnNew own;
    const char* const text = std::getenv("VESK_OWN_NEW");
    if (text == nullptr ||
        // NOLINTNEXTLINE(cert-err34-c): from our own script, and too early for what allocates
        std::sscanf(text, "%63s %" SCNxPTR " %" SCNxPTR, own.library, &own.begin, &own.end) != 3 ||
        dl_iterate_phdr(addBase, &own) != 1) {
        return {};
    }
    return own;
}

bool isOwnNew(const void* caller) {
    static const OwnNew s_own = findOwnNew();
    const auto address = reinterpret_cast<std::uintptr_t>(caller);
    return address >= s_own.begin && address < s_own.end;
}

bool mallocIsToFail(std::size_t size, const void* caller) {
    if (t_insideNew || (t_mallocFault == nullptr && t_newFault == nullptr) ||
        !isToFail(isOwnNew(caller) ? t_newFault : t_mallocFault, size)) {
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
    if (fault->nth == 0 || fault->seen < fault->nth || fault->seen - fault->nth > fault->others) {
        return false;
    }
    if (fault->failed < sizeof(fault->failedSizes) / sizeof(fault->failedSizes[0])) {
        fault->failedSizes[fault->failed] = size;
    }
    ++fault->failed;
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
    if (vesktest::mallocIsToFail(size, __builtin_return_address(0))) {
        return nullptr;
    }
    return &__interceptor_malloc != nullptr ? __interceptor_malloc(size) : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    // A product that wraps is the real function's business; it refuses.
    if (vesktest::mallocIsToFail(count * size, __builtin_return_address(0))) {
        return nullptr;
    }
    return &__interceptor_calloc != nullptr ? __interceptor_calloc(count, size)
                                            : __libc_calloc(count, size);
}
}
