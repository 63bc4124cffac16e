// Every call that can fail, failed in turn, under every exported function: what comes back is one
// of the answers that the header promises, nothing stays behind, the next call works, and each
// event is delivered unless a known rule of loss took it.
#include "fault.h"
#include "operation.h"
#include "sweep.h"
#include "swept_host.h"

#include "api/command_handler.h"
#include "events/event_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace vesktest;

// ---- Events: which rule of loss, of docs/events.md, may take one ----

struct LossRule {
    const char* operation;
    FaultKind kind;
    const char* call;      // how what failed begins
    std::size_t mostLost;  // by one such failure
};

constexpr std::size_t kPageOfEvents = 60;

const LossRule kLossRules[] = {
    // "the events of a page that could not be read, or had no buffer"
    {"poll", FaultKind::kPlatform, "vmk_MgmtUserCallbackInvokeInt", kPageOfEvents},
    {"poll", FaultKind::kMalloc, "malloc 4096", kPageOfEvents},
    {"poll", FaultKind::kMalloc, "malloc 24", kPageOfEvents},
    // "an event for whose copy there was no memory"
    {"ZT_EVT_GetEvent", FaultKind::kMalloc, "malloc 64", 1},
    // "an event at whose lookup the mapping file could not be opened"
    {"ZT_EVT_GetEvent", FaultKind::kMalloc, "malloc", 1},
    {"ZT_EVT_GetEvent", FaultKind::kSystem, "fopen64", 1},
};

bool mayLose(const std::string& operation, const Injection& injection, std::size_t lost) {
    const bool once = injection.fault().repeat == Repeat::kOnce;
    return std::any_of(std::begin(kLossRules), std::end(kLossRules), [&](const LossRule& rule) {
        return operation == rule.operation && injection.fault().kind == rule.kind &&
               (!once ||
                (injection.failedCall().rfind(rule.call, 0) == 0 && lost <= rule.mostLost));
    });
}

void poll() {
    stg::dispatch(VeskNVMe_GetEvent);
}

// ---- Calls on the running library ----

class FaultSweep : public ::testing::TestWithParam<Row> {
protected:
    FaultSweep() : m_host(scenarioFor(GetParam().logged)) {
        EXPECT_EQ(m_host.start(), 1);
        EXPECT_TRUE(m_host.gate().waitForSleeper(1));
        m_mapping = m_host.files().read(kMappingIniPath);
        for (const std::size_t round : {1U, 2U}) {
            const std::vector<unsigned> numbers = eventNumbers(callEvents());
            m_all.insert(numbers.begin(), numbers.end());
            static_cast<void>(round);
        }
        EXPECT_EQ(m_all.size(), GetParam().logged ? 4U : 60U);
    }

    static Answer callEvents() { return guarded(operationOf("ZT_EVT_GetEvent").run); }

    // As if nothing had ever been delivered.
    void forgetEvents() {
        CEventBuilder::destroyEventsInEventsMap();
        m_host.files().writeMappingIni(m_mapping);
    }

    void prepare() {
        m_host.driver().forgetHistory();
        if (GetParam().logged) {
            m_host.files().write(kLogPath, "");
        }
    }

    // What the operation under the fault delivered, and what comes in the polls and deliveries
    // behind it.
    void expectAccount(const Injection& injection, const Answer& answer) {
        const std::vector<unsigned> first = eventNumbers(answer);
        std::set<unsigned> delivered(first.begin(), first.end());
        for (int round = 0; round < 2; ++round) {
            const Answer next = callEvents();
            EXPECT_EQ(next.result, 0);
            const std::vector<unsigned> numbers = eventNumbers(next);
            delivered.insert(numbers.begin(), numbers.end());
            poll();
        }
        const std::size_t lost = m_all.size() - delivered.size();
        EXPECT_TRUE(lost == 0 || mayLose(GetParam().operation, injection, lost))
            << lost << " events are lost";
        EXPECT_TRUE(std::includes(m_all.begin(), m_all.end(), delivered.begin(), delivered.end()));
    }

    SimHost m_host;
    std::string m_mapping;
    std::set<unsigned> m_all;
};

TEST_P(FaultSweep, CallFailsAsPromisedAndTheNextOneWorks) {
    const Operation& operation = operationOf(GetParam().operation);
    const bool events = std::string(operation.name) == "ZT_EVT_GetEvent";
    const auto prepareCall = [this, events] {
        prepare();
        if (events) {
            forgetEvents();
            poll();
        }
    };
    prepareCall();
    const Answer healthy = guarded(operation.run);
    ASSERT_EQ(wrongWith(operation, healthy, healthy), "");
    const Resources before;
    Answer answer;
    sweep({prepareCall, [&] { answer = guarded(operation.run); },
           [&](const Injection& injection) {
               EXPECT_EQ(wrongWith(operation, answer, healthy), "");
               if (events) {
                   expectAccount(injection, answer);
               } else {
                   const Answer next = guarded(operation.run);
                   EXPECT_EQ(next.result, healthy.result);
                   EXPECT_EQ(next.header, healthy.header);
                   EXPECT_EQ(next.records, healthy.records);
               }
               expectLiveLog(m_host.files(), GetParam().logged);
               EXPECT_EQ(Resources(), before);
           }},
          GetParam().extent);
}

class PollSweep : public FaultSweep {};

// On this thread, in the place of the polling thread: what a poll throws there ends the process.
TEST_P(PollSweep, PollFailsAsPromisedAndTheNextOneWorks) {
    const Resources before;
    Answer answer;
    sweep({[this] {
               prepare();
               forgetEvents();
           },
           [&answer] {
               answer = guarded([] {
                   const InLibrary inside;
                   poll();
                   return Answer();
               });
           },
           [&](const Injection& injection) {
               EXPECT_TRUE(answer.thrown.empty() || answer.thrown == "std::bad_alloc")
                   << answer.thrown;
               expectAccount(injection, answer);
               expectLiveLog(m_host.files(), GetParam().logged);
               EXPECT_EQ(Resources(), before);
           }},
          GetParam().extent);
}

INSTANTIATE_TEST_SUITE_P(
    Calls, FaultSweep,
    ::testing::Values(
        Row{"ZT_Adapter_GetCount", false, {0}}, Row{"ZT_Adapter_GetInfo", false, {0}},
        Row{"ZT_Adapter_GetConfig", false, {0}}, Row{"ZT_Adapter_Get_OEM_Data", false, {0}},
        Row{"ZT_PD_GetHDInfo_Ext", false, {0}}, Row{"ZT_PD_GetConfig", false, {0}},
        Row{"ZT_PD_GetHDRaidStatus", false, {0}}, Row{"ZT_PD_GetFreeSpaceInfo", false, {0}},
        Row{"ZT_PD_GET_SMART_INFO", false, {0}}, Row{"ZT_PD_OEMData", false, {0}},
        Row{"ZT_LD_GetInfo", false, {0}}, Row{"ZT_LD_GetConfig", false, {0}},
        Row{"ZT_EVT_GetEvent", false, {0}}, Row{"ZT_Adapter_GetCount", true, {0}},
        Row{"ZT_Adapter_GetInfo", true, {0}}, Row{"ZT_Adapter_GetConfig", true, {0}},
        Row{"ZT_Adapter_Get_OEM_Data", true, {0}}, Row{"ZT_PD_GetHDInfo_Ext", true, {0}},
        Row{"ZT_PD_GetConfig", true, {0}}, Row{"ZT_PD_GetHDRaidStatus", true, {0}},
        Row{"ZT_PD_GetFreeSpaceInfo", true, {0}}, Row{"ZT_PD_GET_SMART_INFO", true, {0}},
        Row{"ZT_PD_OEMData", true, {0}}, Row{"ZT_LD_GetInfo", true, {0}},
        Row{"ZT_LD_GetConfig", true, {0}}, Row{"ZT_EVT_GetEvent", true, {0, 21}}),
    nameOfRow);

INSTANTIATE_TEST_SUITE_P(Polls, PollSweep,
                         ::testing::Values(Row{"poll", false, {0}}, Row{"poll", true, {0, 101}}),
                         nameOfRow);

}  // namespace
