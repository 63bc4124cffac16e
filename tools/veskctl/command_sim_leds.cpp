#include "veskctl/command_sim_leds.h"

#include "sim/host/simulated_host.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <vector>

namespace veskctl {

namespace {

// What somebody sees who stands before the simulated machine. The library has no part in it.
void runSimLeds(const CommandContext&, Report& report) {
    report.fields["adapters"] = nlohmann::ordered_json::array();
    const vesksim::SimulatedHost& host = vesksim::SimulatedHost::instance();
    for (const vesksim::Adapter& adapter : host.scenario().adapters) {
        const std::vector<unsigned> blinking = host.locatingDisks(adapter.name);
        report.fields["adapters"].push_back({{"name", adapter.name}, {"locating", blinking}});
        report.table.addSection(fmt::format("Adapter {}", adapter.name));
        report.table.addLine(
            "Blinking",
            blinking.empty() ? "none" : fmt::format("disk {}", fmt::join(blinking, ", disk ")));
    }
}

}  // namespace

CommandRunner declareSimLeds(CLI::App&) {
    return runSimLeds;
}

}  // namespace veskctl
