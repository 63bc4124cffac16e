#include "veskctl/sim_folder.h"

#include "sim/redirect/redirect.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include <unistd.h>

namespace veskctl {

namespace fs = std::filesystem;

namespace {

std::string makeTemporary() {
    std::error_code error;
    std::string pattern = (fs::temp_directory_path(error) / "veskctl-sim-XXXXXX").string();
    if (error || mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error(fmt::format(
            "no temporary folder can be made ({}); check TMPDIR, or name a folder with --state",
            error ? error.message() : std::string(std::strerror(errno))));
    }
    return pattern;
}

std::string makeState(const std::string& state) {
    std::error_code error;
    fs::create_directories(state, error);
    if (error || !fs::is_directory(state, error)) {
        throw std::runtime_error(
            fmt::format("the state folder {} cannot be used: {}", state,
                        error ? error.message() : std::string("it is not a folder")));
    }
    if (access(state.c_str(), R_OK | W_OK | X_OK) != 0) {
        throw std::runtime_error(
            fmt::format("the state folder {} cannot be used: {}", state, std::strerror(errno)));
    }
    return fs::absolute(state).string();
}

}  // namespace

SimFolder::SimFolder(const std::string& state)
    : m_path(state.empty() ? makeTemporary() : makeState(state)), m_temporary(state.empty()) {
    vesksim::setHostRoot(m_path);
}

SimFolder::~SimFolder() {
    // The library's thread may still be running: without a root it finds no file to open, and what
    // it was about to create when that changed is caught by the second and third attempt.
    vesksim::setHostRoot("");
    if (!m_temporary) {
        return;
    }
    std::error_code error;
    for (int attempt = 0; attempt < 3; ++attempt) {
        fs::remove_all(m_path, error);
        if (!error) {
            break;
        }
    }
}

}  // namespace veskctl
