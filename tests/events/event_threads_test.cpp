// Poll, delivery, start and stop from several threads.
#include "sim_host.h"

#include "VeskNvme.h"
#include "events/event_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

using vesktest::SimHost;
using Numbers = std::vector<unsigned>;

vesksim::Scenario scenarioWith(unsigned eventCount) {
    vesksim::Scenario scenario;
    scenario.adapters[0].events.clear();
    for (unsigned number = 1; number <= eventCount; ++number) {
        scenario.adapters[0].events.push_back("[SEQ]" + std::to_string(number) +
                                              "[EVT_ID]1[MSG]PD_event_INFO");
    }
    scenario.configIni.text = "[Polling]\npollingIntervalInSeconds=50\n";
    scenario.alertMappingIni.text =
        "[PhysicalDevice]\n1=500\n[EventSequenceNumber]\nSequenceNumber=0\n";
    return scenario;
}

Numbers deliver() {
    std::vector<_Event> records(64);
    UCHAR_ count = 0xA5;
    ZT_EVT_GetEvent(0, 0, &count, static_cast<CEvent*>(static_cast<void*>(records.data())));
    Numbers numbers;
    for (UCHAR_ i = 0; i < count; ++i) {
        numbers.push_back(records[i].sequenceNo);
    }
    return numbers;
}

TEST(EventThreads, EveryEventIsDeliveredOnceToOneOfManyCallers) {
    constexpr unsigned kEvents = 700;
    SimHost host(scenarioWith(kEvents));
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
    for (unsigned i = 0; i < kEvents; ++i) {
        expected[i] = i + 1;
    }
    EXPECT_EQ(delivered, expected);
    EXPECT_EQ(host.files().read(vesktest::kMappingIniPath),
              "[PhysicalDevice]\n1=500\n[EventSequenceNumber]\nSequenceNumber=700");
}

TEST(EventThreads, TwoDeliveriesAtOnceNeverShareAnEvent) {
    SimHost host(scenarioWith(40));
    ASSERT_EQ(host.start(), 1);
    ASSERT_TRUE(host.gate().waitForSleeper(1));
    for (int round = 0; round < 100; ++round) {
        SCOPED_TRACE(round);
        host.files().writeMappingIni(
            "[PhysicalDevice]\n1=500\n[EventSequenceNumber]\nSequenceNumber=0\n");
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
    SimHost host(scenarioWith(3));
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

}  // namespace
