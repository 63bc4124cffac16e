// The monitor: how it starts and stops, how long it sleeps between two polls.
#include "memory_faults.h"
#include "sleep_gate.h"
#include "traced_host.h"

#include "events/event_monitor.h"
#include "support/ini_files.h"

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
#include <utility>
#include <vector>

namespace {

using vesktest::count;
using vesktest::inOrder;
using vesktest::LogLines;
using vesktest::PrivateHost;
using vesktest::SleepGate;
using vesktest::TracedHost;

// The monitor of the process between a start and a stop, with its sleeps in the test's hand.
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

// With the configuration that the monitor reads at its start.
void configure(const PrivateHost& files, const std::string& text) {
    files.writeConfigIni(text);
    VeskNVMeLibrary_Helper::getLinuxINIPath();
}

std::string interval(const std::string& value) {
    return "[Polling]\npollingIntervalInSeconds=" + value + "\n";
}

// What the thread asks of its first sleep.
unsigned firstSleep() {
    SleepGate gate;
    const RunningMonitor running(gate);
    return gate.waitForSleeper(1) ? gate.secondsAsked()[0] : 0;
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
        const vesktest::FailNew fault(vesktest::AllocationSize::exactly(sizeof(CVeskNVMeMonitor)));
        EXPECT_EQ(CVeskNVMeMonitor::getUniqueInstance(), nullptr);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
    EXPECT_EQ(host.messages(), LogLines{"libVeskNVMe:CVeskNVMeMonitor::getUniqueInstance(): "
                                        "Failed to allocate Memory. std::bad_alloc"});
}

TEST(EventMonitor, IntervalRules) {
    const std::vector<std::pair<std::string, unsigned>> rules = {
        {"0", 50},          {"1", 50},      {"49", 50},          {"50", 50},
        {"51", 51},         {"3600", 3600}, {"65535", 65535},    {"65536", 50},
        {"65585", 50},      {"65587", 51},  {"-1", 65535},       {"2147483647", 65535},
        {"text", 50},       {"", 50},       {"99999999999", 50}, {" 77", 77},
        {"88 seconds", 88}, {"77\r", 77},   {"0x60", 50},        {"+90", 90}};
    const PrivateHost host;
    VeskNVMeLibrary_Helper::getLinuxINIPath();
    EXPECT_EQ(firstSleep(), 50U) << "without a file";
    configure(host, "[Logging]\npollingIntervalInSeconds=90\n[Polling]\nOther=80\n");
    EXPECT_EQ(firstSleep(), 50U) << "without a key";
    for (const auto& rule : rules) {
        configure(host, interval(rule.first));
        EXPECT_EQ(firstSleep(), rule.second) << rule.first;
    }
}

TEST(EventMonitor, IntervalIsLoggedAsItStandsInTheFile) {
    const struct {
        const char* value;
        const char* line;
    } kRows[] = {
        {"51", "CVeskNVMeMonitor::polling(): Polling interval value (in integer): 51"},
        {"1", "CVeskNVMeMonitor::polling(): Polling interval value (in integer): 1"},
        {"text", "CVeskNVMeMonitor::polling(): Error converting polling interval from config file, "
                 "to integer: stoi"},
    };
    TracedHost host;
    for (const auto& row : kRows) {
        configure(host.files(), interval(row.value));
        host.forgetLines();
        firstSleep();
        EXPECT_TRUE(
            inOrder(host.lines(),
                    {"CVeskNVMeMonitor::polling()libVeskNVMe:CVeskNVMeMonitor::polling() ENTRY ",
                     "polling started",
                     "CVeskNVMeMonitor::polling(): Polling interval value read from config file: " +
                         std::string(row.value),
                     row.line, "CommandHandler::navigator() ENTRY ",
                     "CVeskNVMeMonitor::polling()libVeskNVMe:CVeskNVMeMonitor::polling() EXIT "}));
    }
}

TEST(EventMonitor, PollsAtOnceAndThenAfterEachSleep) {
    TracedHost host;
    SleepGate gate;
    const RunningMonitor running(gate);
    for (std::size_t polls = 1; polls <= 3; ++polls) {
        ASSERT_TRUE(gate.waitForSleeper(polls));
        EXPECT_EQ(count(host.lines(), "CommandHandler::navigator() ENTRY "), polls);
        gate.release();
    }
}

TEST(EventMonitor, IntervalIsReadAtTheStartOnly) {
    const PrivateHost host;
    configure(host, interval("60"));
    {
        SleepGate gate;
        const RunningMonitor running(gate);
        ASSERT_TRUE(gate.waitForSleeper(1));
        configure(host, interval("70"));
        gate.release();
        ASSERT_TRUE(gate.waitForSleeper(2));
        EXPECT_EQ(gate.secondsAsked(), (std::vector<unsigned>{60, 60}));
    }
    EXPECT_EQ(firstSleep(), 70U);
}

TEST(EventMonitor, StartAndStopAreTraced) {
    TracedHost host;
    {
        SleepGate gate;
        const RunningMonitor running(gate);
    }
    for (const char* name :
         {"CVeskNVMeMonitor::startMonitoring()", "CVeskNVMeMonitor::stopMonitoring()",
          "CVeskNVMeMonitor::destroyMe()"}) {
        EXPECT_TRUE(host.traced(name));
    }
    // The thread ends before the stop does.
    EXPECT_TRUE(inOrder(host.lines(),
                        {"CVeskNVMeMonitor::polling()libVeskNVMe:CVeskNVMeMonitor::polling() EXIT ",
                         "CVeskNVMeMonitor::stopMonitoring() EXIT ",
                         "CVeskNVMeMonitor::destroyMe() EXIT "}));
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

// Whether the kernel has the thread of this process wait.
bool isBlocked(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string line;
    std::getline(file, line);
    const std::size_t nameEnd = line.rfind(") ");
    return nameEnd != std::string::npos && line[nameEnd + 2] == 'S';
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

// The thread has no handler: without "=" and a value, the line throws std::out_of_range.
TEST(EventMonitorDeathTest, IntervalLineWithoutAValueEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const PrivateHost host;
    configure(host, "[Polling]\npollingIntervalInSeconds\n");
    EXPECT_DEATH(
        {
            SleepGate gate;
            CVeskNVMeMonitor::getUniqueInstance()->startMonitoring();
            gate.waitForSleeper(1);
        },
        "terminate called");
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

TEST(EventMonitor, StopWithoutAStartThrowsAlsoForCopiesAndBehindAnAssignment) {
    const PrivateHost host;
    SleepGate gate;
    const RunningMonitor running(gate);
    CVeskNVMeMonitor copy(*CVeskNVMeMonitor::getUniqueInstance());
    EXPECT_THROW(copy.stopMonitoring(), std::system_error);
    CVeskNVMeMonitor stopped;
    EXPECT_THROW(stopped.stopMonitoring(), std::system_error);
    CVeskNVMeMonitor fresh;
    EXPECT_EQ(&(stopped = fresh), &stopped);
    EXPECT_THROW(stopped.stopMonitoring(), std::future_error) << "its promise is set";
    EXPECT_THROW(fresh.stopMonitoring(), std::system_error);
}

}  // namespace
