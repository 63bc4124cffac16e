// The file in which the simulated host keeps its state: it is refused with a reason, or what it
// says is kept.
#include "fuzz_target.h"
#include "private_host.h"

#include "sim/host/host_state.h"
#include "sim/host/simulated_host.h"
#include "sim/scenario/scenario.h"

#include <cstring>
#include <string>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const vesktest::PrivateHost host;
    static const vesksim::Scenario scenario;
    vesksim::SimulatedHost::instance().load(scenario);
    host.write("/controller_state.json", std::string(reinterpret_cast<const char*>(data), size));
    const std::string root = host.path("/");
    try {
        vesksim::loadState(root);
    } catch (const vesksim::StateError& error) {
        veskfuzz::require(std::strstr(error.what(), "controller_state.json") != nullptr,
                          "a refusal names the file");
        return 0;
    }
    vesksim::saveState(root);
    vesksim::loadState(root);
    return 0;
}
