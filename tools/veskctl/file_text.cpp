#include "veskctl/file_text.h"

#include "veskctl/descriptor.h"
#include "veskctl/format.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace veskctl {

namespace {

void fail(FileText& file, int error) {
    if (error == ENOENT || error == ENOTDIR) {
        file.state = FileState::Missing;
    } else if (error == EACCES || error == EPERM) {
        file.state = FileState::Denied;
    } else if (error == ENXIO) {  // a socket
        file.state = FileState::Special;
    } else {
        file.state = FileState::Failed;
        file.reason = std::strerror(error);
    }
}

// Also where the file grows meanwhile, no more than the bound.
void readAll(int descriptor, FileText& file) {
    std::array<char, 65536> room = {};
    for (;;) {
        const ssize_t count = read(descriptor, room.data(), room.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            fail(file, errno);
            return;
        }
        if (count == 0) {
            file.state = FileState::Read;
            return;
        }
        file.text.append(room.data(), static_cast<std::size_t>(count));
        if (file.text.size() > kLargestHostFile) {
            file.text.clear();
            file.state = FileState::TooLarge;
            return;
        }
    }
}

}  // namespace

std::string underRoot(const std::string& hostRoot, const std::string& path) {
    return !path.empty() && path.front() == '/' ? hostRoot + path : path;
}

FileText readHostFile(const std::string& hostRoot, const std::string& path) {
    FileText file;
    file.path = path;
    const std::string place = underRoot(hostRoot, path);
    // Without O_NONBLOCK the opening of a pipe waits for somebody who writes.
    const Descriptor descriptor(open(place.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status = {};
    if (descriptor.number() < 0 || fstat(descriptor.number(), &status) != 0) {
        fail(file, errno);
        return file;
    }
    file.size = static_cast<std::uint64_t>(status.st_size);
    file.writable = access(place.c_str(), W_OK) == 0;
    if (S_ISDIR(status.st_mode)) {
        file.state = FileState::Folder;
    } else if (!S_ISREG(status.st_mode)) {
        file.state = FileState::Special;
    } else if (file.size > kLargestHostFile) {
        file.state = FileState::TooLarge;
    } else {
        readAll(descriptor.number(), file);
    }
    return file;
}

std::string whyUnread(const FileText& file) {
    switch (file.state) {
    case FileState::Missing:
        return "it is missing";
    case FileState::Denied:
        return "there is no right to read it";
    case FileState::Folder:
        return "it is a folder";
    case FileState::Special:
        return "it is a pipe or a device, no file";
    case FileState::TooLarge:
        return format("it is {} bytes large, more than such a file can have", file.size);
    case FileState::Failed:
        return "it cannot be read: " + file.reason;
    case FileState::Read:
        break;
    }
    return "";
}

}  // namespace veskctl
