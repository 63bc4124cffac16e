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

// All bytes zero. Throws std::bad_alloc.
template <typename Record>
HeapRecord<Record> allocateZeroed() {
    HeapRecord<Record> record(static_cast<Record*>(std::calloc(1, sizeof(Record))));
    if (!record) {
        throw std::bad_alloc();
    }
    return record;
}
