// The monitor as an object: instance, start and stop.
#include "memory_faults.h"
#include "running_monitor.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <fstream>
#include <future>
#include <string>
#include <system_error>
#include <thread>
#include <type_traits>
#include <unistd.h>

namespace {

using vesktest::AllocationSize;
using vesktest::FailNew;
using vesktest::LogLines;
using vesktest::PrivateHost;
using vesktest::RunningMonitor;
using vesktest::SleepGate;
using vesktest::TracedHost;

// Whether the kernel has the thread of this process wait.
bool isBlocked(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string line;
    std::getline(file, line);
    const std::size_t nameEnd = line.rfind(") ");
    return nameEnd != std::string::npos && line[nameEnd + 2] == 'S';
}

TEST(EventMonitor, IsOneForTheProcessUntilItIsDestroyed) {
    const PrivateHost host;
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
    CVeskNVMeMonitor* const monitor = CVeskNVMeMonitor::getUniqueInstance();
    ASSERT_NE(monitor, nullptr);
    EXPECT_EQ(CVeskNVMeMonitor::getUniqueInstance(), monitor);
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, monitor);
    CVeskNVMeMonitor::destroyMe();
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
    CVeskNVMeMonitor::destroyMe();
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
}

TEST(EventMonitor, IsThreadPromiseAndFutureAndNothingElse) {
    EXPECT_EQ(sizeof(CVeskNVMeMonitor),
              sizeof(std::thread) + sizeof(std::promise<void>) + sizeof(std::future<void>));
    EXPECT_FALSE(std::is_polymorphic_v<CVeskNVMeMonitor>);
}

TEST(EventMonitor, FailedCreationIsLoggedAndYieldsNull) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    TracedHost host;
    {
        const FailNew fault(AllocationSize::exactly(sizeof(CVeskNVMeMonitor)));
        EXPECT_EQ(CVeskNVMeMonitor::getUniqueInstance(), nullptr);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
    EXPECT_EQ(host.messages(), LogLines{"libVeskNVMe:CVeskNVMeMonitor::getUniqueInstance(): "
                                        "Failed to allocate Memory. std::bad_alloc"});
}

TEST(EventMonitor, StopEndsTheThread) {
    TracedHost host;
    SleepGate gate;
    { const RunningMonitor running(gate); }
    EXPECT_TRUE(vesktest::inOrder(
        host.lines(),
        {"CVeskNVMeMonitor::polling()libVeskNVMe:CVeskNVMeMonitor::polling() EXIT ",
         "CVeskNVMeMonitor::stopMonitoring() EXIT ", "CVeskNVMeMonitor::destroyMe() EXIT "}));
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
}

TEST(EventMonitor, NewInstanceStartsAgain) {
    const PrivateHost host;
    for (int i = 0; i < 3; ++i) {
        SleepGate gate;
        const RunningMonitor running(gate);
        EXPECT_TRUE(gate.waitForSleeper(1));
    }
}

TEST(EventMonitor, StopWaitsForTheSleep) {
    const PrivateHost host;
    SleepGate gate;
    CVeskNVMeMonitor* const monitor = CVeskNVMeMonitor::getUniqueInstance();
    monitor->startMonitoring();
    ASSERT_TRUE(gate.waitForSleeper(1));

    std::atomic<pid_t> stopper{0};
    std::atomic<bool> sleepMayEnd{false};
    std::atomic<bool> stopped{false};
    std::atomic<bool> stoppedInTime{false};
    std::thread thread([&] {
        stopper = gettid();
        monitor->stopMonitoring();
        stoppedInTime = sleepMayEnd.load();
        stopped = true;
    });
    while (stopper == 0 || (!stopped && !isBlocked(stopper))) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(stopped);
    sleepMayEnd = true;
    gate.releaseAll();
    thread.join();
    EXPECT_TRUE(stoppedInTime);
    CVeskNVMeMonitor::destroyMe();
}

TEST(EventMonitor, SecondStopThrows) {
    const PrivateHost host;
    SleepGate gate;
    CVeskNVMeMonitor* const monitor = CVeskNVMeMonitor::getUniqueInstance();
    monitor->startMonitoring();
    gate.releaseAll();
    monitor->stopMonitoring();
    try {
        monitor->stopMonitoring();
        ADD_FAILURE() << "no exception";
    } catch (const std::future_error& error) {
        EXPECT_EQ(error.code(), std::future_errc::promise_already_satisfied);
    }
    CVeskNVMeMonitor::destroyMe();
}

TEST(EventMonitor, StopWithoutAStartThrows) {
    const PrivateHost host;
    CVeskNVMeMonitor* const monitor = CVeskNVMeMonitor::getUniqueInstance();
    EXPECT_THROW(monitor->stopMonitoring(), std::system_error);
    // By then the promise is set.
    EXPECT_THROW(monitor->stopMonitoring(), std::future_error);
    CVeskNVMeMonitor::destroyMe();
}

TEST(EventMonitorDeathTest, DestructionWhileItPollsEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const PrivateHost host;
    EXPECT_EXIT(
        {
            SleepGate gate;
            CVeskNVMeMonitor::getUniqueInstance()->startMonitoring();
            gate.waitForSleeper(1);
            CVeskNVMeMonitor::destroyMe();
        },
        ::testing::KilledBySignal(SIGABRT), "");
}

TEST(EventMonitor, SecondStartEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const PrivateHost host;
    EXPECT_DEATH(
        {
            SleepGate gate;
            CVeskNVMeMonitor::getUniqueInstance()->startMonitoring();
            gate.waitForSleeper(1);
            CVeskNVMeMonitor::getUniqueInstance()->startMonitoring();
        },
        "terminate called");
}

TEST(EventMonitor, CopyIsAnUnstartedMonitor) {
    const PrivateHost host;
    SleepGate gate;
    const RunningMonitor running(gate);
    CVeskNVMeMonitor copy(*CVeskNVMeMonitor::getUniqueInstance());
    EXPECT_THROW(copy.stopMonitoring(), std::system_error);
}

TEST(EventMonitor, AssignmentChangesNothing) {
    const PrivateHost host;
    CVeskNVMeMonitor stopped;
    EXPECT_THROW(stopped.stopMonitoring(), std::system_error);
    CVeskNVMeMonitor fresh;
    EXPECT_EQ(&(stopped = fresh), &stopped);
    EXPECT_THROW(stopped.stopMonitoring(), std::future_error);
    EXPECT_THROW(fresh.stopMonitoring(), std::system_error);
}

TEST(EventMonitor, StartAndStopAreTraced) {
    TracedHost host;
    SleepGate gate;
    { const RunningMonitor running(gate); }
    EXPECT_TRUE(host.traced("CVeskNVMeMonitor::startMonitoring()"));
    EXPECT_TRUE(host.traced("CVeskNVMeMonitor::stopMonitoring()"));
    EXPECT_TRUE(host.traced("CVeskNVMeMonitor::destroyMe()"));
}

}  // namespace
