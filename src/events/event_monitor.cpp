#include "events/event_monitor.h"

#include "api/command_handler.h"
#include "events/event_builder.h"
#include "support/ini_files.h"
#include "support/log_line.h"
#include "support/singleton.h"
#include "support/trace.h"

#include <chrono>
#include <new>
#include <unistd.h>
#include <utility>

namespace {

constexpr USHORT_INT kShortestInterval = 50;  // seconds

USHORT_INT pollingInterval() {
    // ODDITY: cut to 16 bits before the lower limit is applied, so 65536 polls each 50 seconds and
    // -1 each 65535. Pinned by EventMonitor.IntervalRules.
    const auto seconds =
        static_cast<USHORT_INT>(VeskNVMeLibrary_Helper::readPollingIntervalFromINIFile());
    return seconds < kShortestInterval ? kShortestInterval : seconds;
}

}  // namespace

CVeskNVMeMonitor* CVeskNVMeMonitor::m_pNVMeMonitorInstance = nullptr;

CVeskNVMeMonitor::CVeskNVMeMonitor() : m_stopFuture(m_stopPromise.get_future()) {
    LOG_ENTRY;
    LOG_EXIT;
}

CVeskNVMeMonitor::CVeskNVMeMonitor(const CVeskNVMeMonitor& /*other*/) {
    LOG_ENTRY;
    LOG_EXIT;
}

CVeskNVMeMonitor& CVeskNVMeMonitor::operator=(const CVeskNVMeMonitor& /*other*/) {
    LOG_ENTRY;
    LOG_EXIT;
    return *this;
}

CVeskNVMeMonitor::~CVeskNVMeMonitor() = default;

CVeskNVMeMonitor* CVeskNVMeMonitor::getUniqueInstance() {
    LOG_ENTRY;
    CVeskNVMeMonitor* const monitor = stg::createOnce<std::bad_alloc>(
        m_pNVMeMonitorInstance, "libVeskNVMe:CVeskNVMeMonitor::getUniqueInstance(): ");
    LOG_EXIT;
    return monitor;
}

VOID_ CVeskNVMeMonitor::destroyMe() {
    LOG_ENTRY;
    stg::destroyOnce(m_pNVMeMonitorInstance);
    LOG_EXIT;
}

VOID_ CVeskNVMeMonitor::startMonitoring() {
    LOG_ENTRY;
    CVeskNVMeMonitor* const monitor = getUniqueInstance();
    if (monitor != nullptr) {
        // ODDITY: an instance starts once and stops once. A tear-down without a thread throws and
        // leaves a stop that is given: behind it the new thread ends before its first poll, and
        // nobody is told. Pinned by LibraryStart.PollsNothingBehindATearDownThatThrew.
        // ODDITY: assigned over whatever is there: over a running thread that ends the process, and
        // a second start is meant to. Pinned by EventMonitor.SecondStartEndsTheProcess.
        monitor->m_pollingThread =
            std::thread([monitor] { monitor->polling(std::move(monitor->m_stopFuture)); });
    }
    LOG_EXIT;
}

VOID_ CVeskNVMeMonitor::stopMonitoring() {
    LOG_ENTRY;
    m_stopPromise.set_value();
    m_pollingThread.join();
    // Without the lock: the only other user would be a delivery at this very moment, which
    // tear-down must not overlap.
    CEventBuilder::destroyEventsInEventsMap();
    CEventBuilder::destroyEventsMap();
    LOG_EXIT;
}

VOID_ CVeskNVMeMonitor::polling(std::future<void> stop) {
    LOG_ENTRY_LABEL("libVeskNVMe:CVeskNVMeMonitor::polling()");
    stg::logLine("polling started");
    const USHORT_INT interval = pollingInterval();
    while (stop.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
        stg::dispatch(VeskNVMe_GetEvent);
        // ODDITY: plain sleep: a stop waits for the end of the interval, and nothing wakes it.
        // Pinned by EventMonitor.StopWaitsForTheSleep.
        sleep(interval);
    }
    LOG_EXIT_LABEL("libVeskNVMe:CVeskNVMeMonitor::polling()");
}
