// veskctl-sim: veskctl on the simulated host instead of a real one.
#include "sim/host/host_folder.h"
#include "sim/host/host_state.h"
#include "sim/host/simulated_host.h"
#include "sim/redirect/redirect.h"
#include "sim/scenario/scenario.h"
#include "veskctl/cli.h"
#include "veskctl/command_sim_leds.h"
#include "veskctl/leave_process.h"
#include "veskctl/option_checks.h"
#include "veskctl/sim_folder.h"
#include "veskctl/standard_streams.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <thread>

namespace {

struct SimOptions {
    std::string scenario = "healthy";
    std::string state;
};

void addSimOptions(CLI::App& app, SimOptions& options) {
    app.add_option("--scenario", options.scenario, "The simulated host: a file, or a name of ours")
        ->option_text("FILE|NAME [healthy]")
        ->check(veskctl::refuseEmpty, "");
    app.add_option("--state", options.state,
                   "Keep the host's files in this folder (default: a temporary one)")
        ->option_text("DIR")
        ->check(veskctl::refuseEmpty, "");
}

void startHost(const SimOptions& options, std::optional<veskctl::SimFolder>& folder) {
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
            stderr, fmt::format("veskctl: the state of the simulated host was not kept: {}\n",
                                error.what())));
        return false;
    }
}

}  // namespace

int main(int argc, char** argv) {
    SimOptions options;
    std::optional<veskctl::SimFolder> folder;
    veskctl::CliHooks hooks;
    hooks.programName = "veskctl-sim";
    hooks.addOptions = [&options](CLI::App& app) {
        addSimOptions(app, options);
    };
    hooks.prepare = [&options, &folder] {
        startHost(options, folder);
    };
    hooks.commands = {{"sim",
                       "Look at the simulated host",
                       nullptr,
                       {{"leds", "Show which locate lights blink", veskctl::declareSimLeds}}}};
    int code = veskctl::runCli(argc, argv, hooks);
    if (folder && !options.state.empty() && !keepState(folder->path()) && code == 0) {
        code = static_cast<int>(veskctl::ExitCode::Failed);
    }
    folder.reset();
    veskctl::leaveProcess(code);
}
