// Stands for libVeskNvme.so in the harness's own test: makes the calls that the harness catches
// from inside a shared library.
#pragma once

#include <cstddef>
#include <cstdint>

namespace harness {

struct LibraryCalls {
    // Through std::ofstream, flushed; whether the stream is still good.
    bool (*writeStream)(const char* path, const char* text, bool append);
    // Through std::ifstream: whether the file opens and its first line is this.
    bool (*firstLineIs)(const char* path, const char* line);
    bool (*canOpen)(const char* path);  // through fopen
    int (*remove)(const char* path);
    int (*rename)(const char* from, const char* to);
    int (*symlink)(const char* target, const char* link);
    bool (*canRun)(const char* command);  // through popen
    unsigned (*sleep)(unsigned seconds);
    bool (*canMalloc)(std::size_t size);
    bool (*canCalloc)(std::size_t count, std::size_t size);
    bool (*canNew)(std::size_t size);  // false: std::bad_alloc
    bool (*canNewArray)(std::size_t size);
    int (*openDriver)(const void* signature, std::uint64_t cookie, std::uint64_t* handle);
    int (*invokeDriver)(std::uint64_t handle, std::uint64_t instance, std::uint64_t callback,
                        std::uint32_t count, void* parameter0, void* parameter1);
    int (*closeDriver)(std::uint64_t handle);
};

}  // namespace harness

extern "C" const harness::LibraryCalls* harnessLibraryCalls();
