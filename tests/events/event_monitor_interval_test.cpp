// How long the polling thread sleeps between two polls, and what it polls.
#include "running_monitor.h"
#include "traced_host.h"

#include "support/ini_files.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using vesktest::RunningMonitor;
using vesktest::SleepGate;
using vesktest::TracedHost;

const char* const kPoll = "CommandHandler::navigator() ENTRY ";

class EventMonitor : public ::testing::Test {
protected:
    void writeInterval(const std::string& text) {
        host.files().writeConfigIni("[Polling]\npollingIntervalInSeconds=" + text + "\n");
        VeskNVMeLibrary_Helper::getLinuxINIPath();
    }

    // What the thread asks of its first sleep.
    unsigned firstSleep() {
        SleepGate gate;
        host.forgetLines();
        const RunningMonitor running(gate);
        return gate.waitForSleeper(1) ? gate.secondsAsked()[0] : 0;
    }

    TracedHost host;
};

TEST_F(EventMonitor, IntervalRules) {
    struct Rule {
        const char* text;
        unsigned seconds;
    };
    const std::vector<Rule> rules = {
        {"0", 50},          {"1", 50},      {"49", 50},          {"50", 50},
        {"51", 51},         {"3600", 3600}, {"65535", 65535},    {"65536", 50},
        {"65585", 50},      {"65587", 51},  {"-1", 65535},       {"2147483647", 65535},
        {"text", 50},       {"", 50},       {"99999999999", 50}, {" 77", 77},
        {"88 seconds", 88}, {"77\r", 77},   {"0x60", 50},        {"+90", 90}};
    for (const Rule& rule : rules) {
        SCOPED_TRACE(rule.text);
        writeInterval(rule.text);
        EXPECT_EQ(firstSleep(), rule.seconds);
    }
}

TEST_F(EventMonitor, WithoutAFileTheIntervalIs50Seconds) {
    VeskNVMeLibrary_Helper::getLinuxINIPath();
    EXPECT_EQ(firstSleep(), 50U);
}

TEST_F(EventMonitor, WithoutAKeyTheIntervalIs50Seconds) {
    host.files().writeConfigIni("[Logging]\npollingIntervalInSeconds=90\n[Polling]\nOther=80\n");
    VeskNVMeLibrary_Helper::getLinuxINIPath();
    EXPECT_EQ(firstSleep(), 50U);
}

TEST_F(EventMonitor, StartAndIntervalAreLogged) {
    writeInterval("51");
    EXPECT_EQ(firstSleep(), 51U);
    EXPECT_TRUE(vesktest::inOrder(
        host.lines(),
        {"CVeskNVMeMonitor::polling()libVeskNVMe:CVeskNVMeMonitor::polling() ENTRY ",
         "polling started",
         "CVeskNVMeMonitor::polling(): Polling interval value read from config file: 51",
         "CVeskNVMeMonitor::polling(): Polling interval value (in integer): 51", kPoll,
         "CVeskNVMeMonitor::polling()libVeskNVMe:CVeskNVMeMonitor::polling() EXIT "}));
}

TEST_F(EventMonitor, IntervalIsLoggedAsItStandsInTheFile) {
    writeInterval("1");
    EXPECT_EQ(firstSleep(), 50U);
    EXPECT_TRUE(vesktest::inOrder(
        host.lines(),
        {"CVeskNVMeMonitor::polling(): Polling interval value read from config file: 1",
         "CVeskNVMeMonitor::polling(): Polling interval value (in integer): 1"}));
}

TEST_F(EventMonitor, BadIntervalIsLogged) {
    writeInterval("text");
    EXPECT_EQ(firstSleep(), 50U);
    EXPECT_TRUE(vesktest::inOrder(
        host.lines(),
        {"CVeskNVMeMonitor::polling(): Polling interval value read from config file: text",
         "CVeskNVMeMonitor::polling(): Error converting polling interval from config file, to "
         "integer: stoi"}));
}

TEST_F(EventMonitor, PollsAtOnceAndThenAfterEachSleep) {
    VeskNVMeLibrary_Helper::getLinuxINIPath();
    SleepGate gate;
    const RunningMonitor running(gate);
    ASSERT_TRUE(gate.waitForSleeper(1));
    EXPECT_EQ(vesktest::count(host.lines(), kPoll), 1U);
    gate.release();
    ASSERT_TRUE(gate.waitForSleeper(2));
    EXPECT_EQ(vesktest::count(host.lines(), kPoll), 2U);
    gate.release();
    ASSERT_TRUE(gate.waitForSleeper(3));
    EXPECT_EQ(vesktest::count(host.lines(), kPoll), 3U);
}

TEST_F(EventMonitor, IntervalIsReadAtTheStartOnly) {
    writeInterval("60");
    {
        SleepGate gate;
        const RunningMonitor running(gate);
        ASSERT_TRUE(gate.waitForSleeper(1));
        writeInterval("70");
        gate.release();
        ASSERT_TRUE(gate.waitForSleeper(2));
        EXPECT_EQ(gate.secondsAsked(), (std::vector<unsigned>{60, 60}));
    }
    EXPECT_EQ(firstSleep(), 70U);
}

}  // namespace
