// A device that dies while its event log is read, and one that takes its time: nothing is lost.
#include "hostile_driver.h"
#include "operation.h"
#include "swept_host.h"

#include "VeskNvme.h"
#include "api/command_handler.h"
#include "events/event_builder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <future>
#include <initializer_list>
#include <string>
#include <thread>
#include <variant>
#include <vector>

namespace {

using namespace vesktest;
using Records = std::vector<std::vector<std::uint8_t>>;

constexpr unsigned kReadEventLog = 0x4FE;
// They reach into the last of the log's 16 pages: each but that one has 16 lines of 254 bytes, the
// last of them with 8 bytes on the next page.
constexpr std::size_t kEventsOfAllPages = 250;
constexpr std::size_t kPadding = 254 - 70;
// Each page but the last cuts a line, which takes a read of its own.
constexpr int kReadsOfAPoll = 16 + 15;

const Operation& eventCall() {
    return operationOf("ZT_EVT_GetEvent");
}

// With the trace log, and without.
class DeviceThatDies : public ::testing::TestWithParam<bool> {
protected:
    static vesksim::Scenario longLines() {
        vesksim::Scenario scenario = scenarioFor(GetParam(), kEventsOfAllPages);
        for (vesksim::EventEntry& event : scenario.adapters[0].events) {
            std::string& line = std::get<std::string>(event);
            line.insert(line.rfind('_'), kPadding, '.');
        }
        return scenario;
    }

    DeviceThatDies() : m_host(longLines()) {
        EXPECT_EQ(m_host.start(), 1);
        EXPECT_TRUE(m_host.gate().waitForSleeper(1));
        m_mapping = m_host.files().read(kMappingIniPath);
        m_all = deliverAll();
        EXPECT_EQ(m_all.size(), kEventsOfAllPages);
    }

    static void poll() { stg::dispatch(VeskNVMe_GetEvent); }
    static Records deliver() { return guarded(eventCall().run).records; }
    static Records deliverAll() {
        Records all;
        for (Records some = deliver(); !some.empty(); some = deliver()) {
            all.insert(all.end(), some.begin(), some.end());
            poll();
        }
        return all;
    }

    // It is gone from the read of this number on, counted from 0, for three polls. The reply to
    // that read has `written` bytes in place.
    void expectAllEventsOnce(int lastRead, std::size_t written) {
        SCOPED_TRACE(lastRead);
        CEventBuilder::destroyEventsInEventsMap();
        m_host.files().writeMappingIni(m_mapping);
        if (GetParam()) {
            m_host.files().write(kLogPath, "");
        }
        Records delivered;
        int reads = 0;
        {
            const DriverInBetween driver(
                driverThat([&](nvme_uio& uio, const std::function<int()>& honest) {
                    if (reads++ < lastRead) {
                        return honest();
                    }
                    const Data data(uio);
                    if (reads == lastRead + 1 && written < data.size) {
                        honest();
                        std::memset(data.begin + written, 0, data.size - written);
                    }
                    return -1;
                }));
            for (int count = 0; count < 3; ++count) {
                poll();
                const Records some = deliver();
                delivered.insert(delivered.end(), some.begin(), some.end());
            }
        }
        EXPECT_GT(reads, lastRead);
        poll();
        const Records rest = deliverAll();
        delivered.insert(delivered.end(), rest.begin(), rest.end());
        EXPECT_TRUE(delivered == m_all) << delivered.size() << " events";
        expectWholeLog(m_host.files(), GetParam());
    }

    SimHost m_host;
    std::string m_mapping;
    Records m_all;
};

TEST_P(DeviceThatDies, InMidPollCostsNoEvent) {
    const int step = GetParam() ? 5 : 1;  // the log multiplies all that is done
    for (int lastRead = 0; lastRead < kReadsOfAPoll; lastRead += step) {
        expectAllEventsOnce(lastRead, 0);
    }
}

TEST_P(DeviceThatDies, InMidPageCostsNoEvent) {
    for (const std::size_t written : std::initializer_list<std::size_t>{1, 45, 1000, 2048, 4095}) {
        SCOPED_TRACE(written);
        const std::vector<int> reads = GetParam()
                                           ? std::vector<int>{1, 14}
                                           : std::vector<int>{0, 1, 2, 14, 15, kReadsOfAPoll - 1};
        for (const int lastRead : reads) {
            expectAllEventsOnce(lastRead, written);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Hostile, DeviceThatDies, ::testing::Bool(), nameOfMode);

// ---- A command that does not come back ----

bool readsEventLog(const nvme_uio& uio) {
    return uio.cdw12 == kReadEventLog;
}
bool readsNoEventLog(const nvme_uio& uio) {
    return !readsEventLog(uio);
}

// The first of its kind is held up.
class SlowCommand {
public:
    explicit SlowCommand(bool (*isOfTheKind)(const nvme_uio& uio))
        : m_driver(
              driverThat([this, isOfTheKind](nvme_uio& uio, const std::function<int()>& honest) {
                  if (isOfTheKind(uio) && m_first.exchange(false)) {
                      m_reached.set_value();
                      m_letGo.get_future().wait();
                  }
                  return honest();
              })) {}

    void waitUntilReached() { m_reached.get_future().wait(); }
    void letGo() { m_letGo.set_value(); }

private:
    std::atomic<bool> m_first{true};
    std::promise<void> m_reached;
    std::promise<void> m_letGo;
    DriverInBetween m_driver;
};

template <typename Result>
bool isReady(const std::future<Result>& future) {
    return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

class SlowDevice : public ::testing::Test {
protected:
    SlowDevice() : m_host(scenarioFor(true)) {
        EXPECT_EQ(m_host.start(), 1);
        EXPECT_TRUE(m_host.gate().waitForSleeper(1));
        m_mapping = m_host.files().read(kMappingIniPath);
        for (const Operation& operation : operations()) {
            m_healthy.push_back(guarded(operation.run));
        }
        m_events = m_healthy.back().records;
        m_host.files().writeMappingIni(m_mapping);
    }

    std::size_t entriesOfLog(const std::string& function) {
        std::size_t found = 0;
        for (const std::string& line : m_host.logLines()) {
            const bool entry = line.size() > 7 && line.compare(line.size() - 7, 7, " ENTRY ") == 0;
            found += entry && line.find(function) != std::string::npos ? 1 : 0;
        }
        return found;
    }
    // Until the library has entered this function more often than `before`.
    void waitForEntry(const std::string& function, std::size_t before) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (entriesOfLog(function) <= before) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline) << function;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    SimHost m_host;
    std::string m_mapping;
    std::vector<Answer> m_healthy;
    Records m_events;
};

TEST_F(SlowDevice, PollThatWaitsHoldsUpADeliveryAndNoOtherCall) {
    SlowCommand slow(readsEventLog);
    m_host.gate().release();
    slow.waitUntilReached();
    for (std::size_t index = 0; index < operations().size(); ++index) {
        const Operation& operation = operations()[index];
        if (&operation != &eventCall()) {
            SCOPED_TRACE(operation.name);
            const Answer answer = guarded(operation.run);
            EXPECT_EQ(answer.result, m_healthy[index].result);
            EXPECT_EQ(answer.records, m_healthy[index].records);
        }
    }
    const std::size_t before = entriesOfLog("CEventBuilder::getObjectVector");
    std::future<Answer> delivery =
        std::async(std::launch::async, [] { return guarded(eventCall().run); });
    waitForEntry("CEventBuilder::getObjectVector", before);
    EXPECT_FALSE(isReady(delivery));
    slow.letGo();
    EXPECT_EQ(delivery.get().records, m_events);
}

// Of each call that sends one, the first.
TEST_F(SlowDevice, CommandThatWaitsHoldsUpNoOtherCallNoPollAndNoDelivery) {
    std::size_t sleeps = m_host.gate().secondsAsked().size();
    for (const char* const name :
         {"ZT_Adapter_GetInfo", "ZT_PD_GetHDInfo_Ext", "ZT_PD_GetConfig", "ZT_PD_GetHDRaidStatus",
          "ZT_PD_GetFreeSpaceInfo", "ZT_PD_GET_SMART_INFO", "ZT_PD_OEMData", "ZT_LD_GetInfo",
          "ZT_LD_GetConfig"}) {
        SCOPED_TRACE(name);
        const Operation& held = operationOf(name);
        SlowCommand slow(readsNoEventLog);
        std::future<Answer> answer =
            std::async(std::launch::async, [&held] { return guarded(held.run); });
        slow.waitUntilReached();
        m_host.gate().release();
        EXPECT_TRUE(m_host.gate().waitForSleeper(++sleeps));
        std::size_t index = 0;
        for (const Operation& operation : operations()) {
            SCOPED_TRACE(operation.name);
            const Answer other = guarded(operation.run);
            EXPECT_EQ(other.result, m_healthy[index].result);
            EXPECT_EQ(other.records, m_healthy[index].records);
            ++index;
        }
        m_host.files().writeMappingIni(m_mapping);
        EXPECT_FALSE(isReady(answer));
        slow.letGo();
        const Answer late = answer.get();
        index = static_cast<std::size_t>(&held - operations().data());
        EXPECT_EQ(late.result, m_healthy[index].result);
        EXPECT_EQ(late.records, m_healthy[index].records);
    }
}

TEST_F(SlowDevice, TearDownWaitsForThePollAndTheNextStartBringsItsEvents) {
    {
        SlowCommand slow(readsEventLog);
        m_host.gate().release();
        slow.waitUntilReached();
        std::future<void> stop = std::async(std::launch::async, [] { ZNV_Library_Finalize(); });
        waitForEntry("CVeskNVMeMonitor::stopMonitoring", 0);
        EXPECT_FALSE(isReady(stop));
        EXPECT_EQ(Resources().handles, 1U);
        m_host.gate().releaseAll();
        slow.letGo();
        stop.get();
    }
    EXPECT_EQ(Resources().handles, 0U);
    const std::size_t sleeps = m_host.gate().secondsAsked().size();
    ZNV_Library_Initialize();
    EXPECT_EQ(ZT_Adapter_GetCount(), 1);
    EXPECT_TRUE(m_host.gate().waitForSleeper(sleeps + 1));
    EXPECT_EQ(guarded(eventCall().run).records, m_events);
}

// Nothing may overlap a start: it waits for as long as the device takes to say who it is, with its
// connection to it open and no polling thread yet, and is then as any other.
TEST(SlowStart, WaitsForIdentifyAndFindsTheController) {
    SimHost host(scenarioFor(true));
    const Resources before;
    {
        SlowCommand slow(readsNoEventLog);
        std::future<UCHAR_> start =
            std::async(std::launch::async, [] { return ZT_API_Initialize(); });
        slow.waitUntilReached();
        EXPECT_FALSE(isReady(start));
        EXPECT_EQ(host.commandCount(6), 0U);  // it has not come to the device
        EXPECT_EQ(Resources().handles, before.handles + 1);
        EXPECT_TRUE(host.gate().secondsAsked().empty());
        slow.letGo();
        EXPECT_EQ(start.get(), ERR_NONE);
    }
    EXPECT_EQ(host.commandCount(6), 1U);
    EXPECT_EQ(ZT_Adapter_GetCount(), 1);
    EXPECT_TRUE(host.gate().waitForSleeper(1));
    EXPECT_EQ(guarded(eventCall().run).records.size(), 4U);
    host.gate().releaseAll();
    ZNV_Library_Finalize();
    EXPECT_EQ(Resources().handles, before.handles);
}

}  // namespace
