#include "library_stand_in.h"

#include "transport/vmk_mgmt.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <new>
#include <string>
#include <unistd.h>

namespace harness {
namespace {

// Whether there is a block, which then goes. The compiler cannot see that it is of no use.
bool released(void* block, void (*release)(void*)) {
    void* volatile kept = block;
    const bool made = kept != nullptr;
    release(kept);
    return made;
}

class Calls : public LibraryCalls {
public:
    bool writeStream(const char* path, const char* text, bool append) const override {
        std::ofstream stream(path, append ? std::ios::app : std::ios::trunc);
        stream << text << std::flush;
        return stream.good();
    }

    bool firstLineIs(const char* path, const char* line) const override {
        std::ifstream stream(path);
        std::string first;
        return stream.is_open() && std::getline(stream, first) && first == line;
    }

    bool canOpen(const char* path) const override {
        std::FILE* const file = std::fopen(path, "r");
        if (file != nullptr) {
            std::fclose(file);
        }
        return file != nullptr;
    }

    int remove(const char* path) const override { return std::remove(path); }

    int rename(const char* from, const char* to) const override { return std::rename(from, to); }

    int symlink(const char* target, const char* link) const override {
        return ::symlink(target, link);
    }

    bool canRun(const char* command) const override {
        std::FILE* const pipe = popen(command, "r");
        if (pipe != nullptr) {
            pclose(pipe);
        }
        return pipe != nullptr;
    }

    unsigned sleep(unsigned seconds) const override { return ::sleep(seconds); }

    bool canMalloc(std::size_t size) const override {
        return released(std::malloc(size), std::free);
    }

    bool canCalloc(std::size_t count, std::size_t size) const override {
        return released(std::calloc(count, size), std::free);
    }

    bool canNew(std::size_t size) const override {
        try {
            return released(::operator new(size), [](void* block) { ::operator delete(block); });
        } catch (const std::bad_alloc&) {
            return false;
        }
    }

    bool canNewArray(std::size_t size) const override {
        try {
            return released(::operator new[](size),
                            [](void* block) { ::operator delete[](block); });
        } catch (const std::bad_alloc&) {
            return false;
        }
    }

    int openDriver(const void* signature, std::uint64_t cookie,
                   std::uint64_t* handle) const override {
        return vmk_MgmtUserInit(signature, cookie, handle);
    }

    int invokeDriver(std::uint64_t handle, std::uint64_t instance, std::uint64_t callback,
                     std::uint32_t count, void* parameter0, void* parameter1) const override {
        return vmk_MgmtUserCallbackInvokeInt(handle, instance, callback, count, parameter0,
                                             parameter1);
    }

    int closeDriver(std::uint64_t handle) const override { return vmk_MgmtUserDestroy(handle); }
};

}  // namespace
}  // namespace harness

const harness::LibraryCalls* harnessLibraryCalls() {
    static const harness::Calls s_calls;
    return &s_calls;
}
