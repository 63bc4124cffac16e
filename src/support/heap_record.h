// Zeroed memory from calloc, released with free: plain records, and buffers that have no type.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>

struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};

template <typename Record>
using HeapRecord = std::unique_ptr<Record, FreeDeleter>;

namespace stg {

// Null without memory.
inline HeapRecord<void> tryAllocateZeroed(std::size_t size) {
    return HeapRecord<void>(std::calloc(1, size));
}

// Null without memory. Not by calloc: it does not take the small blocks that the thread has freed,
// and what then piles up makes the next large allocation tidy the whole heap.
template <typename Record>
HeapRecord<Record> tryAllocateZeroed() {
    HeapRecord<Record> record(static_cast<Record*>(std::malloc(sizeof(Record))));
    if (record) {
        *record = Record{};
    }
    return record;
}

// Throws std::bad_alloc without memory.
template <typename Record>
HeapRecord<Record> allocateZeroed() {
    HeapRecord<Record> record = tryAllocateZeroed<Record>();
    if (!record) {
        throw std::bad_alloc();
    }
    return record;
}

}  // namespace stg
