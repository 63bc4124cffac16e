// The monitor of the process between a start and a stop, with its sleeps in the test's hand.
#pragma once

#include "sleep_gate.h"

#include "events/event_monitor.h"

namespace vesktest {

class RunningMonitor {
public:
    explicit RunningMonitor(SleepGate& gate) : m_gate(gate) {
        CVeskNVMeMonitor::getUniqueInstance()->startMonitoring();
    }
    // Lets all sleeps end first, as stopping waits for the one that is on.
    ~RunningMonitor() {
        m_gate.releaseAll();
        CVeskNVMeMonitor::getUniqueInstance()->stopMonitoring();
        CVeskNVMeMonitor::destroyMe();
    }
    RunningMonitor(const RunningMonitor&) = delete;
    RunningMonitor& operator=(const RunningMonitor&) = delete;

private:
    SleepGate& m_gate;
};

}  // namespace vesktest
