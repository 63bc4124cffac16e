// The one background thread of the library: it asks the dispatcher every polling interval to
// collect the controller's events. An upward call, on purpose: a poll is a command like any other.
#pragma once

#include "VeskNvme.h"

#include <future>
#include <thread>

// One instance starts once and stops once. Started and stopped by set-up and tear-down only, so
// nothing here is locked; the stop signal goes through promise and future.
class CVeskNVMeMonitor {
public:
    CVeskNVMeMonitor();
    CVeskNVMeMonitor(const CVeskNVMeMonitor& other);             // an unstarted monitor
    CVeskNVMeMonitor& operator=(const CVeskNVMeMonitor& other);  // changes nothing
    ~CVeskNVMeMonitor();

    static CVeskNVMeMonitor* getUniqueInstance();  // null if it could not be created
    static VOID_ destroyMe();

    // Starts the thread. On a monitor that was started before, this ends the process; on one whose
    // stop threw because there was no thread, the new one polls nothing.
    VOID_ startMonitoring();

    // Signals the thread and waits for it, up to a whole polling interval. Throws std::system_error
    // if the thread was never started, std::future_error at a second call.
    VOID_ stopMonitoring();

    // The thread's body: polls at once, then each interval, until `stop` is ready.
    VOID_ polling(std::future<void> stop);

    static CVeskNVMeMonitor* m_pNVMeMonitorInstance;

private:
    std::thread m_pollingThread;
    std::promise<void> m_stopPromise;
    std::future<void> m_stopFuture;  // moved out by the thread when it starts
};
