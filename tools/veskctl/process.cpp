#include "veskctl/process.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace veskctl {

namespace {

extern "C" void ignoreSignal(int) {}

constexpr int kEndedBySignal = 130;
constexpr std::array<int, 3> kSignals = {SIGINT, SIGTERM, SIGHUP};

std::atomic<int> arrivals(0);
std::atomic<int> wakeUpWriter(-1);
std::array<struct sigaction, kSignals.size()> former = {};
static_assert(std::atomic<int>::is_always_lock_free, "used in a signal handler");

extern "C" void noteSignal(int) {
    if (arrivals.fetch_add(1) > 0) {
        _exit(kEndedBySignal);
    }
    const int error = errno;
    const char byte = 0;
    // The pipe holds this one byte for sure.
    static_cast<void>(!write(wakeUpWriter.load(), &byte, 1));
    errno = error;
}

void handle(int signal, struct sigaction& before) {
    sigaction(signal, nullptr, &before);
    if (before.sa_handler == SIG_IGN) {
        return;
    }
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

}  // namespace

void prepareStandardStreams() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) == -1 && errno == EBADF) {
            // Opened the wrong way round, so that reading or writing fails as on a closed one. It
            // gets the lowest free number, which is this one, and stays open.
            static_cast<void>(open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY));
        }
    }
    // A handler instead of SIG_IGN: programs that the library starts get the default back.
    struct sigaction action = {};
    action.sa_handler = ignoreSignal;
    action.sa_flags = SA_RESTART;
    sigaction(SIGPIPE, &action, nullptr);
}

bool standardOutputIsOpen() {
    const int flags = fcntl(STDOUT_FILENO, F_GETFL);
    return flags != -1 && (flags & O_ACCMODE) != O_RDONLY;
}

int writeAndFlush(std::FILE* stream, const std::string& text) {
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), stream) == text.size() &&
        std::fflush(stream) == 0) {
        return 0;
    }
    return errno != 0 ? errno : EIO;
}

StopSignals::StopSignals() {
    std::array<int, 2> ends = {};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    m_wakeUp = ends[0];
    wakeUpWriter = ends[1];
    arrivals = 0;
    for (std::size_t index = 0; index < kSignals.size(); ++index) {
        handle(kSignals[index], former[index]);
    }
}

StopSignals::~StopSignals() {
    for (std::size_t index = 0; index < kSignals.size(); ++index) {
        sigaction(kSignals[index], &former[index], nullptr);
    }
    close(wakeUpWriter.exchange(-1));
    close(m_wakeUp);
}

bool StopSignals::arrived() const {
    return arrivals.load() > 0;
}

bool StopSignals::pause(std::chrono::milliseconds time, int watchedOutput) const {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + time;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        // No events of the output are asked for: that its reader has gone is always reported.
        std::array<pollfd, 2> watched = {pollfd{m_wakeUp, POLLIN, 0}, pollfd{watchedOutput, 0, 0}};
        const int ready =
            poll(watched.data(), watched.size(), left > 0 ? static_cast<int>(left) : 0);
        if (arrived() || (ready > 0 && watched[1].revents != 0)) {
            return false;
        }
        if (ready == 0 || Clock::now() >= end) {
            return true;
        }
    }
}

void leaveProcess(int code) {
    std::_Exit(code);
}

}  // namespace veskctl
