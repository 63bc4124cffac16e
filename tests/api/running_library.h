// A simulated host and the means to run the library on it from start to stop.
#pragma once

#include "VeskNvme.h"
#include "private_host.h"
#include "sim/host/host_folder.h"
#include "sim/host/simulated_host.h"
#include "sim/redirect/redirect.h"
#include "sleep_gate.h"

namespace vesktest {

class RunningLibrary {
public:
    explicit RunningLibrary(const vesksim::Scenario& scenario = {}) {
        vesksim::writeHostFiles(vesksim::hostRoot(), scenario);
        driver().load(scenario);
    }

    static vesksim::SimulatedHost& driver() { return vesksim::SimulatedHost::instance(); }
    const PrivateHost& files() const { return m_host; }
    SleepGate& gate() { return m_gate; }

    // For libraries with a polling thread: it must end before the host goes.
    void stop() {
        m_gate.releaseAll();
        ZNV_Library_Finalize();
    }

private:
    PrivateHost m_host;
    SleepGate m_gate;
};

// Identify commands that reached an adapter, one for each adapter that a discovery looked at.
inline std::size_t identifyCount() {
    std::size_t count = 0;
    for (const vesksim::ReceivedCommand& command : RunningLibrary::driver().commands()) {
        count += command.opcode == 6 ? 1 : 0;
    }
    return count;
}

}  // namespace vesktest
