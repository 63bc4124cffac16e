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
#include <cstdio>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace vesktest;

// ---- Events: which of them a delivery may lose, by the rules of docs/events.md ----

// What opening a stream asks of malloc.
std::string allocationOfStream() {
    const FailMalloc fault;
    EXPECT_EQ(std::fopen("/dev/null", "r"), nullptr);
    return "malloc " + std::to_string(fault.failedSizes()[0]);
}

// A delivery opens the mapping file for the mark, for the lookup of each event, and twice to store
// the mark. From malloc it wants a stream at each opening, and a copy of each event ahead of its
// lookup. So the failed call tells which events it skipped, counted from 1.
std::set<std::size_t> skipped(const Injection& injection, std::size_t events) {
    static const std::string s_stream = allocationOfStream();
    static const std::string s_copy = "malloc " + std::to_string(sizeof(CEvent));
    const std::vector<std::string>& calls = injection.failedCalls();
    std::set<std::size_t> skipped;
    if (injection.fault().kind == FaultKind::kMalloc && !calls.empty()) {
        const std::size_t event = injection.fault().nth / 2;  // 0 for the mark
        const bool copies = injection.fault().nth % 2 == 0 && event <= events;
        EXPECT_EQ(calls[0], copies ? s_copy : s_stream);
        skipped.insert(event);
        // Whether a copy or a lookup failed, the copy of the next one comes next, if there is one.
        if (calls.size() > 1 && event < events) {
            EXPECT_EQ(calls[1], s_copy);
            skipped.insert(event + 1);
        }
    } else if (injection.fault().kind == FaultKind::kSystem) {
        for (std::size_t i = 0; i < calls.size(); ++i) {
            if (calls[i] == std::string("fopen64 ") + kMappingIniPath) {
                skipped.insert(injection.callsBefore()[i]);
            }
        }
    }
    skipped.erase(0);
    skipped.erase(skipped.upper_bound(events), skipped.end());
    return skipped;
}

// "If a later one is delivered, the mark passes it": those of the skipped ones that are lost.
std::set<unsigned> mustBeLost(const Injection& injection, const std::set<unsigned>& all) {
    std::set<unsigned> lost;
    if (injection.fault().repeat == Repeat::kEachLater) {
        return lost;  // the mark cannot be stored either
    }
    const std::set<std::size_t> without = skipped(injection, all.size());
    std::size_t last = all.size();
    while (without.count(last) != 0) {
        --last;
    }
    for (const std::size_t event : without) {
        if (event < last) {
            lost.insert(*std::next(all.begin(), static_cast<std::ptrdiff_t>(event) - 1));
        }
    }
    return lost;
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

    // What is in neither this answer nor the polls and deliveries behind it.
    std::set<unsigned> lostBehind(const Answer& answer) {
        const std::vector<unsigned> first = eventNumbers(answer);
        std::set<unsigned> delivered(first.begin(), first.end());
        for (int round = 0; round < 2; ++round) {
            const Answer next = callEvents();
            EXPECT_EQ(next.result, 0);
            const std::vector<unsigned> numbers = eventNumbers(next);
            delivered.insert(numbers.begin(), numbers.end());
            poll();
        }
        EXPECT_TRUE(std::includes(m_all.begin(), m_all.end(), delivered.begin(), delivered.end()));
        std::set<unsigned> lost;
        std::set_difference(m_all.begin(), m_all.end(), delivered.begin(), delivered.end(),
                            std::inserter(lost, lost.end()));
        return lost;
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
                   EXPECT_EQ(lostBehind(answer), mustBeLost(injection, m_all));
               } else {
                   const Answer next = guarded(operation.run);
                   EXPECT_EQ(next.result, healthy.result);
                   EXPECT_EQ(next.header, healthy.header);
                   EXPECT_EQ(next.records, healthy.records);
               }
               expectLiveLog(m_host.files(), GetParam().logged);
               EXPECT_EQ(Resources(), before);
               answer = Answer();
           }},
          GetParam().extent);
}

class PollSweep : public FaultSweep {
protected:
    PollSweep() : FaultSweep(GetParam().logged ? 4 : kEventsOfTwoPages) {}

    // "the events of a page that could not be read, or had no buffer": those that a poll did not
    // get to see while it found a later one, whose delivery passes them.
    std::set<unsigned> passed() {
        std::set<unsigned> read;  // where in the log
        for (const vesksim::ReceivedCommand& command : m_host.driver().commands()) {
            if (command.cdw12 == 0x4FE) {
                read.insert(command.cdw13);
            }
        }
        const EventMap* const collected = CEventBuilder::events;
        const unsigned newest =
            collected == nullptr || collected->empty() ? 0 : collected->rbegin()->first;
        std::set<unsigned> passed;
        std::size_t index = 0;
        for (const unsigned number : m_all) {
            const bool seen = index < kEventsOfFirstPage    ? read.count(0) != 0
                              : index == kEventsOfFirstPage ? read.count(0) + read.count(0xFF8) == 2
                                                            : read.count(0x1000) != 0;
            if (!seen && number < newest) {
                passed.insert(number);
            }
            ++index;
        }
        return passed;
    }
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
           [&](const Injection&) {
               EXPECT_TRUE(answer.thrown.empty() || answer.thrown == "std::bad_alloc")
                   << answer.thrown;
               const std::set<unsigned> mustBeLost = passed();
               EXPECT_EQ(lostBehind(answer), mustBeLost);
               expectLiveLog(m_host.files(), GetParam().logged);
               EXPECT_EQ(Resources(), before);
               answer = Answer();
           }},
          GetParam().extent);
}

INSTANTIATE_TEST_SUITE_P(Calls, FaultSweep, ::testing::ValuesIn(kCallRows), nameOfRow);
INSTANTIATE_TEST_SUITE_P(Polls, PollSweep, ::testing::ValuesIn(kPollRows), nameOfRow);

// Each row is held against what was run; together they are those of a build with the address
// sanitizer.
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
