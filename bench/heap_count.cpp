#include "heap_count.h"

#include <atomic>
#include <cstddef>

namespace {

std::atomic<bool> g_counting{false};
std::atomic<std::int64_t> g_count{0};

void count() {
    if (g_counting.load(std::memory_order_relaxed)) {
        g_count.fetch_add(1, std::memory_order_relaxed);
    }
}

}  // namespace

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t number, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);

// In the place of the C library's for all libraries of the process: the program's come first.
void* malloc(std::size_t size) {
    count();
    return __libc_malloc(size);
}

void* calloc(std::size_t number, std::size_t size) {
    count();
    return __libc_calloc(number, size);
}

void* realloc(void* memory, std::size_t size) {
    count();
    return __libc_realloc(memory, size);
}
}

namespace bench {

void startCountingHeap() {
    g_count = 0;
    g_counting = true;
}

std::int64_t stopCountingHeap() {
    g_counting = false;
    return g_count;
}

}  // namespace bench
