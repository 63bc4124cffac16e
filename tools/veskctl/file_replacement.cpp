#include "veskctl/file_replacement.h"

#include "veskctl/format.h"
#include "veskctl/problem.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace veskctl {

namespace {

bool writeAll(int descriptor, const std::string& text, unsigned mode) {
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = write(descriptor, text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return fchmod(descriptor, mode) == 0 && fsync(descriptor) == 0;
}

[[noreturn]] void fail(const std::string& path, int error) {
    throw ProblemError(
        {ProblemKind::Internal, format("{} cannot be written: {}", path, std::strerror(error))});
}

}  // namespace

void replaceFile(const std::string& path, const std::string& text, unsigned mode) {
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        throw ProblemError(
            {ProblemKind::Internal, path + " is no file, so it is not replaced; name a file"});
    }
    std::string beside = path + ".XXXXXX";
    const int descriptor = mkostemp(beside.data(), O_CLOEXEC);
    if (descriptor < 0) {
        fail(path, errno);
    }
    const bool written = writeAll(descriptor, text, mode);
    int error = errno;
    const bool closed = close(descriptor) == 0;
    if (written && !closed) {
        error = errno;
    }
    if (!written || !closed || rename(beside.c_str(), path.c_str()) != 0) {
        error = written && closed ? errno : error;
        unlink(beside.c_str());
        fail(path, error);
    }
}

}  // namespace veskctl
