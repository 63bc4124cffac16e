// A simulated host for one test: private files, a loaded scenario, a gate at sleep().
#pragma once

#include "private_host.h"
#include "sim/host/simulated_host.h"
#include "sim/scenario/scenario.h"
#include "sleep_gate.h"

#include <string>

namespace vesktest {

class SimHost {
public:
    explicit SimHost(const vesksim::Scenario& scenario = vesksim::Scenario());
    explicit SimHost(const std::string& scenarioName);
    ~SimHost();  // stops the library if start() found a controller

    // ZT_API_Initialize and the controller count.
    int start();
    // Tear-down; the polling thread's sleep is let go.
    void stop();

    vesksim::SimulatedHost& driver() { return vesksim::SimulatedHost::instance(); }
    PrivateHost& files() { return m_files; }
    SleepGate& gate() { return m_gate; }

private:
    PrivateHost m_files;
    SleepGate m_gate;
    bool m_running = false;
};

}  // namespace vesktest
