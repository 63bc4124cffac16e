// The operators new and delete of the process, in the place of the C++ library's and a sanitizer's.
// Built without sanitizers. Called from any thread, from before main on.
//
// Each leads on to the one of the same name that follows in the search order, so that each
// allocation meets the release that belongs to it.
#include "allocation_fault.h"

#include <dlfcn.h>
#include <new>

using vesktest::InsideNew;

namespace {

template <typename Function>
Function* following(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void* operator new(std::size_t size) {
    const InsideNew inside;
    static auto* const s_following = following<void*(std::size_t)>("_Znwm");
    if (inside.isToFail(size)) {
        throw std::bad_alloc();
    }
    return s_following(size);
}

void* operator new[](std::size_t size) {
    const InsideNew inside;
    static auto* const s_following = following<void*(std::size_t)>("_Znam");
    if (inside.isToFail(size)) {
        throw std::bad_alloc();
    }
    return s_following(size);
}

void* operator new(std::size_t size, const std::nothrow_t& tag) noexcept {
    const InsideNew inside;
    static auto* const s_following =
        following<void*(std::size_t, const std::nothrow_t&)>("_ZnwmRKSt9nothrow_t");
    return inside.isToFail(size) ? nullptr : s_following(size, tag);
}

void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
    const InsideNew inside;
    static auto* const s_following =
        following<void*(std::size_t, const std::nothrow_t&)>("_ZnamRKSt9nothrow_t");
    return inside.isToFail(size) ? nullptr : s_following(size, tag);
}

void operator delete(void* block) noexcept {
    static auto* const s_following = following<void(void*)>("_ZdlPv");
    s_following(block);
}

void operator delete[](void* block) noexcept {
    static auto* const s_following = following<void(void*)>("_ZdaPv");
    s_following(block);
}

void operator delete(void* block, std::size_t size) noexcept {
    static auto* const s_following = following<void(void*, std::size_t)>("_ZdlPvm");
    s_following(block, size);
}

void operator delete[](void* block, std::size_t size) noexcept {
    static auto* const s_following = following<void(void*, std::size_t)>("_ZdaPvm");
    s_following(block, size);
}

void operator delete(void* block, const std::nothrow_t& tag) noexcept {
    static auto* const s_following =
        following<void(void*, const std::nothrow_t&)>("_ZdlPvRKSt9nothrow_t");
    s_following(block, tag);
}

void operator delete[](void* block, const std::nothrow_t& tag) noexcept {
    static auto* const s_following =
        following<void(void*, const std::nothrow_t&)>("_ZdaPvRKSt9nothrow_t");
    s_following(block, tag);
}
