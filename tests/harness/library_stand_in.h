// Stands for libVeskNvme.so in the harness's own test: makes the calls that the harness catches
// from inside a shared library.
#pragma once

#include <cstddef>
#include <cstdint>

namespace harness {

class LibraryCalls {
public:
    virtual ~LibraryCalls() = default;
    // Through std::ofstream, flushed; whether the stream is still good.
    virtual bool writeStream(const char* path, const char* text, bool append) const = 0;
    // Through std::ifstream: whether the file opens and its first line is this.
    virtual bool firstLineIs(const char* path, const char* line) const = 0;
    virtual bool canOpen(const char* path) const = 0;  // through fopen
    virtual int remove(const char* path) const = 0;
    virtual int rename(const char* from, const char* to) const = 0;
    virtual int symlink(const char* target, const char* link) const = 0;
    virtual bool canRun(const char* command) const = 0;  // through popen
    virtual unsigned sleep(unsigned seconds) const = 0;
    virtual bool canMalloc(std::size_t size) const = 0;
    virtual bool canCalloc(std::size_t count, std::size_t size) const = 0;
    virtual bool canNew(std::size_t size) const = 0;  // false: std::bad_alloc
    virtual bool canNewArray(std::size_t size) const = 0;
    virtual int openDriver(const void* signature, std::uint64_t cookie,
                           std::uint64_t* handle) const = 0;
    virtual int invokeDriver(std::uint64_t handle, std::uint64_t instance, std::uint64_t callback,
                             std::uint32_t count, void* parameter0, void* parameter1) const = 0;
    virtual int closeDriver(std::uint64_t handle) const = 0;
};

}  // namespace harness

extern "C" const harness::LibraryCalls* harnessLibraryCalls();
