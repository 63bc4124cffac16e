#include "veskctl/sim_folder.h"

#include "sim/host/host_folder.h"
#include "sim/host/host_state.h"
#include "sim/host/simulated_host.h"
#include "sim/redirect/redirect.h"
#include "sim/replay/replay.h"
#include "veskctl/format.h"

#include <array>
#include <cerrno>
#include <chrono>
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

std::string makeTemporary() {
    std::error_code error;
    std::string pattern = (fs::temp_directory_path(error) / "veskctl-sim-XXXXXX").string();
    if (error || mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error(format(
            "no temporary folder can be made ({}); check TMPDIR, or name a folder with --state",
            error ? error.message() : std::string(std::strerror(errno))));
    }
    return pattern;
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
    if (m_temporary) {
        removeAfterEnd();
    }
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

namespace {

// By number: older C libraries have no close_range(), and /proc may be missing.
void closeFrom(int first, unsigned last) {
    syscall(SYS_close_range, static_cast<unsigned>(first), last, 0U);
}

}  // namespace

// A process that nothing but the end of the others ends: it reads from a pipe whose other end they
// have, and which the system closes with the last of them.
void SimFolder::removeAfterEnd() {
    std::array<int, 2> ends = {};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return;  // then the folder stays if the program is killed
    }
    const pid_t remover = fork();
    if (remover == 0) {
        // Of no terminal and no process group of the program's, and with none of its streams: who
        // reads them must not wait for this process.
        setsid();
        closeFrom(0, static_cast<unsigned>(ends[0]) - 1);
        closeFrom(ends[0] + 1, ~0U);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            std::signal(signal, SIG_IGN);
        }
        char byte = 0;
        while (read(ends[0], &byte, 1) == -1 && errno == EINTR) {
        }
        removeFolder(m_path);
        _exit(0);
    }
    close(ends[0]);
    m_alive = ends[1];
}

}  // namespace vesksim
