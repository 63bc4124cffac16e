#include "private_host.h"

#include "sim/redirect/redirect.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace vesktest {
namespace {

struct Closer {
    void operator()(std::FILE* file) const {
        const vesksim::WithoutFailures unasked;
        std::fclose(file);
    }
};
using File = std::unique_ptr<std::FILE, Closer>;

[[noreturn]] void fail(const std::string& what, const std::string& path) {
    throw std::runtime_error(what + " " + path + ": " + std::strerror(errno));
}

// C streams, because what they write does not go through the replaceable write().
File open(const std::string& path, const char* mode) {
    File file(std::fopen(path.c_str(), mode));
    if (file == nullptr) {
        fail("cannot open", path);
    }
    return file;
}

std::string makeTemporaryFolder() {
    const char* parent = std::getenv("TMPDIR");
    std::string folder = parent != nullptr && *parent != '\0' ? parent : "/tmp";
    folder += "/vesk-host-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {
        fail("cannot make", folder);
    }
    return folder;
}

}  // namespace

PrivateHost::PrivateHost() : m_root(makeTemporaryFolder()) {
    makeFolder("/scratch/log");
    makeFolder("/var/log");
    makeFolder("/opt/orvo/pciconfig");
    makeFolder(kFirstIniFolder);
    vesksim::setHostRoot(m_root);
}

PrivateHost::~PrivateHost() {
    vesksim::setHostRoot("");
    std::error_code ignored;
    std::filesystem::remove_all(m_root, ignored);
}

std::string PrivateHost::path(const std::string& hostPath) const {
    if (hostPath.empty() || hostPath.front() != '/') {
        throw std::runtime_error("not a path of the host: " + hostPath);
    }
    return m_root + hostPath;
}

void PrivateHost::write(const std::string& hostPath, const std::string& text) const {
    const File file = open(path(hostPath), "wb");
    if (std::fwrite(text.data(), 1, text.size(), file.get()) != text.size() ||
        std::fflush(file.get()) != 0) {
        fail("cannot write", path(hostPath));
    }
}

std::string PrivateHost::read(const std::string& hostPath) const {
    const File file = open(path(hostPath), "rb");
    std::string text;
    char piece[4096];
    std::size_t size = 0;
    while ((size = std::fread(piece, 1, sizeof piece, file.get())) != 0) {
        text.append(piece, size);
    }
    if (std::ferror(file.get()) != 0) {
        fail("cannot read", path(hostPath));
    }
    return text;
}

bool PrivateHost::exists(const std::string& hostPath) const {
    return std::filesystem::exists(std::filesystem::symlink_status(path(hostPath)));
}

void PrivateHost::makeFolder(const std::string& hostPath) const {
    std::filesystem::create_directories(path(hostPath));
}

void PrivateHost::writeConfigIni(const std::string& text) const {
    write(kConfigIniPath, text);
}

void PrivateHost::writeMappingIni(const std::string& text) const {
    write(kMappingIniPath, text);
}

}  // namespace vesktest
