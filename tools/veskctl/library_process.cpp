#include "veskctl/library_process.h"

#include "veskctl/format.h"
#include "veskctl/library_server.h"
#include "veskctl/printable.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace veskctl {

namespace {

constexpr std::chrono::milliseconds kLeaving(5000);  // a simulated host is written down in it
constexpr std::chrono::milliseconds kKilled(1000);   // a killed process may be stuck in a driver
constexpr std::size_t kMostPrinted = 4096;

LibraryProcess* current = nullptr;  // functions of a library have no place to keep it

template <class Record>
UCHAR_ callWithRecord(LibraryMessage& message, Record* record, std::size_t size) {
    std::memcpy(message.data.data(), static_cast<const void*>(record), size);
    current->call(message);
    std::memcpy(static_cast<void*>(record), message.data.data(), size);
    return message.result;
}

LibraryMessage messageFor(LibraryFunction function, UCHAR_ adapterId = 0, UCHAR_ id = 0) {
    LibraryMessage message;
    message.function = function;
    message.adapterId = adapterId;
    message.id = id;
    return message;
}

// The caller has room for one record behind the header.
template <LibraryFunction Function, class Record>
UCHAR_ requestStub(UCHAR_ adapterId, PInfo_Request request) {
    if (request->requestType != REQUEST_SINGLE) {
        throw std::logic_error("only single records are asked for");
    }
    LibraryMessage message = messageFor(Function, adapterId);
    return callWithRecord(message, request, sizeof(Info_Request) + sizeof(Record));
}

LibraryFunctions stubs() {
    LibraryFunctions functions;
    functions.initialize = [] {
        LibraryMessage message = messageFor(LibraryFunction::Initialize);
        current->call(message);
        return message.result;
    };
    functions.adapterGetCount = [] {
        LibraryMessage message = messageFor(LibraryFunction::AdapterGetCount);
        current->call(message);
        return message.result;
    };
    functions.adapterGetInfo = [](UCHAR_ adapterId, UCHAR_* count, CController* record) {
        LibraryMessage message = messageFor(LibraryFunction::AdapterGetInfo, adapterId);
        const UCHAR_ result = callWithRecord(message, record, sizeof(CController));
        *count = message.count;
        return result;
    };
    functions.diskInfo = requestStub<LibraryFunction::DiskInfo, PD_Info>;
    functions.diskConfig = requestStub<LibraryFunction::DiskConfig, PD_Config>;
    functions.diskRaidStatus = requestStub<LibraryFunction::DiskRaidStatus, PD_RaidStatus>;
    functions.diskFreeSpace = requestStub<LibraryFunction::DiskFreeSpace, PD_FreeSpaceInfo>;
    functions.diskHealth = [](UCHAR_ adapterId, UCHAR_ id, UCHAR_, PSMART_INFO_ARRAY record) {
        LibraryMessage message = messageFor(LibraryFunction::DiskHealth, adapterId, id);
        return callWithRecord(message, record, sizeof(SMART_INFO_ARRAY));
    };
    functions.diskLocate = [](UCHAR_ adapterId, PPD_OEM_Data request) {
        LibraryMessage message = messageFor(LibraryFunction::DiskLocate, adapterId);
        return callWithRecord(message, request, sizeof(PD_OEM_Data));
    };
    functions.volumeInfo = requestStub<LibraryFunction::VolumeInfo, VD_Info>;
    functions.volumeConfig = requestStub<LibraryFunction::VolumeConfig, VD_Config>;
    functions.getEvents = [](UCHAR_ adapterId, UCHAR_, UCHAR_* count, CEvent* records) {
        LibraryMessage message = messageFor(LibraryFunction::GetEvents, adapterId);
        const UCHAR_ result = callWithRecord(message, records, kMostEvents * sizeof(CEvent));
        *count = message.count;
        return result;
    };
    return functions;
}

std::string signalName(int signal) {
    struct Row {
        int signal;
        const char* name;
    };
    constexpr std::array<Row, 7> kRows = {{{SIGABRT, "SIGABRT"},
                                           {SIGBUS, "SIGBUS"},
                                           {SIGFPE, "SIGFPE"},
                                           {SIGILL, "SIGILL"},
                                           {SIGKILL, "SIGKILL"},
                                           {SIGSEGV, "SIGSEGV"},
                                           {SIGSYS, "SIGSYS"}}};
    for (const Row& row : kRows) {
        if (row.signal == signal) {
            return row.name;
        }
    }
    return format("signal {}", signal);
}

std::string textIn(const LibraryMessage& message) {
    const auto* text = reinterpret_cast<const char*>(message.data.data());
    return {text, strnlen(text, message.data.size())};
}

void closeDescriptor(int& descriptor) {
    if (descriptor != -1) {
        close(descriptor);
        descriptor = -1;
    }
}

}  // namespace

LibraryProcess::LibraryProcess(const LibrarySetup& setup)
    : m_timeout(setup.timeout), m_functions(stubs()) {
    start(setup);
    current = this;
    try {
        LibraryMessage message;
        receive(message, LibraryFunction::Load);
        const std::string paths = textIn(message);
        m_path = paths.substr(0, paths.rfind('\n'));
        m_platformPath = paths.substr(m_path.size() + 1);
        m_simulated = message.simulated != 0;
    } catch (...) {
        stop(kLeaving);
        throw;
    }
}

LibraryProcess::~LibraryProcess() {
    stop(kLeaving);
}

void LibraryProcess::start(const LibrarySetup& setup) {
    std::array<int, 2> ends = {};
    std::array<int, 2> output = {};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw std::system_error(errno, std::generic_category(), "socketpair");
    }
    // Not blocking: a library that prints a lot loses some of it, and is not held up.
    if (pipe2(output.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        const int error = errno;
        close(ends[0]);
        close(ends[1]);
        throw std::system_error(error, std::generic_category(), "pipe");
    }
    std::signal(SIGCHLD, SIG_DFL);  // where it was ignored nothing would be known of the end
    std::fflush(stdout);            // else the other process may write what waits there as well
    m_process = fork();
    const int error = errno;
    if (m_process == 0) {
        close(ends[0]);
        close(output[0]);
        serveLibrary(ends[1], output[1], setup);
    }
    close(ends[1]);
    close(output[1]);
    m_connection = ends[0];
    m_output = output[0];
    if (m_process == -1) {
        closeDescriptor(m_connection);
        closeDescriptor(m_output);
        throw std::system_error(error, std::generic_category(), "fork");
    }
}

void LibraryProcess::call(LibraryMessage& message) {
    if (m_failure) {
        throw ProblemError(*m_failure);
    }
    const LibraryFunction function = message.function;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&message);
    std::size_t sent = 0;
    // The other side waits for nothing else, so this does not block for long.
    while (sent < sizeof(message)) {
        const ssize_t now = send(m_connection, bytes + sent, sizeof(message) - sent, MSG_NOSIGNAL);
        if (now == -1 && errno != EINTR) {
            giveUp(describeEnd(function));
        }
        sent += now > 0 ? static_cast<std::size_t>(now) : 0;
    }
    receive(message, function);
}

LogReads LibraryProcess::logReads() {
    LibraryMessage message = messageFor(LibraryFunction::LogReads);
    call(message);
    LogReads reads;
    std::memcpy(&reads, message.data.data(), sizeof(reads));
    return reads;
}

void LibraryProcess::receive(LibraryMessage& message, LibraryFunction function) {
    auto* bytes = reinterpret_cast<std::uint8_t*>(&message);
    const Clock::time_point end = Clock::now() + m_timeout;
    std::size_t got = 0;
    while (got < sizeof(message)) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        std::array<pollfd, 2> watched = {pollfd{m_connection, POLLIN, 0},
                                         pollfd{m_output, POLLIN, 0}};
        const int ready =
            left > 0 ? poll(watched.data(), watched.size(), static_cast<int>(left)) : 0;
        if (ready == 0) {
            giveUp({ProblemKind::LibraryNotAnswering,
                    format("the library did not answer within {} seconds in {}; the controller or "
                           "its driver may hang: look at the host's log, or allow more with "
                           "--timeout",
                           std::chrono::duration<double>(m_timeout).count(), nameOf(function)),
                    function == LibraryFunction::Load ? "" : nameOf(function)});
        }
        if (ready > 0 && watched[1].revents != 0) {
            readPrinted();
        }
        if (ready > 0 && watched[0].revents != 0) {
            const ssize_t now = recv(m_connection, bytes + got, sizeof(message) - got, 0);
            if (now == 0 || (now == -1 && errno != EINTR)) {
                giveUp(describeEnd(function));
            }
            got += now > 0 ? static_cast<std::size_t>(now) : 0;
        }
    }
    if (message.kind == AnswerKind::Problem) {
        throw ProblemError({static_cast<ProblemKind>(message.problemKind), textIn(message)});
    }
    if (message.kind == AnswerKind::Threw) {
        throw std::runtime_error(textIn(message));
    }
}

void LibraryProcess::readPrinted() {
    std::array<char, kMostPrinted> room = {};
    for (;;) {
        const ssize_t got = read(m_output, room.data(), room.size());
        if (got == 0) {
            closeDescriptor(m_output);  // else it would be ready for ever
        }
        if (got <= 0) {
            return;
        }
        m_printed.append(room.data(), static_cast<std::size_t>(got));
        if (m_printed.size() > kMostPrinted) {
            m_printed.erase(0, m_printed.size() - kMostPrinted);  // reasons stand at the end
        }
    }
}

std::string LibraryProcess::printed() const {
    std::string line;
    for (const char character : m_printed) {
        const bool blank = character == '\n' || character == ' ';
        if (!blank) {
            line += character;
        } else if (!line.empty() && line.back() != ' ') {
            line += ' ';
        }
    }
    while (!line.empty() && line.back() == ' ') {
        line.pop_back();
    }
    return printable(line);
}

bool LibraryProcess::waitForEnd(std::chrono::milliseconds time, int& status) {
    const Clock::time_point end = Clock::now() + time;
    for (;;) {
        const pid_t ended = waitpid(m_process, &status, WNOHANG);
        if (ended == m_process || (ended == -1 && errno != EINTR)) {
            m_process = -1;
            return ended != -1;
        }
        if (Clock::now() >= end) {
            return false;
        }
        // The end of what it prints is mostly its own; the rest is asked for each few milliseconds.
        pollfd watched = {m_output, POLLIN, 0};
        poll(&watched, 1, 2);
        if (watched.revents != 0) {
            readPrinted();
        }
    }
}

void LibraryProcess::stop(std::chrono::milliseconds time) {
    closeDescriptor(m_connection);
    int status = 0;
    if (m_process != -1) {
        waitForEnd(time, status);
    }
    if (m_process != -1) {
        kill(m_process, SIGKILL);
        waitForEnd(kKilled, status);
    }
    m_process = -1;
    closeDescriptor(m_output);
    current = nullptr;
}

void LibraryProcess::giveUp(Problem problem) {
    if (m_process != -1) {
        kill(m_process, SIGKILL);
        int status = 0;
        waitForEnd(kKilled, status);
        m_process = -1;
    }
    m_failure = std::move(problem);
    throw ProblemError(*m_failure);
}

Problem LibraryProcess::describeEnd(LibraryFunction function) {
    int status = 0;
    std::string how = "in a way that is not known";
    if (waitForEnd(kKilled, status)) {
        readPrinted();
        how = WIFSIGNALED(status) ? signalName(WTERMSIG(status))
                                  : format("exit code {}", WEXITSTATUS(status));
    }
    const std::string said = printed();
    return {ProblemKind::LibraryCrashed,
            format("the library ended its process ({}) in {}{}; run 'veskctl doctor', which checks "
                   "the files that the library reads",
                   how, nameOf(function), said.empty() ? "" : format(", saying '{}'", said)),
            function == LibraryFunction::Load ? "" : nameOf(function)};
}

}  // namespace veskctl
