#include "sim_host.h"

#include "VeskNvme.h"
#include "sim/host/host_folder.h"

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

}  // namespace vesktest
