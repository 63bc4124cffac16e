#include "veskctl/library_server.h"

#include "veskctl/capture.h"
#include "veskctl/library.h"
#include "veskctl/library_message.h"
#include "veskctl/library_process.h"
#include "veskctl/process.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace veskctl {

namespace {

void putText(LibraryMessage& message, const std::string& text) {
    const std::size_t length = std::min(text.size(), kMessageRoom - 1);
    std::memcpy(message.data.data(), text.data(), length);
    message.data[length] = 0;
}

bool receive(int connection, LibraryMessage& message) {
    ssize_t got = 0;
    do {
        got = recv(connection, &message, sizeof(message), MSG_WAITALL);
    } while (got == -1 && errno == EINTR);
    return got == static_cast<ssize_t>(sizeof(message));
}

bool send(int connection, const LibraryMessage& message) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&message);
    std::size_t sent = 0;
    while (sent < sizeof(message)) {
        const ssize_t now = ::send(connection, bytes + sent, sizeof(message) - sent, MSG_NOSIGNAL);
        if (now == -1 && errno != EINTR) {
            return false;
        }
        sent += now > 0 ? static_cast<std::size_t>(now) : 0;
    }
    return true;
}

// What is thrown becomes the answer.
template <class Work>
void answer(LibraryMessage& message, Work work) {
    message.kind = AnswerKind::Threw;
    try {
        work();
        message.kind = AnswerKind::Returned;
    } catch (const ProblemError& error) {
        message.kind = AnswerKind::Problem;
        message.problemKind = static_cast<std::uint32_t>(error.problem().kind);
        putText(message, error.what());
    } catch (const std::exception& error) {
        putText(message, error.what());
    } catch (...) {
        putText(message, "for a reason that the library did not state");
    }
}

void callFunction(const LibraryFunctions& functions, LibraryMessage& message) {
    std::uint8_t* const data = message.data.data();
    auto* const request = reinterpret_cast<PInfo_Request>(data);
    const UCHAR_ adapter = message.adapterId;
    const auto function = [&]() -> UCHAR_ {
        switch (message.function) {
        case LibraryFunction::Load:
        case LibraryFunction::LogReads:
            break;
        case LibraryFunction::Initialize:
            return functions.initialize();
        case LibraryFunction::AdapterGetCount:
            return functions.adapterGetCount();
        case LibraryFunction::AdapterGetInfo:
            return functions.adapterGetInfo(adapter, &message.count,
                                            reinterpret_cast<CController*>(data));
        case LibraryFunction::DiskInfo:
            return functions.diskInfo(adapter, request);
        case LibraryFunction::DiskConfig:
            return functions.diskConfig(adapter, request);
        case LibraryFunction::DiskRaidStatus:
            return functions.diskRaidStatus(adapter, request);
        case LibraryFunction::DiskFreeSpace:
            return functions.diskFreeSpace(adapter, request);
        case LibraryFunction::DiskHealth:
            return functions.diskHealth(adapter, message.id, 0,
                                        reinterpret_cast<PSMART_INFO_ARRAY>(data));
        case LibraryFunction::DiskLocate:
            return functions.diskLocate(adapter, reinterpret_cast<PPD_OEM_Data>(data));
        case LibraryFunction::VolumeInfo:
            return functions.volumeInfo(adapter, request);
        case LibraryFunction::VolumeConfig:
            return functions.volumeConfig(adapter, request);
        case LibraryFunction::GetEvents:
            return functions.getEvents(adapter, 0, &message.count, reinterpret_cast<CEvent*>(data));
        }
        return ERR_NONE;
    };
    message.result = function();
}

void putLogReads(const ChildHooks& hooks, LibraryMessage& message) {
    const LogReads reads = hooks.logReads ? hooks.logReads() : LogReads();
    std::memcpy(message.data.data(), &reads, sizeof(reads));
}

// Signals of the terminal are for the program, which ends this process by closing its end.
void detach(int output) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(signal, SIG_IGN);
    }
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (nothing != -1) {
        dup2(nothing, STDIN_FILENO);
    }
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
}

}  // namespace

void serveLibrary(int connection, int output, const LibrarySetup& setup) {
    detach(output);
    LibraryMessage message;
    std::optional<Library> library;
    answer(message, [&] {
        if (setup.hooks.enter) {
            setup.hooks.enter();
        }
        library.emplace(setup.libraryName);
        putText(message, library->path() + '\n' + library->platformPath());
        message.simulated = library->simulated() ? 1 : 0;
    });
    while (send(connection, message) && receive(connection, message)) {
        answer(message, [&] {
            if (message.function == LibraryFunction::LogReads) {
                putLogReads(setup.hooks, message);
            } else if (library) {
                callFunction(library->functions(), message);
            }
        });
    }
    endCapture();
    if (setup.hooks.leave) {
        try {
            setup.hooks.leave();
        } catch (const std::exception&) {
            // Nobody is left to tell.
            leaveProcess(1);
        }
    }
    leaveProcess(0);
}

}  // namespace veskctl
