// Plain records from malloc, released with free.
#pragma once

#include <cstdlib>
#include <memory>
#include <new>

struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};

template <typename Record>
using HeapRecord = std::unique_ptr<Record, FreeDeleter>;

// All bytes zero. Null without memory.
template <typename Record>
HeapRecord<Record> tryAllocateZeroed() {
    return HeapRecord<Record>(static_cast<Record*>(std::calloc(1, sizeof(Record))));
}

// The same. Throws std::bad_alloc without memory.
template <typename Record>
HeapRecord<Record> allocateZeroed() {
    HeapRecord<Record> record = tryAllocateZeroed<Record>();
    if (!record) {
        throw std::bad_alloc();
    }
    return record;
}
