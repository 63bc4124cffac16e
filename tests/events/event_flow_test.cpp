// Events from the simulated controller to the caller, with the library's own thread between.
#include "log_file.h"
#include "sim_host.h"

#include "VeskNvme.h"
#include "api/command_handler.h"
#include "api/lib_initializer.h"
#include "events/event_builder.h"
#include "events/event_monitor.h"
#include "support/logger.h"

#include <gtest/gtest.h>

#include <cstring>
#include <mutex>
#include <string>
#include <system_error>
#include <vector>

namespace {

using vesktest::contains;
using vesktest::inOrder;
using vesktest::kMappingIniPath;
using vesktest::LogFile;
using vesktest::SimHost;
using Numbers = std::vector<unsigned>;

const char* const kMapping = "[PhysicalDevice]\n1=500\n[EventSequenceNumber]\nSequenceNumber=0\n";

using EventLines = decltype(vesksim::Adapter::events);

EventLines events(unsigned first, unsigned last) {
    EventLines lines;
    for (unsigned number = first; number <= last; ++number) {
        lines.push_back("[SEQ]" + std::to_string(number) + "[EVT_ID]1[MSG]PD_event_INFO");
    }
    return lines;
}

vesksim::Scenario scenarioWith(const EventLines& lines) {
    vesksim::Scenario scenario;
    scenario.adapters[0].events = lines;
    scenario.configIni.text = "[Logging]\nDebug=On\n[Polling]\npollingIntervalInSeconds=60\n";
    scenario.alertMappingIni.text = kMapping;
    return scenario;
}

// What ZT_EVT_GetEvent delivers.
Numbers deliver() {
    alignas(CEvent) unsigned char memory[64 * 64];
    std::memset(memory, 0xA5, sizeof memory);
    UCHAR_ count = 0xA5;
    auto* const records = static_cast<CEvent*>(static_cast<void*>(memory));
    EXPECT_EQ(ZT_EVT_GetEvent(0, 0, &count, records), 0);
    Numbers numbers;
    for (UCHAR_ i = 0; i < count; ++i) {
        numbers.push_back(records[i].getSequenceNo());
        EXPECT_EQ(records[i].getClass(), 2);
        EXPECT_EQ(records[i].getCode(), 500);
    }
    return numbers;
}

TEST(EventFlow, FirstPollComesAtOnceAndItsEventsAreDelivered) {
    SimHost host(scenarioWith(events(1, 3)));
    ASSERT_EQ(host.start(), 1);
    ASSERT_TRUE(host.gate().waitForSleeper(1));
    EXPECT_EQ(deliver(), (Numbers{1, 2, 3}));
    EXPECT_EQ(deliver(), Numbers{});
    EXPECT_EQ(host.files().read(kMappingIniPath),
              "[PhysicalDevice]\n1=500\n[EventSequenceNumber]\nSequenceNumber=3\n");
    EXPECT_TRUE(
        inOrder(LogFile(host.files()).lines(),
                {"libVeskNvme: CommandHandler::navigator(): Calling \"ZT_API_Initialize API\" ...",
                 "libVeskNvme: CommandHandler::navigator(): Initializing OS type....",
                 "libVeskNvme: CommandHandler::navigator(): Controller existance = 1",
                 "libVeskNvme: CommandHandler::navigator(): Event monitoring started...",
                 "libVeskNvme: CommandHandler::navigator(): end of ZT_API_Initialize.",
                 "libVeskNvme: CommandHandler::navigator(): Calling EVT_GETEVENT"}));
    EXPECT_TRUE(inOrder(LogFile(host.files()).lines(),
                        {"polling started",
                         "libVeskNvme: CommandHandler::navigator(): Calling VeskNVMe_GetEvent"}));
}

TEST(EventFlow, LocksAreFreeDuringThePause) {
    SimHost host(scenarioWith(events(1, 3)));
    ASSERT_EQ(host.start(), 1);
    ASSERT_TRUE(host.gate().waitForSleeper(1));
    for (std::mutex* const mutex : {&CEventBuilder::mtx, &stg::CLogger::logMutex}) {
        ASSERT_TRUE(mutex->try_lock());
        mutex->unlock();
    }
}

TEST(EventFlow, MonitorDeliversNothingByItself) {
    SimHost host(scenarioWith(events(1, 3)));
    ASSERT_EQ(host.start(), 1);
    ASSERT_TRUE(host.gate().waitForSleeper(1));
    host.gate().release();
    ASSERT_TRUE(host.gate().waitForSleeper(2));
    EXPECT_EQ(host.files().read(kMappingIniPath), kMapping);
    EXPECT_EQ(deliver(), (Numbers{1, 2, 3}));
}

TEST(EventFlow, LaterEventsComeWithLaterPolls) {
    vesksim::Scenario scenario = scenarioWith(events(1, 2));
    SimHost host(scenario);
    ASSERT_EQ(host.start(), 1);
    ASSERT_TRUE(host.gate().waitForSleeper(1));
    EXPECT_EQ(deliver(), (Numbers{1, 2}));
    scenario.adapters[0].events = events(1, 4);
    host.driver().update(scenario);
    EXPECT_EQ(deliver(), Numbers{}) << "not before the next poll";
    host.gate().release();
    ASSERT_TRUE(host.gate().waitForSleeper(2));
    EXPECT_EQ(deliver(), (Numbers{3, 4}));
    EXPECT_EQ(host.gate().secondsAsked(), (std::vector<unsigned>{60, 60}));
}

TEST(EventFlow, HundredEventsComeInTwoDeliveries) {
    SimHost host(scenarioWith(events(1, 100)));
    ASSERT_EQ(host.start(), 1);
    ASSERT_TRUE(host.gate().waitForSleeper(1));
    const Numbers first = deliver();
    ASSERT_EQ(first.size(), 64U);
    EXPECT_EQ(first.front(), 1U);
    EXPECT_EQ(first.back(), 64U);
    EXPECT_EQ(deliver(), Numbers{});
    host.gate().release();
    ASSERT_TRUE(host.gate().waitForSleeper(2));
    const Numbers second = deliver();
    ASSERT_EQ(second.size(), 36U);
    EXPECT_EQ(second.front(), 65U);
    EXPECT_EQ(second.back(), 100U);
    EXPECT_EQ(host.files().read(kMappingIniPath),
              "[PhysicalDevice]\n1=500\n[EventSequenceNumber]\nSequenceNumber=100");
}

TEST(EventFlow, FailedReadsDoNotStopTheThread) {
    SimHost host(scenarioWith(events(1, 2)));
    vesksim::CommandOverride failure;
    failure.platformCode = 7;
    host.driver().setCommandScript([failure](const vesksim::ReceivedCommand& command) {
        return command.cdw12 == 0x4FE ? failure : vesksim::CommandOverride();
    });
    ASSERT_EQ(host.start(), 1);
    ASSERT_TRUE(host.gate().waitForSleeper(1));
    EXPECT_EQ(deliver(), Numbers{});
    host.driver().setCommandScript(nullptr);
    host.gate().release();
    ASSERT_TRUE(host.gate().waitForSleeper(2));
    EXPECT_EQ(deliver(), (Numbers{1, 2}));
    EXPECT_EQ(host.gate().secondsAsked(), (std::vector<unsigned>{60, 60}))
        << "the pause is no other behind a failure";
}

TEST(EventFlow, StopDropsWhatWasNotDeliveredAndTheNextStartBringsItBack) {
    SimHost host(scenarioWith(events(1, 3)));
    ASSERT_EQ(host.start(), 1);
    ASSERT_TRUE(host.gate().waitForSleeper(1));
    EXPECT_NE(CEventBuilder::events, nullptr);
    host.stop();
    EXPECT_EQ(CEventBuilder::events, nullptr);
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
    EXPECT_EQ(host.files().read(kMappingIniPath), kMapping);
    EXPECT_EQ(deliver(), Numbers{});

    const std::size_t sleeps = host.gate().secondsAsked().size();
    ZNV_Library_Initialize();
    ASSERT_TRUE(host.gate().waitForSleeper(sleeps + 1));
    EXPECT_EQ(deliver(), (Numbers{1, 2, 3}));
    ZNV_Library_Finalize();
}

TEST(EventFlow, MarkSurvivesTheRestart) {
    vesksim::Scenario scenario = scenarioWith(events(1, 3));
    SimHost host(scenario);
    ASSERT_EQ(host.start(), 1);
    ASSERT_TRUE(host.gate().waitForSleeper(1));
    EXPECT_EQ(deliver(), (Numbers{1, 2, 3}));
    host.stop();
    scenario.adapters[0].events = events(1, 5);
    host.driver().update(scenario);
    const std::size_t sleeps = host.gate().secondsAsked().size();
    ZNV_Library_Initialize();
    ASSERT_TRUE(host.gate().waitForSleeper(sleeps + 1));
    EXPECT_EQ(deliver(), (Numbers{4, 5}));
    ZNV_Library_Finalize();
}

TEST(EventFlow, RecordsCutByPageEndsArriveOrAreLostAsTheirTailsSay) {
    // Lines of 40 bytes with their feed fill 4056 bytes to 16 of the 102nd.
    EventLines lines;
    for (unsigned number = 1001; number <= 1102; ++number) {
        std::string line = "[SEQ]" + std::to_string(number) + "[EVT_ID]1[MSG]PD_events_INFO";
        line.resize(39, ' ');
        lines.push_back(line);
    }
    vesksim::Scenario scenario = scenarioWith(lines);
    scenario.adapters[0].cutEventLines = true;
    SimHost host(scenario);
    ASSERT_EQ(host.start(), 1);
    ASSERT_TRUE(host.gate().waitForSleeper(1));
    ASSERT_NE(CEventBuilder::events, nullptr);
    EXPECT_EQ(CEventBuilder::events->size(), 101U);
    EXPECT_EQ(CEventBuilder::events->count(1102), 0U) << "its tail is 24 bytes long";
    EXPECT_EQ(host.driver().refusals(), std::vector<std::string>{});
}

TEST(EventFlow, WithoutAControllerNoThreadRunsAndFinalizeThrows) {
    SimHost host("no-controller");
    ASSERT_EQ(host.start(), 0);
    EXPECT_EQ(host.gate().secondsAsked(), std::vector<unsigned>{});
    EXPECT_EQ(CEventBuilder::events, nullptr);
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
    EXPECT_EQ(deliver(), Numbers{});
    EXPECT_THROW(ZNV_Library_Finalize(), std::system_error);
    CVeskNVMeMonitor::destroyMe();
    CLibInitializer::deleteOSdeviceTalkerInstance();
}

TEST(EventFlow, FinalizeStopsTheThreadBeforeTheTalkerGoes) {
    SimHost host(scenarioWith(events(1, 3)));
    ASSERT_EQ(host.start(), 1);
    ASSERT_TRUE(host.gate().waitForSleeper(1));
    host.stop();
    EXPECT_TRUE(inOrder(LogFile(host.files()).lines(),
                        {"libVeskNvme: CommandHandler::navigator(): Calling API_FINALIZE",
                         "CVeskNVMeMonitor::stopMonitoring() ENTRY ",
                         "CEventBuilder::destroyEventsInEventsMap() EXIT ",
                         "CEventBuilder::destroyEventsMap() EXIT ",
                         "CVeskNVMeMonitor::stopMonitoring() EXIT ",
                         "CVMWareZNVDeviceTalker::~CVMWareZNVDeviceTalker() ENTRY ",
                         "CVeskNVMeMonitor::destroyMe() ENTRY "}));
    EXPECT_EQ(host.driver().openHandles(), 0U);
}

// The thread has no handler, and neither has the dispatcher.
TEST(EventFlowDeathTest, WhatAPollThrowsEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            SimHost host(scenarioWith(EventLines()));
            host.driver().setCommandScript(
                [](const vesksim::ReceivedCommand& command) -> vesksim::CommandOverride {
                    if (command.cdw12 == 0x4FE) {
                        throw 42;
                    }
                    return {};
                });
            host.start();
            host.gate().waitForSleeper(1);
        },
        "terminate called");
}

}  // namespace
