// The library in a process of its own: what it does to its process (an abort, a hang, a text on
// standard output) does not happen to the program.
#pragma once

#include "veskctl/library.h"
#include "veskctl/library_message.h"
#include "veskctl/log_reads.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include <sys/types.h>

namespace veskctl {

// Run in the process of the library. All may be empty.
struct ChildHooks {
    std::function<void()> enter;  // before the library is loaded
    std::function<void()> leave;  // at the end, however the program ended
    // From now on the library finds the file `to` where it opens `from`.
    std::function<void(const std::string& from, const std::string& to)> redirectFile;
    std::function<LogReads()> logReads;
};

struct LibrarySetup {
    std::string libraryName;
    std::chrono::milliseconds timeout{60'000};  // for one answer
    ChildHooks hooks;
    std::string hostRoot;  // stands before the paths of the host's files
};

// Starts the process and loads the library there. At most one object at a time, but any number one
// after the other: each is a fresh start of the library. To be made while the program has one
// thread.
class LibraryProcess {
public:
    // Throws ProblemError if the library cannot be loaded.
    explicit LibraryProcess(const LibrarySetup& setup);
    ~LibraryProcess();  // waits for the end of the process, some seconds at most

    LibraryProcess(const LibraryProcess&) = delete;
    LibraryProcess& operator=(const LibraryProcess&) = delete;

    // Each call goes to the process. Throws ProblemError if that has ended or does not answer (and
    // then at each later call), std::runtime_error with the text of what the library threw.
    const LibraryFunctions& functions() const { return m_functions; }
    // Of the controller's event log, by then. The same is thrown.
    LogReads logReads();

    const std::string& path() const { return m_path; }  // of the library file
    const std::string& platformPath() const { return m_platformPath; }
    bool simulated() const { return m_simulated; }  // its host is the simulated one
    std::string printed() const;  // the last that the library printed, in one line

    // Sends the message and turns it into the answer. For functions().
    void call(LibraryMessage& message);

private:
    using Clock = std::chrono::steady_clock;

    void start(const LibrarySetup& setup);
    void receive(LibraryMessage& message, LibraryFunction function);
    void readPrinted();
    bool waitForEnd(std::chrono::milliseconds time, int& status);
    void stop(std::chrono::milliseconds time);
    [[noreturn]] void giveUp(Problem problem);
    Problem describeEnd(LibraryFunction function);

    std::chrono::milliseconds m_timeout;
    pid_t m_process = -1;
    int m_connection = -1;
    int m_output = -1;
    std::string m_path;
    std::string m_platformPath;
    std::string m_printed;
    bool m_simulated = false;
    std::optional<Problem> m_failure;
    LibraryFunctions m_functions;
};

}  // namespace veskctl
