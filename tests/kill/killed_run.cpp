#include "killed_run.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <set>
#include <stdexcept>
#include <string>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vesktest {
namespace {

// How a stop at a system call differs from one by a signal (PTRACE_O_TRACESYSGOOD).
constexpr int kSystemCallStop = SIGTRAP | 0x80;

[[noreturn]] void runTraced(const std::function<void()>& work) {
    try {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
            throw std::runtime_error(std::string("ptrace: ") + std::strerror(errno));
        }
        raise(SIGSTOP);
        work();
        _exit(0);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "in the child process: %s\n", error.what());
    }
    _exit(1);
}

// A stop or end of the child or of one of its threads.
pid_t waitForAny(int& status) {
    for (;;) {
        const pid_t thread = waitpid(-1, &status, __WALL);
        if (thread > 0) {
            return thread;
        }
        if (errno != EINTR) {
            throw std::runtime_error(std::string("waitpid: ") + std::strerror(errno));
        }
    }
}

// These differ from run to run with what the allocator has left: counted, they would shift the
// rest.
bool managesMemory(const __ptrace_syscall_info& call) {
    switch (call.entry.nr) {
    case SYS_brk:
    case SYS_madvise:
    case SYS_mmap:
    case SYS_mprotect:
    case SYS_munmap:
    case SYS_sigaltstack:
        return true;
    default:
        return false;
    }
}

bool changesFiles(const __ptrace_syscall_info& call) {
    switch (call.entry.nr) {
    case SYS_open:
        return (call.entry.args[1] & (O_CREAT | O_TRUNC)) != 0;
    case SYS_openat:
        return (call.entry.args[2] & (O_CREAT | O_TRUNC)) != 0;
    case SYS_creat:
    case SYS_write:
    case SYS_writev:
    case SYS_pwrite64:
    case SYS_rename:
    case SYS_renameat:
    case SYS_renameat2:
    case SYS_unlink:
    case SYS_unlinkat:
    case SYS_mkdir:
    case SYS_mkdirat:
    case SYS_rmdir:
    case SYS_link:
    case SYS_linkat:
    case SYS_symlink:
    case SYS_symlinkat:
    case SYS_truncate:
    case SYS_ftruncate:
        return true;
    default:
        return false;
    }
}

void expectDone(int status) {
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        throw std::runtime_error("the work in the child process failed");
    }
}

}  // namespace

bool killedAt(std::size_t call, const std::function<void()>& work, Calls counted) {
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
    }
    if (child == 0) {
        runTraced(work);
    }
    int status = 0;
    if (waitForAny(status) != child || !WIFSTOPPED(status)) {
        throw std::runtime_error("the child process cannot be traced");
    }
    constexpr long kOptions = PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACECLONE | PTRACE_O_TRACEFORK |
                              PTRACE_O_TRACEVFORK | PTRACE_O_EXITKILL;
    ptrace(PTRACE_SETOPTIONS, child, nullptr, kOptions);
    ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);

    std::size_t calls = 0;
    std::set<pid_t> inCall;           // threads that stop at a call's end next
    std::set<pid_t> alive = {child};  // threads, also of processes that it starts
    bool killed = false;
    int end = 0;
    while (!alive.empty()) {
        const pid_t thread = waitForAny(status);
        if (!WIFSTOPPED(status)) {
            alive.erase(thread);
            end = thread == child ? status : end;
            continue;
        }
        alive.insert(thread);
        if (killed) {
            kill(thread, SIGKILL);
            continue;
        }
        const int signal = WSTOPSIG(status);
        if (signal == kSystemCallStop && inCall.erase(thread) == 0) {
            inCall.insert(thread);
            __ptrace_syscall_info info = {};
            ptrace(PTRACE_GET_SYSCALL_INFO, thread, sizeof(info), &info);
            const bool counts = counted == Calls::kAll ? !managesMemory(info) : changesFiles(info);
            calls += counts ? 1 : 0;
            if (counts && calls == call) {
                killed = true;
                for (const pid_t victim : alive) {
                    kill(victim, SIGKILL);
                }
                continue;
            }
        }
        // A new thread begins with SIGSTOP, and its making shows as SIGTRAP: neither is for it.
        const bool ours = signal == kSystemCallStop || signal == SIGSTOP || signal == SIGTRAP;
        ptrace(PTRACE_SYSCALL, thread, nullptr, static_cast<long>(ours ? 0 : signal));
    }
    if (!killed) {
        expectDone(end);
    }
    return killed;
}

std::size_t killAtEachCall(const std::function<void()>& prepare, const std::function<void()>& work,
                           const std::function<void()>& check, Calls counted, std::size_t step) {
    std::size_t kills = 0;
    bool killed = true;
    while (killed) {
        prepare();
        killed = killedAt(kills * step + 1, work, counted);
        kills += killed ? 1 : 0;
        check();
    }
    std::printf("%zu kills\n", kills);
    std::fflush(stdout);  // or a later child says so, too
    return kills;
}

void runAlone(const std::function<void()>& work) {
    killedAt(SIZE_MAX, work);
}

}  // namespace vesktest
