// The functions of the C library that this process sees in the place of the real ones. Built
// without sanitizers: their run-time libraries put functions of the same names before the C
// library's, under a second name (__interceptor_...), and these here have to stand before those and
// lead on to them. Called from any thread.
#include "sim/redirect/call_policy.h"

#include <cerrno>
#include <cstdio>
#include <dlfcn.h>
#include <pthread.h>
#include <sys/uio.h>
#include <unistd.h>

extern "C" {
// Null in builds without a sanitizer that has the function.
extern decltype(fopen) __interceptor_fopen __attribute__((weak));
extern decltype(fopen64) __interceptor_fopen64 __attribute__((weak));
extern decltype(remove) __interceptor_remove __attribute__((weak));
extern decltype(rename) __interceptor_rename __attribute__((weak));
extern decltype(symlink) __interceptor_symlink __attribute__((weak));
extern decltype(popen) __interceptor_popen __attribute__((weak));
extern decltype(read) __interceptor_read __attribute__((weak));
extern decltype(write) __interceptor_write __attribute__((weak));
extern decltype(writev) __interceptor_writev __attribute__((weak));
extern decltype(lseek64) __interceptor_lseek64 __attribute__((weak));
extern decltype(fclose) __interceptor_fclose __attribute__((weak));
extern decltype(pthread_create) __interceptor_pthread_create __attribute__((weak));
extern decltype(sleep) __interceptor_sleep __attribute__((weak));
}

namespace {

template <typename Function>
Function* realFunction(Function* interceptor, const char* name) {
    if (interceptor != nullptr) {
        return interceptor;
    }
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// True, with errno set, if the call on these paths is to fail. `second` may be null.
bool fails(const char* function, const char* first, const char* second) {
    if (!vesksim::failuresWanted()) {
        return false;
    }
    const int error = vesksim::failureOfPaths(function, first, second);
    if (error != 0) {
        errno = error;
    }
    return error != 0;
}

bool fails(const char* function, int descriptor) {
    if (!vesksim::failuresWanted()) {
        return false;
    }
    const int error = vesksim::failureOfDescriptor(function, descriptor);
    if (error != 0) {
        errno = error;
    }
    return error != 0;
}

}  // namespace

extern "C" {

FILE* fopen(const char* path, const char* mode) {
    static auto* const real = realFunction(&__interceptor_fopen, "fopen");
    if (fails("fopen", path, nullptr)) {
        return nullptr;
    }
    char room[vesksim::kPathRoom];
    return real(vesksim::redirected(path, room), mode);
}

FILE* fopen64(const char* path, const char* mode) {
    static auto* const real = realFunction(&__interceptor_fopen64, "fopen64");
    if (fails("fopen64", path, nullptr)) {
        return nullptr;
    }
    char room[vesksim::kPathRoom];
    return real(vesksim::redirected(path, room), mode);
}

int remove(const char* path) noexcept {
    static auto* const real = realFunction(&__interceptor_remove, "remove");
    if (fails("remove", path, nullptr)) {
        return -1;
    }
    char room[vesksim::kPathRoom];
    return real(vesksim::redirected(path, room));
}

int rename(const char* from, const char* to) noexcept {
    static auto* const real = realFunction(&__interceptor_rename, "rename");
    if (fails("rename", from, to)) {
        return -1;
    }
    char fromRoom[vesksim::kPathRoom];
    char toRoom[vesksim::kPathRoom];
    return real(vesksim::redirected(from, fromRoom), vesksim::redirected(to, toRoom));
}

int symlink(const char* target, const char* link) noexcept {
    static auto* const real = realFunction(&__interceptor_symlink, "symlink");
    if (fails("symlink", target, link)) {
        return -1;
    }
    char targetRoom[vesksim::kPathRoom];
    char linkRoom[vesksim::kPathRoom];
    return real(vesksim::redirected(target, targetRoom), vesksim::redirected(link, linkRoom));
}

FILE* popen(const char* command, const char* mode) {
    static auto* const real = realFunction(&__interceptor_popen, "popen");
    if (vesksim::failuresWanted()) {
        const int error = vesksim::failureOfCommand("popen", command);
        if (error != 0) {
            errno = error;
            return nullptr;
        }
    }
    return real(command, mode);
}

ssize_t read(int descriptor, void* data, size_t size) {
    static auto* const real = realFunction(&__interceptor_read, "read");
    if (fails("read", descriptor)) {
        return -1;
    }
    return real(descriptor, data, size);
}

ssize_t write(int descriptor, const void* data, size_t size) {
    static auto* const real = realFunction(&__interceptor_write, "write");
    if (fails("write", descriptor)) {
        return -1;
    }
    return real(descriptor, data, size);
}

ssize_t writev(int descriptor, const iovec* pieces, int count) {
    static auto* const real = realFunction(&__interceptor_writev, "writev");
    if (fails("writev", descriptor)) {
        return -1;
    }
    return real(descriptor, pieces, count);
}

off64_t lseek64(int descriptor, off64_t offset, int whence) noexcept {
    static auto* const real = realFunction(&__interceptor_lseek64, "lseek64");
    if (fails("lseek64", descriptor)) {
        return -1;
    }
    return real(descriptor, offset, whence);
}

// Closes also when it fails, as the real one does.
int fclose(FILE* stream) {
    static auto* const real = realFunction(&__interceptor_fclose, "fclose");
    const bool failed = fails("fclose", fileno(stream));
    const int error = errno;
    const int result = real(stream);
    if (failed) {
        errno = error;
    }
    return failed ? EOF : result;
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                   void* argument) noexcept {
    static auto* const real = realFunction(&__interceptor_pthread_create, "pthread_create");
    const int error =
        vesksim::failuresWanted() ? vesksim::failureOfCommand("pthread_create", "") : 0;
    return error != 0 ? error : real(thread, attributes, start, argument);
}

unsigned sleep(unsigned seconds) {
    static auto* const real = realFunction(&__interceptor_sleep, "sleep");
    unsigned left = 0;
    if (vesksim::sleepHandled(seconds, &left)) {
        return left;
    }
    return real(seconds);
}
}
