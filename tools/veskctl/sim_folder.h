// The folder that stands for the simulated host's file system, and what the simulated controllers
// remember in it from one process to the next.
#pragma once

#include "sim/scenario/scenario.h"

#include <memory>
#include <string>

#include <sys/types.h>

namespace vesksim {

// A lock on the folder, among the processes that use it. Goes with the process, however it ends.
class FolderLock {
public:
    explicit FolderLock(const std::string& folder);  // waits; throws std::system_error
    ~FolderLock();

    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

private:
    int m_descriptor = -1;
};

class SimFolder {
public:
    // state: a folder to be kept, made if it does not exist; empty: a private temporary one. Fills
    // it with the scenario's host and starts that, as the folder remembers it. Throws
    // std::runtime_error with the reason if it cannot be used.
    SimFolder(const std::string& state, const Scenario& scenario);
    // A private temporary one, filled with the host's files out of the capture, which answers in
    // the place of a simulated host.
    explicit SimFolder(const std::string& capture);

    // Takes the folder from the host's eyes, and removes it if it is temporary. However the process
    // ends, a temporary folder goes: another process waits for that.
    ~SimFolder();

    SimFolder(const SimFolder&) = delete;
    SimFolder& operator=(const SimFolder&) = delete;

    const std::string& path() const { return m_path; }

    // Around the life of the library, in its process: one process at a time has the controllers,
    // finds what the last one left, and leaves what it did. leave says on the program's standard
    // error what failed.
    void enter();
    void leave();

    bool everythingKept() const;  // asked in the program, about all processes of its library

private:
    std::string makeTemporary();
    void prepare();

    int m_alive = -1;  // closes with the last process that uses the folder
    std::string m_path;
    bool m_temporary;
    bool m_remembers = true;  // there are simulated controllers
    std::unique_ptr<FolderLock> m_lock;
    int m_errors = -1;          // the program's standard error
    bool* m_notKept = nullptr;  // shared by all processes
};

}  // namespace vesksim
