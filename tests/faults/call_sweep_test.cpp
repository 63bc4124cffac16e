// Every call that can fail, failed in turn, under every exported function: what comes back is one
// of the answers that the header promises, nothing stays behind, the next call works, and each
// event is delivered unless a known rule of loss took it.
#include "fault.h"
#include "operation.h"
#include "rows.h"
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

const LossRule kLossRules[] = {
    // "the events of a page that could not be read, or had no buffer"
    {"poll", FaultKind::kPlatform, "vmk_MgmtUserCallbackInvokeInt", kEventsOfTwoPages},
    {"poll", FaultKind::kMalloc, "malloc 4096", kEventsOfTwoPages},
    {"poll", FaultKind::kMalloc, "malloc 24", kEventsOfTwoPages},
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
    // The log multiplies all that is done: fewer events then.
    explicit FaultSweep(std::size_t events = GetParam().logged ? 4 : 20)
        : m_host(scenarioFor(GetParam().logged, events)) {
        EXPECT_EQ(m_host.start(), 1);
        EXPECT_TRUE(m_host.gate().waitForSleeper(1));
        m_mapping = m_host.files().read(kMappingIniPath);
        const std::vector<unsigned> numbers = eventNumbers(callEvents());
        m_all.insert(numbers.begin(), numbers.end());
        EXPECT_EQ(m_all.size(), events);
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

class PollSweep : public FaultSweep {
protected:
    PollSweep() : FaultSweep(GetParam().logged ? 4 : kEventsOfTwoPages) {}
};

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

INSTANTIATE_TEST_SUITE_P(Calls, FaultSweep, ::testing::ValuesIn(kCallRows), nameOfRow);
INSTANTIATE_TEST_SUITE_P(Polls, PollSweep, ::testing::ValuesIn(kPollRows), nameOfRow);

// Of a run in a build with the address sanitizer.
TEST(SweepExtent, IsTenThousandFaultsAtLeast) {
    unsigned faults = kRotation.atLeast + kMark.atLeast + kFolder.atLeast;
    const auto add = [&faults](const Row& row) {
        faults += row.extent.atLeast;
    };
    std::for_each(std::begin(kCallRows), std::end(kCallRows), add);
    std::for_each(std::begin(kPollRows), std::end(kPollRows), add);
    std::for_each(std::begin(kStartRows), std::end(kStartRows), add);
    std::for_each(std::begin(kStopRows), std::end(kStopRows), add);
    EXPECT_GE(faults, 10000U);
}

}  // namespace
