// The root, the handlers, and the decisions that the replaced functions ask for. A handler is
// copied under the lock and called without it, so it may do what it likes, also set a new one.
#include "sim/redirect/redirect.h"

#include "sim/redirect/call_policy.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace vesksim {
namespace {

constexpr std::array<std::string_view, 4> kHostFolders = {"/scratch/", "/var/log/", "/opt/orvo/",
                                                          "/etc/cim/"};

struct FileInPlace {
    char from[256] = "";
    char to[PATH_MAX] = "";
};

struct Settings {
    std::mutex mutex;
    char root[PATH_MAX] = "";          // as it was set, no slash at the end
    char resolvedRoot[PATH_MAX] = "";  // without links, as the system names open files
    std::array<FileInPlace, 8> files;  // the first `fileCount` of them are in force
    std::atomic<std::size_t> fileCount{0};
    std::shared_ptr<const SleepHandler> sleepHandler;
    std::shared_ptr<const FailureHandler> failureHandler;
    std::atomic<bool> sleepHandlerSet{false};
    std::atomic<bool> failureHandlerSet{false};
};

// Never destroyed: other threads and other libraries' destructors still open files at exit. Not
// from the heap: the first use may be in a call whose allocations are counted.
Settings& settings() {
    alignas(Settings) static unsigned char place[sizeof(Settings)];
    static Settings* const instance = new (place) Settings;
    return *instance;
}

// True while this thread is inside a failure handler, or a WithoutFailures lives: its calls are not
// asked about.
thread_local bool t_insideHandler = false;

class HandlerScope {
public:
    HandlerScope() : m_errno(errno) { t_insideHandler = true; }
    ~HandlerScope() {
        t_insideHandler = false;
        errno = m_errno;
    }
    HandlerScope(const HandlerScope&) = delete;
    HandlerScope& operator=(const HandlerScope&) = delete;

private:
    int m_errno;
};

bool isHostPath(std::string_view path) {
    return std::any_of(kHostFolders.begin(), kHostFolders.end(), [path](std::string_view folder) {
        return path.substr(0, folder.size()) == folder;
    });
}

int askFailureHandler(const char* function, std::string_view path) {
    if (t_insideHandler) {
        return 0;
    }
    std::shared_ptr<const FailureHandler> handler;
    {
        const std::lock_guard<std::mutex> lock(settings().mutex);
        handler = settings().failureHandler;
    }
    if (handler == nullptr) {
        return 0;
    }
    const HandlerScope scope;
    return (*handler)(function, std::string(path));
}

template <typename Handler>
void replaceHandler(std::shared_ptr<const Handler> Settings::*place,
                    std::atomic<bool> Settings::*isSet, Handler handler) {
    std::shared_ptr<const Handler> replacement;
    if (handler) {
        replacement = std::make_shared<const Handler>(std::move(handler));
    }
    // The old one goes after the unlock: its destructor is the test's code.
    const std::lock_guard<std::mutex> lock(settings().mutex);
    (settings().*isSet).store(replacement != nullptr);
    (settings().*place).swap(replacement);
}

}  // namespace

WithoutFailures::WithoutFailures() : m_before(t_insideHandler) {
    t_insideHandler = true;
}

WithoutFailures::~WithoutFailures() {
    t_insideHandler = m_before;
}

void setHostRoot(const std::string& root) {
    std::string plain = root;
    while (!plain.empty() && plain.back() == '/') {
        plain.pop_back();
    }
    if (plain.empty() && !root.empty()) {
        throw std::invalid_argument("the machine's own root folder cannot be the host's root");
    }
    if (plain.size() >= PATH_MAX) {
        throw std::length_error("the path of the host's root is too long");
    }
    char resolved[PATH_MAX] = "";
    if (realpath(plain.c_str(), resolved) == nullptr) {
        std::strcpy(resolved, plain.c_str());
    }
    const std::lock_guard<std::mutex> lock(settings().mutex);
    std::strcpy(settings().root, plain.c_str());
    std::strcpy(settings().resolvedRoot, resolved);
}

std::string hostRoot() {
    const std::lock_guard<std::mutex> lock(settings().mutex);
    return settings().root;
}

std::string hostPath(const std::string& path) {
    if (!isHostPath(path)) {
        return path;
    }
    const std::string root = hostRoot();
    return root.empty() ? std::string() : root + path;
}

void redirectFile(const std::string& from, const std::string& to) {
    const std::lock_guard<std::mutex> lock(settings().mutex);
    const std::size_t count = settings().fileCount.load();
    if (count == settings().files.size() || from.size() >= sizeof FileInPlace::from ||
        to.size() >= sizeof FileInPlace::to) {
        throw std::length_error("no room for another file in the place of " + from);
    }
    std::strcpy(settings().files[count].from, from.c_str());
    std::strcpy(settings().files[count].to, to.c_str());
    settings().fileCount.store(count + 1);
}

void setSleepHandler(SleepHandler handler) {
    replaceHandler(&Settings::sleepHandler, &Settings::sleepHandlerSet, std::move(handler));
}

void setFailureHandler(FailureHandler handler) {
    replaceHandler(&Settings::failureHandler, &Settings::failureHandlerSet, std::move(handler));
}

const char* redirected(const char* path, char (&room)[kPathRoom]) {
    for (std::size_t index = settings().fileCount.load(); index > 0; --index) {
        const FileInPlace& file = settings().files[index - 1];  // never changed once it counts
        if (std::strcmp(file.from, path) == 0) {
            return file.to;
        }
    }
    if (!isHostPath(path)) {
        return path;
    }
    std::size_t rootLength = 0;
    {
        const std::lock_guard<std::mutex> lock(settings().mutex);
        rootLength = std::strlen(settings().root);
        std::memcpy(room, settings().root, rootLength);
    }
    std::size_t length = rootLength;
    if (rootLength != 0) {
        const std::size_t pathLength = std::min(std::strlen(path), kPathRoom - 1 - rootLength);
        std::memcpy(room + rootLength, path, pathLength);
        length += pathLength;
    }
    room[length] = '\0';
    return room;
}

bool failuresWanted() {
    return settings().failureHandlerSet.load();
}

int failureOfPaths(const char* function, const char* first, const char* second) {
    if (!isHostPath(first) && (second == nullptr || !isHostPath(second))) {
        return 0;
    }
    return askFailureHandler(function, first);
}

int failureOfDescriptor(const char* function, int descriptor) {
    const int errnoBefore = errno;
    char link[32];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    char room[PATH_MAX];
    const ssize_t length = readlink(link, room, sizeof room);
    errno = errnoBefore;
    if (length <= 0) {
        return 0;
    }
    std::string_view path(room, static_cast<std::size_t>(length));
    {
        const std::lock_guard<std::mutex> lock(settings().mutex);
        const std::string_view root = settings().resolvedRoot;
        if (root.empty() || path.size() <= root.size() || path[root.size()] != '/' ||
            path.substr(0, root.size()) != root) {
            return 0;
        }
        path.remove_prefix(root.size());
    }
    return askFailureHandler(function, path);
}

int failureOfCommand(const char* function, const char* command) {
    return askFailureHandler(function, command);
}

bool sleepHandled(unsigned seconds, unsigned* left) {
    if (!settings().sleepHandlerSet.load()) {
        return false;
    }
    std::shared_ptr<const SleepHandler> handler;
    {
        const std::lock_guard<std::mutex> lock(settings().mutex);
        handler = settings().sleepHandler;
    }
    if (handler == nullptr) {
        return false;
    }
    *left = (*handler)(seconds);
    return true;
}

}  // namespace vesksim
