// The program as a process: its streams, the signals that stop it, its end.
#pragma once

#include <chrono>
#include <cstdio>
#include <string>

namespace veskctl {

// To be called before any file is opened. A stream that the caller closed is taken by a descriptor
// that fails: else the library's next file would get its number, and our output would land there.
// A reader that goes away must not end the process with a signal, half way through a command.
void prepareStandardStreams();

// False for a stream that the caller closed.
bool standardOutputIsOpen();

// Writes and flushes. 0, or the errno of the failure.
int writeAndFlush(std::FILE* stream, const std::string& text);

// SIGINT, SIGTERM and SIGHUP as an end that can be had between two pieces of work. The second
// signal ends the process at once, with exit code 130. At most one object at a time, in one thread;
// the signals may arrive on any.
class StopSignals {
public:
    // A signal that was ignored stays so. Throws std::system_error.
    StopSignals();
    ~StopSignals();  // puts the former handling back

    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    bool arrived() const;

    // False as soon as a signal has arrived, or as the reader of this descriptor has gone (-1: no
    // descriptor); true when the time has passed.
    bool pause(std::chrono::milliseconds time, int watchedOutput) const;

private:
    int m_wakeUp = -1;  // readable once a signal has arrived
};

// Once a controller was found, the library's collecting thread runs, and it mostly sleeps: a
// tear-down would wait for it, up to a polling interval of 50 seconds or more, and the destructors
// of a normal exit would run under it. A short command therefore leaves with all its output written
// and nothing torn down; the system takes back memory, files and the thread.
[[noreturn]] void leaveProcess(int code);

}  // namespace veskctl
