#include "sim_host.h"

#include "VeskNvme.h"
#include "sim/host/host_folder.h"

#include <algorithm>

namespace vesktest {

SimHost::SimHost(const vesksim::Scenario& scenario) {
    vesksim::writeHostFiles(m_files.path("/"), scenario);
    driver().load(scenario);
}

SimHost::SimHost(const std::string& scenarioName) : SimHost(vesksim::loadScenario(scenarioName)) {}

SimHost::~SimHost() {
    stop();
}

int SimHost::start() {
    ZT_API_Initialize();
    const int count = ZT_Adapter_GetCount();
    m_running = count != 0;
    return count;
}

void SimHost::stop() {
    if (m_running) {
        m_gate.releaseAll();
        ZNV_Library_Finalize();
        m_running = false;
    }
}

std::size_t SimHost::commandCount(std::uint8_t opcode) {
    const auto commands = driver().commands();
    return static_cast<std::size_t>(std::count_if(
        commands.begin(), commands.end(),
        [opcode](const vesksim::ReceivedCommand& command) { return command.opcode == opcode; }));
}

}  // namespace vesktest
