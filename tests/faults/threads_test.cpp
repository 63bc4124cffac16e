// All calls from four threads at once, beside a polling thread that never rests and finds new
// events all the time. Start and stop are not among them: nothing else may overlap those, says the
// header.
#include "operation.h"
#include "swept_host.h"

#include "VeskNvme.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <numeric>
#include <string>
#include <vector>

namespace {

using namespace vesktest;
using Clock = std::chrono::steady_clock;

// With the trace log, and without.
class CallsFromThreads : public ::testing::TestWithParam<bool> {};

constexpr unsigned kFirstEvent = 1001;
constexpr std::size_t kEventsAtFirst = 40;
constexpr std::size_t kEventsLater = 1500;
constexpr std::size_t kFewestEvents = kEventsAtFirst + 20;

// Of events that come later. The log has room for some 900, and overwrites what it has none for.
constexpr double kMostUndelivered = 100;

// The controller's clock, by which its events come: all in the time of the test, and never many
// more than were delivered.
class EventClock {
public:
    explicit EventClock(Clock::duration time) : m_time(time) {}

    double now() const {
        const double part = std::chrono::duration<double>(Clock::now() - m_begin) / m_time;
        const double ofTime = part * kEventsLater;
        const double ofDeliveries =
            static_cast<double>(m_delivered) - kEventsAtFirst + kMostUndelivered;
        return std::min(ofTime, ofDeliveries);
    }
    void add(std::size_t delivered) { m_delivered += delivered; }
    // The time is up, and there was something to deliver in it. A minute later in any case.
    bool isOver() const {
        const auto passed = Clock::now() - m_begin;
        return passed >= m_time &&
               (m_delivered >= kFewestEvents || passed >= m_time + std::chrono::minutes(1));
    }

private:
    Clock::time_point m_begin = Clock::now();
    std::chrono::duration<double> m_time;
    std::atomic<std::size_t> m_delivered{0};
};

vesksim::Scenario growingScenario(bool logged) {
    vesksim::Scenario scenario = scenarioFor(logged, kEventsAtFirst);
    scenario.adapters[0].cutEventLines = false;
    for (std::size_t number = 1; number <= kEventsLater; ++number) {
        vesksim::Event event;
        event.eventId = 0x65;
        event.eventClass = "PD";
        event.description = "Drive open";
        scenario.adapters[0].eventSchedule.push_back({static_cast<double>(number), event});
    }
    return scenario;
}

// Until the time is up, once at the least. What was wrong, and the events that were delivered.
struct Work {
    std::vector<std::string> wrong;
    std::vector<unsigned> events;
    unsigned long calls = 0;
};

Work callUntilOver(EventClock& clock, const std::vector<Answer>& healthy) {
    Work work;
    do {
        for (std::size_t index = 0; index < healthy.size(); ++index) {
            const Operation& operation = operations()[index];
            const Answer answer = guarded(operation.run);
            ++work.calls;
            if (std::string(operation.name) == "ZT_EVT_GetEvent") {
                const std::vector<unsigned> numbers = eventNumbers(answer);
                work.events.insert(work.events.end(), numbers.begin(), numbers.end());
                clock.add(numbers.size());
            } else if (answer.result != 0 || answer.header != healthy[index].header ||
                       answer.records != healthy[index].records) {
                work.wrong.emplace_back(operation.name);
            }
        }
    } while (!clock.isOver());
    return work;
}

TEST_P(CallsFromThreads, AnswerAsAloneAndDeliverEachEventOnce) {
    const char* const seconds = std::getenv("VESK_THREAD_SECONDS");
    const auto time = seconds != nullptr
                          ? std::chrono::milliseconds(std::strtol(seconds, nullptr, 10) * 1000)
                          : std::chrono::milliseconds(200);
    EventClock clock(time);
    SimHost host(growingScenario(GetParam()));
    host.driver().setClock([&clock] { return clock.now(); });
    ASSERT_EQ(host.start(), 1);
    ASSERT_TRUE(host.gate().waitForSleeper(1));
    std::vector<Answer> healthy;
    std::vector<unsigned> delivered;
    for (const Operation& operation : operations()) {
        // The events are for the threads.
        healthy.push_back(
            std::string(operation.name) == "ZT_EVT_GetEvent" ? Answer() : guarded(operation.run));
    }
    host.gate().releaseAll();

    std::vector<std::future<Work>> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.push_back(std::async(std::launch::async, callUntilOver, std::ref(clock), healthy));
    }
    unsigned long calls = 0;
    for (std::future<Work>& thread : threads) {
        const Work work = thread.get();
        EXPECT_EQ(work.wrong, std::vector<std::string>());
        delivered.insert(delivered.end(), work.events.begin(), work.events.end());
        calls += work.calls;
    }
    std::sort(delivered.begin(), delivered.end());
    EXPECT_GE(delivered.size(), kFewestEvents);
    std::vector<unsigned> all(delivered.size());
    std::iota(all.begin(), all.end(), kFirstEvent);
    EXPECT_EQ(delivered, all);
    std::printf("%lu calls, %zu events\n", calls, delivered.size());
    host.stop();
    host.driver().setClock(nullptr);
}

INSTANTIATE_TEST_SUITE_P(Threads, CallsFromThreads, ::testing::Bool(), nameOfMode);

}  // namespace
