// veskctl-sim: veskctl on the simulated host instead of a real one.
#include "sim/host/host_folder.h"
#include "sim/host/host_state.h"
#include "sim/host/simulated_host.h"
#include "sim/redirect/redirect.h"
#include "sim/scenario/scenario.h"
#include "veskctl/cli.h"
#include "veskctl/format.h"
#include "veskctl/process.h"
#include "veskctl/report.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using veskctl::format;

std::string makeTemporary() {
    std::error_code error;
    std::string pattern = (fs::temp_directory_path(error) / "veskctl-sim-XXXXXX").string();
    if (error || mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error(format(
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
            format("the state folder {} cannot be used: {}", state,
                   error ? error.message() : std::string("it is not a folder")));
    }
    if (access(state.c_str(), R_OK | W_OK | X_OK) != 0) {
        throw std::runtime_error(
            format("the state folder {} cannot be used: {}", state, std::strerror(errno)));
    }
    return fs::absolute(state).string();
}

// The folder that stands for the simulated host's file system.
class HostFolder {
public:
    // state: a folder to be kept, made if it does not exist; empty: a private temporary one. Throws
    // std::runtime_error with the reason if it cannot be used.
    explicit HostFolder(const std::string& state)
        : m_path(state.empty() ? makeTemporary() : makeState(state)), m_temporary(state.empty()) {
        vesksim::setHostRoot(m_path);
    }

    // Takes the folder from the host's eyes, and removes it if it is temporary.
    ~HostFolder() {
        // The library's thread may still be running: without a root it finds no file to open, and
        // what it was about to create when that changed is caught by the second and third attempt.
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

    HostFolder(const HostFolder&) = delete;
    HostFolder& operator=(const HostFolder&) = delete;

    const std::string& path() const { return m_path; }

private:
    std::string m_path;
    bool m_temporary;
};

struct SimOptions {
    std::string scenario = "healthy";
    std::string state;
};

void addSimOptions(veskctl::Options& target, SimOptions& options) {
    target.addText("--scenario", options.scenario, "FILE|NAME [healthy]",
                   "The simulated host: a file, or a name of ours");
    target.addText("--state", options.state, "DIR",
                   "Keep the host's files in this folder (default: a temporary one)");
}

void startHost(const SimOptions& options, std::optional<HostFolder>& folder) {
    try {
        const vesksim::Scenario scenario = vesksim::loadScenario(options.scenario);
        folder.emplace(options.state);
        vesksim::writeHostFiles(folder->path(), scenario);
        vesksim::SimulatedHost& host = vesksim::SimulatedHost::instance();
        host.load(scenario);
        host.setDelayHandler([](unsigned milliseconds) {
            std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        });
        if (!options.state.empty()) {
            vesksim::loadState(folder->path());
        }
    } catch (const std::exception& error) {
        throw veskctl::UsageError(error.what());
    }
}

// False, and said why, if what the controllers remember cannot be kept for the next run.
bool keepState(const std::string& path) {
    try {
        vesksim::saveState(path);
        return true;
    } catch (const std::exception& error) {
        // Where standard error fails as well, the exit code has to do.
        static_cast<void>(veskctl::writeAndFlush(
            stderr,
            format("veskctl: the state of the simulated host was not kept: {}\n", error.what())));
        return false;
    }
}

// What somebody sees who stands before the simulated machine. The library has no part in it.
void runLeds(const veskctl::CommandContext&, veskctl::Report& report) {
    report.fields["adapters"] = veskctl::Json::array();
    const vesksim::SimulatedHost& host = vesksim::SimulatedHost::instance();
    for (const vesksim::Adapter& adapter : host.scenario().adapters) {
        const std::vector<unsigned> blinking = host.locatingDisks(adapter.name);
        report.fields["adapters"].push_back({{"name", adapter.name}, {"locating", blinking}});
        std::string disks;
        for (const unsigned disk : blinking) {
            disks += format("{}disk {}", disks.empty() ? "" : ", ", disk);
        }
        report.blocks.addSection(format("Adapter {}", adapter.name));
        report.blocks.addLine("Blinking", disks.empty() ? "none" : disks);
    }
}

veskctl::Command simCommand() {
    const veskctl::Command leds = {"leds", "Show which locate lights blink", [](veskctl::Options&) {
                                       return veskctl::CommandRunner(runLeds);
                                   }};
    return {"sim", "Look at the simulated host", nullptr, {leds}};
}

}  // namespace

int main(int argc, char** argv) {
    SimOptions options;
    std::optional<HostFolder> folder;
    veskctl::CliHooks hooks;
    hooks.programName = "veskctl-sim";
    hooks.addOptions = [&options](veskctl::Options& target) {
        addSimOptions(target, options);
    };
    hooks.prepare = [&options, &folder](veskctl::CommandContext& context) {
        context.simulated = true;
        startHost(options, folder);
        context.hostRoot = folder->path();
    };
    hooks.commands = {simCommand()};
    int code = veskctl::runCli(argc, argv, hooks);
    if (folder && !options.state.empty() && !keepState(folder->path()) && code == 0) {
        code = static_cast<int>(veskctl::ExitCode::Failed);
    }
    folder.reset();
    veskctl::leaveProcess(code);
}
