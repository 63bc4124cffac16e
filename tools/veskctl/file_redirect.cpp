#include "veskctl/file_redirect.h"

#include <cstdio>
#include <mutex>

#include <dlfcn.h>

namespace veskctl {

namespace {

struct Redirection {
    std::mutex mutex;
    std::string from;
    std::string to;
};

// Never destroyed: files are opened until the process ends.
Redirection& redirection() {
    static auto* const instance = new Redirection;
    return *instance;
}

std::FILE* openInPlace(const char* function, const char* path, const char* mode) {
    using Open = std::FILE* (*)(const char*, const char*);
    const auto open = reinterpret_cast<Open>(dlsym(RTLD_NEXT, function));
    std::string place = path;
    {
        const std::lock_guard<std::mutex> lock(redirection().mutex);
        if (!redirection().from.empty() && redirection().from == place) {
            place = redirection().to;
        }
    }
    return open(place.c_str(), mode);
}

}  // namespace

void redirectFile(const std::string& from, const std::string& to) {
    const std::lock_guard<std::mutex> lock(redirection().mutex);
    redirection().from = from;
    redirection().to = to;
}

}  // namespace veskctl

extern "C" {

std::FILE* fopen(const char* path, const char* mode) {
    return veskctl::openInPlace("fopen", path, mode);
}

std::FILE* fopen64(const char* path, const char* mode) {
    return veskctl::openInPlace("fopen64", path, mode);
}
}
