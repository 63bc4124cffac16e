// veskctl-sim: veskctl on the simulated host instead of a real one.
#include "sim/host/simulated_host.h"
#include "sim/redirect/redirect.h"
#include "sim/replay/replay.h"
#include "sim/scenario/scenario.h"
#include "veskctl/cli.h"
#include "veskctl/format.h"
#include "veskctl/log_reads.h"
#include "veskctl/process.h"
#include "veskctl/program_version.h"
#include "veskctl/report.h"
#include "veskctl/sim_folder.h"

#include <cstdlib>
#include <exception>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace {

using veskctl::format;

struct SimOptions {
    std::string scenario = "healthy";
    std::string state;
    std::string replay;
};

void addSimOptions(veskctl::Options& target, SimOptions& options) {
    target.addText("--scenario", options.scenario, "FILE|NAME [healthy]",
                   "The simulated host: a file, or a name of ours (default: $VESKSIM_SCENARIO)");
    target.addText("--state", options.state, "DIR",
                   "Keep the host's files in this folder (default: a temporary one)");
    target.addText("--replay", options.replay, "FILE",
                   "Instead of a simulated host: answer as in this capture");
    target.notWith("--replay", "--scenario");
    target.notWith("--replay", "--state");
}

void startHost(const SimOptions& options, std::optional<vesksim::SimFolder>& folder,
               veskctl::CommandContext& context) {
    try {
        // Once, for all looks of a command that goes on.
        if (!folder && !options.replay.empty()) {
            folder.emplace(options.replay);
        } else if (!folder) {
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
    context.child.logReads = veskctl::logReads;
}

const std::set<std::string> kCommandsOfEvents = {"events", "status",  "check", "doctor",
                                                 "dump",   "metrics", "diff",  "report"};

// An answer that the capture does not hold would look like a device that fails: nothing is shown
// then. The library looks at the log in the background, which no other command waits for.
void finishReplay(const std::string& file, const std::string& command, veskctl::Report& report) {
    const vesksim::Replay* const replay = vesksim::Replay::active();
    if (replay == nullptr) {
        return;
    }
    const std::string damage =
        replay->damage().empty()
            ? std::string()
            : format("the capture {} is damaged: {}; what stands before it is played back", file,
                     replay->damage());
    // Only a command that says something of the events waits for that look; one that failed does
    // not.
    const bool ofEvents = kCommandsOfEvents.count(command) != 0 && report.problems.empty();
    const std::vector<std::string> refusals = replay->refusals(ofEvents);
    if (refusals.empty()) {
        if (!damage.empty()) {
            report.notes.push_back(damage);
        }
        return;
    }
    report = veskctl::Report();
    if (!damage.empty()) {
        report.problems.push_back({veskctl::ProblemKind::CaptureDamaged, damage});
    }
    for (const std::string& refusal : refusals) {
        report.problems.push_back(
            {veskctl::ProblemKind::NotInCapture,
             format("the capture {} does not hold the answer to {}; {}", file, refusal,
                    damage.empty() ? "take one of this command" : "take it anew")});
    }
}

// What somebody sees who stands before the simulated machine. The library has no part in it.
void runLeds(const veskctl::CommandContext&, veskctl::Report& report) {
    if (vesksim::Replay::active() != nullptr) {
        throw veskctl::UsageError("a capture does not tell which lights blink: leave out --replay");
    }
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

// A program of the user's runs on the simulated host behind a library that is preloaded.
std::vector<veskctl::EnvironmentVariable> environment() {
    return {{"VESKSIM_SCENARIO", "The simulated host, where --scenario does not name one"},
            {"VESKSIM_FOLDER",
             format("For a program of your own that loads libVeskNvme.so: started with "
                    "LD_PRELOAD={}/libvesk-simhost.so, it runs on the simulated host of "
                    "VESKSIM_SCENARIO. The host's files lie in this folder, which has to be named",
                    veskctl::kSimulationFolder)},
            {"VESKSIM_SECOND_MS",
             "For such a program: how many milliseconds each second takes that it sleeps, so that "
             "nobody waits for a polling interval"}};
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
    hooks.finish = [&options](const std::string& command, veskctl::Report& report) {
        finishReplay(options.replay, command, report);
    };
    hooks.commands = {simCommand()};
    hooks.environment = environment();
    int code = veskctl::runCli(argc, argv, hooks);
    if (folder && !folder->everythingKept() && code == 0) {
        code = static_cast<int>(veskctl::ExitCode::Failed);
    }
    folder.reset();
    veskctl::leaveProcess(code);
}
