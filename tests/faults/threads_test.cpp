// All calls from four threads at once, beside a polling thread that never rests.
#include "operation.h"
#include "swept_host.h"

#include "VeskNvme.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <vector>

namespace {

using namespace vesktest;
using Clock = std::chrono::steady_clock;

// With the trace log, and without.
class CallsFromThreads : public ::testing::TestWithParam<bool> {};

// Until the time is up, once at the least. What was wrong, and the events that were delivered.
struct Work {
    std::vector<std::string> wrong;
    std::vector<unsigned> events;
    unsigned long calls = 0;
};

Work callUntil(Clock::time_point end, const std::vector<Answer>& healthy) {
    Work work;
    do {
        for (std::size_t index = 0; index < healthy.size(); ++index) {
            const Operation& operation = operations()[index];
            const Answer answer = guarded(operation.run);
            ++work.calls;
            if (std::string(operation.name) == "ZT_EVT_GetEvent") {
                const std::vector<unsigned> numbers = eventNumbers(answer);
                work.events.insert(work.events.end(), numbers.begin(), numbers.end());
            } else if (answer.result != 0 || answer.header != healthy[index].header ||
                       answer.records != healthy[index].records) {
                work.wrong.emplace_back(operation.name);
            }
        }
    } while (Clock::now() < end);
    return work;
}

TEST_P(CallsFromThreads, AnswerAsAloneAndDeliverEachEventOnce) {
    const char* const seconds = std::getenv("VESK_THREAD_SECONDS");
    const auto time = seconds != nullptr
                          ? std::chrono::milliseconds(std::strtol(seconds, nullptr, 10) * 1000)
                          : std::chrono::milliseconds(200);
    SimHost host(scenarioFor(GetParam(), 40));
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
    const Clock::time_point end = Clock::now() + time;
    for (int thread = 0; thread < 4; ++thread) {
        threads.push_back(std::async(std::launch::async, callUntil, end, healthy));
    }
    unsigned long calls = 0;
    for (std::future<Work>& thread : threads) {
        const Work work = thread.get();
        EXPECT_EQ(work.wrong, std::vector<std::string>());
        delivered.insert(delivered.end(), work.events.begin(), work.events.end());
        calls += work.calls;
    }
    std::sort(delivered.begin(), delivered.end());
    std::vector<unsigned> all;
    for (unsigned number = 1001; number <= 1040; ++number) {
        all.push_back(number);
    }
    EXPECT_EQ(delivered, all);
    std::printf("%lu calls\n", calls);
}

INSTANTIATE_TEST_SUITE_P(Threads, CallsFromThreads, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& logged) {
                             return std::string(logged.param ? "log" : "no_log");
                         });

}  // namespace
