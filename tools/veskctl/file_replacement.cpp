#include "veskctl/file_replacement.h"

#include "veskctl/format.h"
#include "veskctl/problem.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace veskctl {

namespace {

struct Owner {
    uid_t user;
    gid_t group;
};

bool writeAll(int descriptor, const std::string& text) {
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = write(descriptor, text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return true;
}

// Without an owner, that of this process. 0, or the error by which nothing has changed.
int putInPlaceOf(const std::string& path, const std::string& text, unsigned mode,
                 const Owner* owner) {
    std::string beside = path + ".XXXXXX";
    const int descriptor = mkostemp(beside.data(), O_CLOEXEC);
    if (descriptor < 0) {
        return errno;
    }
    const bool written = (owner == nullptr || fchown(descriptor, owner->user, owner->group) == 0) &&
                         writeAll(descriptor, text) && fchmod(descriptor, mode) == 0 &&
                         fsync(descriptor) == 0;
    int error = written ? 0 : errno;
    if (close(descriptor) != 0 && error == 0) {
        error = errno;
    }
    if (error == 0 && rename(beside.c_str(), path.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        unlink(beside.c_str());
    }
    return error;
}

}  // namespace

void replaceFile(const std::string& path, const std::string& text, unsigned mode) {
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        throw ProblemError(
            {ProblemKind::Internal, path + " is no file, so it is not replaced; name a file"});
    }
    const int error = putInPlaceOf(path, text, mode, nullptr);
    if (error != 0) {
        throw ProblemError({ProblemKind::Internal,
                            format("{} cannot be written: {}", path, std::strerror(error))});
    }
}

bool replaceFileAlike(const std::string& path, const std::string& text) {
    std::error_code unresolved;
    const std::string file = std::filesystem::canonical(path, unresolved).string();
    struct stat status = {};
    if (unresolved || stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_nlink != 1) {
        return false;
    }
    const Owner owner = {status.st_uid, status.st_gid};
    return putInPlaceOf(file, text, status.st_mode & 07777U, &owner) == 0;
}

}  // namespace veskctl
