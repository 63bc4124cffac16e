// Events from the simulated controller to the caller, with the library's own thread between; and
// poll, delivery, start and stop from several threads.
#include "failing_calls.h"
#include "log_file.h"
#include "sim_host.h"

#include "VeskNvme.h"
#include "api/command_handler.h"
#include "api/lib_initializer.h"
#include "events/event_builder.h"
#include "events/event_monitor.h"
#include "support/logger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <numeric>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace {

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

// The library is started, and its thread sleeps behind its first poll.
bool runsFirstPoll(SimHost& host) {
    return host.start() == 1 && host.gate().waitForSleeper(1);
}

// The thread sleeps behind its next poll, of this number.
bool runsPoll(SimHost& host, std::size_t number) {
    host.gate().release();
    return host.gate().waitForSleeper(number);
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
    ASSERT_TRUE(runsFirstPoll(host));
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
    ASSERT_TRUE(runsFirstPoll(host));
    for (std::mutex* const mutex : {&CEventBuilder::mtx, &stg::CLogger::logMutex}) {
        ASSERT_TRUE(mutex->try_lock());
        mutex->unlock();
    }
}

TEST(EventFlow, LaterEventsComeWithLaterPolls) {
    vesksim::Scenario scenario = scenarioWith(events(1, 2));
    SimHost host(scenario);
    ASSERT_TRUE(runsFirstPoll(host));
    ASSERT_TRUE(runsPoll(host, 2));
    EXPECT_EQ(host.files().read(kMappingIniPath), kMapping) << "a poll delivers nothing by itself";
    EXPECT_EQ(deliver(), (Numbers{1, 2}));
    scenario.adapters[0].events = events(1, 4);
    host.driver().update(scenario);
    EXPECT_EQ(deliver(), Numbers{}) << "not before the next poll";
    ASSERT_TRUE(runsPoll(host, 3));
    EXPECT_EQ(deliver(), (Numbers{3, 4}));
    EXPECT_EQ(host.gate().secondsAsked(), (std::vector<unsigned>{60, 60, 60}));
}

TEST(EventFlow, FailedReadsDoNotStopTheThread) {
    SimHost host(scenarioWith(events(1, 2)));
    vesksim::CommandOverride failure;
    failure.platformCode = 7;
    host.driver().setCommandScript([failure](const vesksim::ReceivedCommand& command) {
        return command.cdw12 == 0x4FE ? failure : vesksim::CommandOverride();
    });
    ASSERT_TRUE(runsFirstPoll(host));
    EXPECT_EQ(deliver(), Numbers{});
    host.driver().setCommandScript(nullptr);
    ASSERT_TRUE(runsPoll(host, 2));
    EXPECT_EQ(deliver(), (Numbers{1, 2}));
    EXPECT_EQ(host.gate().secondsAsked(), (std::vector<unsigned>{60, 60}))
        << "the pause is no other behind a failure";
}

TEST(EventFlow, StopDropsWhatWasNotDeliveredAndTheNextStartBringsItBack) {
    vesksim::Scenario scenario = scenarioWith(events(1, 3));
    SimHost host(scenario);
    ASSERT_TRUE(runsFirstPoll(host));
    EXPECT_EQ(deliver(), (Numbers{1, 2, 3}));
    scenario.adapters[0].events = events(1, 5);
    host.driver().update(scenario);
    ASSERT_TRUE(runsPoll(host, 2));
    EXPECT_NE(CEventBuilder::events, nullptr);
    host.stop();
    EXPECT_EQ(CEventBuilder::events, nullptr);
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
    EXPECT_EQ(deliver(), Numbers{});

    const std::size_t sleeps = host.gate().secondsAsked().size();
    ZNV_Library_Initialize();
    ASSERT_TRUE(host.gate().waitForSleeper(sleeps + 1));
    EXPECT_EQ(deliver(), (Numbers{4, 5})) << "and the mark is still that of the first delivery";
    ZNV_Library_Finalize();
}

// Nobody looks for the folder again in this process.
TEST(EventFlow, ConfigurationThatCannotBeOpenedAtTheStartLeavesTheEventsToAnotherProcess) {
    SimHost host(scenarioWith(events(1, 3)));
    {
        const vesktest::FailingCalls failing([](const char* function, const std::string& path) {
            return vesktest::isOpening(function) && path == vesktest::kConfigIniPath ? EMFILE : 0;
        });
        ASSERT_TRUE(runsFirstPoll(host));
    }
    for (std::size_t poll = 2; poll < 4; ++poll) {
        CEvent records[64];
        UCHAR_ count = 0xA5;
        EXPECT_EQ(ZT_EVT_GetEvent(0, 0, &count, records), 1);
        EXPECT_EQ(count, 0);
        ASSERT_TRUE(runsPoll(host, poll));
    }
    EXPECT_EQ(host.files().read(kMappingIniPath), kMapping);
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
    ASSERT_TRUE(runsFirstPoll(host));
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
    ASSERT_TRUE(runsFirstPoll(host));
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

// Without the log, which costs more than what is tested.
vesksim::Scenario untraced(unsigned eventCount) {
    vesksim::Scenario scenario = scenarioWith(events(1, eventCount));
    scenario.configIni.text = "[Polling]\npollingIntervalInSeconds=60\n";
    return scenario;
}

TEST(EventThreads, EveryEventIsDeliveredOnceToOneOfManyCallers) {
    constexpr unsigned kEvents = 700;
    SimHost host(untraced(kEvents));
    host.gate().releaseAll();  // the library's own thread polls without a pause
    ASSERT_EQ(host.start(), 1);

    std::mutex mutex;
    Numbers delivered;
    std::atomic<bool> failed{false};
    const auto isDone = [&] {
        const std::lock_guard<std::mutex> lock(mutex);
        return delivered.size() >= kEvents || failed;
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            while (!isDone()) {
                const Numbers some = deliver();
                // Within one delivery they rise without a gap.
                for (std::size_t k = 1; k < some.size(); ++k) {
                    failed = failed || some[k] != some[k - 1] + 1;
                }
                const std::lock_guard<std::mutex> lock(mutex);
                delivered.insert(delivered.end(), some.begin(), some.end());
            }
        });
    }
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            while (!isDone()) {
                CEventBuilder().buidInfo(5);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(failed);
    EXPECT_EQ(deliver(), Numbers{});
    std::sort(delivered.begin(), delivered.end());
    Numbers expected(kEvents);
    std::iota(expected.begin(), expected.end(), 1U);
    EXPECT_EQ(delivered, expected);
    EXPECT_EQ(host.files().read(kMappingIniPath),
              "[PhysicalDevice]\n1=500\n[EventSequenceNumber]\nSequenceNumber=700");
}

TEST(EventThreads, TwoDeliveriesAtOnceNeverShareAnEvent) {
    SimHost host(untraced(40));
    ASSERT_TRUE(runsFirstPoll(host));
    for (int round = 0; round < 100; ++round) {
        SCOPED_TRACE(round);
        host.files().writeMappingIni(kMapping);
        CEventBuilder().buidInfo(5);
        Numbers first;
        std::thread other([&first] { first = deliver(); });
        const Numbers second = deliver();
        other.join();
        EXPECT_EQ(std::max(first.size(), second.size()), 40U);
        EXPECT_EQ(std::min(first.size(), second.size()), 0U);
    }
}

TEST(EventThreads, ThousandStartsAndStops) {
    SimHost host(untraced(3));
    host.gate().releaseAll();
    for (int i = 0; i < 1000; ++i) {
        ZNV_Library_Initialize();
        ASSERT_EQ(host.driver().openHandles(), 1U);
        ZNV_Library_Finalize();
        ASSERT_EQ(host.driver().openHandles(), 0U);
        ASSERT_EQ(CEventBuilder::events, nullptr);
        host.driver().forgetHistory();
    }
    EXPECT_EQ(host.driver().refusals(), std::vector<std::string>{});
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
