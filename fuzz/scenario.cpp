// The reader of scenarios: a text is refused with a reason, or the host that it describes runs.
#include "fuzz_target.h"

#include "sim/host/simulated_host.h"
#include "sim/scenario/scenario.h"

#include <cstring>
#include <string>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    try {
        const vesksim::Scenario scenario = vesksim::parseScenario(text, "input");
        vesksim::checkScenario(scenario, "input");
        vesksim::SimulatedHost::instance().load(scenario);
    } catch (const vesksim::ScenarioError& error) {
        veskfuzz::require(std::strncmp(error.what(), "input", 5) == 0,
                          "a refusal names the source");
    }
    return 0;
}
