#include "veskctl/sim_folder.h"

#include "sim/host/host_folder.h"
#include "sim/host/host_state.h"
#include "sim/host/simulated_host.h"
#include "sim/redirect/redirect.h"
#include "sim/replay/replay.h"
#include "veskctl/format.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vesksim {

namespace fs = std::filesystem;
using veskctl::format;

namespace {

[[noreturn]] void refuseTemporary(const std::string& reason) {
    throw std::runtime_error(
        format("no temporary folder can be made ({}); check TMPDIR, or name a folder with --state",
               reason));
}

std::string makeState(const std::string& state) {
    std::error_code error;
    fs::create_directories(state, error);
    if (error || !fs::is_directory(state, error)) {
        throw std::runtime_error(format(
            "the state folder {} cannot be used: {}; name one that you may write to, or leave out "
            "--state",
            state, error ? error.message() : std::string("it is not a folder")));
    }
    if (access(state.c_str(), R_OK | W_OK | X_OK) != 0) {
        throw std::runtime_error(format(
            "the state folder {} cannot be used: {}; name one that you may write to, or leave out "
            "--state",
            state, std::strerror(errno)));
    }
    return fs::absolute(state).string();
}

void removeFolder(const std::string& path) {
    std::error_code error;
    // A file may come into being while the others are removed.
    for (int attempt = 0; attempt < 3; ++attempt) {
        fs::remove_all(path, error);
        if (!error) {
            break;
        }
    }
}

}  // namespace

FolderLock::FolderLock(const std::string& folder)
    : m_descriptor(open((folder + "/lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)) {
    int locked = -1;
    do {
        locked = m_descriptor == -1 ? -1 : flock(m_descriptor, LOCK_EX);
    } while (locked == -1 && m_descriptor != -1 && errno == EINTR);
    if (locked == -1) {
        const int error = errno;
        if (m_descriptor != -1) {
            close(m_descriptor);
        }
        throw std::system_error(error, std::generic_category(), folder + "/lock");
    }
}

FolderLock::~FolderLock() {
    close(m_descriptor);
}

namespace {

// What the process that makes a temporary folder says of it.
struct MadeFolder {
    int error = 0;
    std::array<char, PATH_MAX> path = {};
};

// By number: older C libraries have no close_range(), and /proc may be missing.
void closeBetween(int first, int last) {
    if (first <= last) {
        syscall(SYS_close_range, static_cast<unsigned>(first), static_cast<unsigned>(last), 0U);
    }
}

// Makes the folder, tells of it, and removes it when nobody has the other end of `alive` any more,
// which the system closes with the last process that does.
[[noreturn]] void keepFolder(MadeFolder made, int alive, int told) {
    // Of no terminal and no process group of the program's, and with none of its streams: who reads
    // them must not wait for this process, and nothing but the end of the others ends it.
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        std::signal(signal, SIG_IGN);
    }
    setsid();
    closeBetween(0, std::min(alive, told) - 1);
    closeBetween(std::min(alive, told) + 1, std::max(alive, told) - 1);
    closeBetween(std::max(alive, told) + 1, INT_MAX);
    made.error = mkdtemp(made.path.data()) == nullptr ? errno : 0;
    const bool isTold = write(told, &made, sizeof(made)) == ssize_t{sizeof(made)};
    close(told);
    char byte = 0;
    while (isTold && read(alive, &byte, 1) == -1 && errno == EINTR) {
    }
    if (made.error == 0) {
        removeFolder(made.path.data());
    }
    _exit(0);
}

}  // namespace

// By a process of its own, which is there before the folder: no kill leaves it behind.
std::string SimFolder::makeTemporary() {
    std::error_code error;
    const std::string pattern = (fs::temp_directory_path(error) / "veskctl-sim-XXXXXX").string();
    if (error) {
        refuseTemporary(error.message());
    }
    MadeFolder made;
    if (pattern.size() >= made.path.size()) {
        refuseTemporary(std::strerror(ENAMETOOLONG));
    }
    pattern.copy(made.path.data(), pattern.size());
    std::array<int, 2> alive = {};
    std::array<int, 2> told = {};
    if (pipe2(alive.data(), O_CLOEXEC) != 0 || pipe2(told.data(), O_CLOEXEC) != 0) {
        refuseTemporary(std::strerror(errno));
    }
    const pid_t keeper = fork();
    if (keeper == -1) {
        refuseTemporary(std::strerror(errno));
    }
    if (keeper == 0) {
        close(alive[1]);
        close(told[0]);
        keepFolder(made, alive[0], told[1]);
    }
    m_alive = alive[1];
    close(alive[0]);
    close(told[1]);
    ssize_t size = 0;
    do {
        size = read(told[0], &made, sizeof(made));
    } while (size == -1 && errno == EINTR);
    close(told[0]);
    if (size != ssize_t{sizeof(made)} || made.error != 0) {
        refuseTemporary(std::strerror(made.error != 0 ? made.error : EIO));
    }
    return made.path.data();
}

SimFolder::SimFolder(const std::string& state, const Scenario& scenario)
    : m_path(state.empty() ? makeTemporary() : makeState(state)),
      m_temporary(state.empty()),
      m_errors(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
    prepare();
    const FolderLock lock(m_path);
    writeHostFiles(m_path, scenario);
    SimulatedHost& host = SimulatedHost::instance();
    host.load(scenario);
    host.setDelayHandler([](unsigned milliseconds) {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    });
    loadState(m_path);
}

SimFolder::SimFolder(const std::string& capture)
    : m_path(makeTemporary()),
      m_temporary(true),
      m_remembers(false),
      m_errors(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
    prepare();
    Replay::start(capture, m_path);
}

void SimFolder::prepare() {
    void* const shared =
        mmap(nullptr, sizeof(bool), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) {
        throw std::runtime_error(format("no memory: {}", std::strerror(errno)));
    }
    m_notKept = static_cast<bool*>(shared);
    setHostRoot(m_path);
}

SimFolder::~SimFolder() {
    setHostRoot("");
    if (m_temporary) {
        removeFolder(m_path);
    }
}

void SimFolder::enter() {
    if (!m_remembers) {
        return;
    }
    m_lock = std::make_unique<FolderLock>(m_path);
    loadState(m_path);
}

void SimFolder::leave() {
    if (!m_remembers) {
        return;
    }
    try {
        saveState(m_path);
    } catch (const std::exception& error) {
        *m_notKept = true;
        dprintf(m_errors, "veskctl: the state of the simulated host was not kept: %s\n",
                error.what());
    }
}

bool SimFolder::everythingKept() const {
    return !*m_notKept;
}

}  // namespace vesksim
