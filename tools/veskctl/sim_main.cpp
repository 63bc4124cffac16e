// veskctl-sim: veskctl on the simulated host instead of a real one.
#include "sim/host_folder.h"
#include "sim/redirect/redirect.h"
#include "sim/scenario.h"
#include "sim/simulated_host.h"
#include "veskctl/cli.h"
#include "veskctl/leave_process.h"
#include "veskctl/option_checks.h"
#include "veskctl/sim_folder.h"

#include <exception>
#include <optional>
#include <string>

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
        vesksim::SimulatedHost::instance().load(scenario);
    } catch (const std::exception& error) {
        throw veskctl::UsageError(error.what());
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
    const int code = veskctl::runCli(argc, argv, hooks);
    folder.reset();
    veskctl::leaveProcess(code);
}
