#include "veskctl/standard_streams.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace veskctl {

namespace {

extern "C" void ignoreSignal(int) {}

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

}  // namespace veskctl
