#include "library_stand_in.h"

#include "transport/vmk_mgmt.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <new>
#include <string>
#include <unistd.h>

namespace {

bool writeStream(const char* path, const char* text, bool append) {
    std::ofstream stream(path, append ? std::ios::app : std::ios::trunc);
    stream << text << std::flush;
    return stream.good();
}

bool firstLineIs(const char* path, const char* line) {
    std::ifstream stream(path);
    std::string first;
    return stream.is_open() && std::getline(stream, first) && first == line;
}

// Whether there is a file, which is then closed.
bool closed(std::FILE* file, int (*close)(std::FILE*)) {
    if (file != nullptr) {
        close(file);
    }
    return file != nullptr;
}

// Whether there is a block, which then goes. The compiler cannot see that it is of no use.
bool released(void* block, void (*release)(void*)) {
    void* volatile kept = block;
    const bool made = kept != nullptr;
    release(kept);
    return made;
}

bool canNew(std::size_t size) {
    try {
        return released(::operator new(size), [](void* block) { ::operator delete(block); });
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool canNewArray(std::size_t size) {
    try {
        return released(::operator new[](size), [](void* block) { ::operator delete[](block); });
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace

const harness::LibraryCalls* harnessLibraryCalls() {
    static const harness::LibraryCalls s_calls = {
        writeStream,
        firstLineIs,
        [](const char* path) { return closed(std::fopen(path, "r"), std::fclose); },
        [](const char* path) { return std::remove(path); },
        [](const char* from, const char* to) { return std::rename(from, to); },
        [](const char* target, const char* link) { return symlink(target, link); },
        [](const char* command) { return closed(popen(command, "r"), pclose); },
        [](unsigned seconds) { return sleep(seconds); },
        [](std::size_t size) { return released(std::malloc(size), std::free); },
        [](std::size_t count, std::size_t size) {
            return released(std::calloc(count, size), std::free);
        },
        canNew,
        canNewArray,
        [](const void* signature, std::uint64_t cookie, std::uint64_t* handle) {
            return vmk_MgmtUserInit(signature, cookie, handle);
        },
        [](std::uint64_t handle, std::uint64_t instance, std::uint64_t callback,
           std::uint32_t count, void* parameter0, void* parameter1) {
            return vmk_MgmtUserCallbackInvokeInt(handle, instance, callback, count, parameter0,
                                                 parameter1);
        },
        [](std::uint64_t handle) {
            return vmk_MgmtUserDestroy(handle);
        }};
    return &s_calls;
}
