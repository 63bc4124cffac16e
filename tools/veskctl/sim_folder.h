// The folder that stands for the simulated host's file system.
#pragma once

#include <string>

namespace veskctl {

class SimFolder {
public:
    // state: a folder to be kept, made if it does not exist; empty: a private temporary one. Throws
    // std::runtime_error with the reason if it cannot be used.
    explicit SimFolder(const std::string& state);
    // Takes the folder from the host's eyes, and removes it if it is temporary.
    ~SimFolder();

    SimFolder(const SimFolder&) = delete;
    SimFolder& operator=(const SimFolder&) = delete;

    const std::string& path() const { return m_path; }

private:
    std::string m_path;
    bool m_temporary;
};

}  // namespace veskctl
