// veskctl-sim: veskctl on the simulated host instead of a real one.
#include "sim/host/simulated_host.h"
#include "sim/redirect/redirect.h"
#include "sim/scenario/scenario.h"
#include "veskctl/cli.h"
#include "veskctl/format.h"
#include "veskctl/process.h"
#include "veskctl/report.h"
#include "veskctl/sim_folder.h"

#include <cstdlib>
#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace {

using veskctl::format;

struct SimOptions {
    std::string scenario = "healthy";
    std::string state;
};

void addSimOptions(veskctl::Options& target, SimOptions& options) {
    target.addText("--scenario", options.scenario, "FILE|NAME [healthy]",
                   "The simulated host: a file, or a name of ours (default: $VESKSIM_SCENARIO)");
    target.addText("--state", options.state, "DIR",
                   "Keep the host's files in this folder (default: a temporary one)");
}

void startHost(const SimOptions& options, std::optional<vesksim::SimFolder>& folder,
               veskctl::CommandContext& context) {
    try {
        if (!folder) {  // once, for all looks of a command that goes on
            folder.emplace(options.state, vesksim::loadScenario(options.scenario));
        }
    } catch (const std::exception& error) {
        throw veskctl::UsageError(error.what());
    }
    context.hostRoot = folder->path();
    context.child.enter = [&folder] {
        folder->enter();
    };
    context.child.leave = [&folder] {
        folder->leave();
    };
    context.child.redirectFile = vesksim::redirectFile;
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
    const veskctl::Command leds = {
        "leds",
        "Show which locate lights blink",
        [](veskctl::Options&) { return veskctl::CommandRunner(runLeds); },
        {},
        true,
        {{"sim leds --state /tmp/host", "which lights blink there"}}};
    return {"sim", "Look at the simulated host", nullptr, {leds}};
}

}  // namespace

int main(int argc, char** argv) {
    SimOptions options;
    const char* const named = std::getenv("VESKSIM_SCENARIO");
    if (named != nullptr && *named != '\0') {
        options.scenario = named;
    }
    std::optional<vesksim::SimFolder> folder;
    veskctl::CliHooks hooks;
    hooks.programName = "veskctl-sim";
    hooks.simulated = true;
    hooks.addOptions = [&options](veskctl::Options& target) {
        addSimOptions(target, options);
    };
    hooks.prepare = [&options, &folder](veskctl::CommandContext& context) {
        startHost(options, folder, context);
    };
    hooks.commands = {simCommand()};
    int code = veskctl::runCli(argc, argv, hooks);
    if (folder && !folder->everythingKept() && code == 0) {
        code = static_cast<int>(veskctl::ExitCode::Failed);
    }
    folder.reset();
    veskctl::leaveProcess(code);
}
