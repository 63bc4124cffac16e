// A simulated host for one test: private files, a loaded scenario, a gate at sleep().
#pragma once

#include "log_file.h"
#include "private_host.h"
#include "sim/host/simulated_host.h"
#include "sim/scenario/scenario.h"
#include "sleep_gate.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace vesktest {

class SimHost {
public:
    explicit SimHost(const vesksim::Scenario& scenario = vesksim::Scenario());
    explicit SimHost(const std::string& scenarioName);
    ~SimHost();  // stops the library if start() found a controller
    SimHost(const SimHost&) = delete;
    SimHost& operator=(const SimHost&) = delete;

    // ZT_API_Initialize and the controller count. A test that starts the library by other means
    // also sees to its end, behind gate().releaseAll().
    int start();
    // Tear-down; the polling thread's sleep is let go.
    void stop();

    vesksim::SimulatedHost& driver() { return vesksim::SimulatedHost::instance(); }
    PrivateHost& files() { return m_files; }
    SleepGate& gate() { return m_gate; }
    LogLines logLines() const { return LogFile(m_files).lines(); }

    // Commands of this opcode that reached an adapter. Identify (6) is sent once for each adapter
    // that a scan looks at.
    std::size_t commandCount(std::uint8_t opcode);

private:
    PrivateHost m_files;
    SleepGate m_gate;
    bool m_running = false;
};

}  // namespace vesktest
