// What a sweep says when something is wrong.
#include "sweep.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace {

using namespace vesktest;

// One call of malloc, behind which comes `more`.
Steps oneAllocation(std::function<void()> more) {
    return {[] {},
            [] {
                const InLibrary inside;
                void* volatile block = std::malloc(100);
                std::free(block);
            },
            [more = std::move(more)](const Injection&) {
                more();
            }};
}

TEST(Sweep, ReplayOfAFaultThatComesTooLateFails) {
    const Steps steps = oneAllocation([] {});
    setenv("VESK_FAULT", "malloc once 1", 1);
    sweep(steps, {1});
    setenv("VESK_FAULT", "malloc once 2", 1);
    EXPECT_NONFATAL_FAILURE(sweep(steps, {1}), "comes too late");
}

TEST(Sweep, MemoryThatIsLostWithEachFaultFails) {
    std::vector<std::unique_ptr<char[]>> kept;
    kept.reserve(1000);
    const Steps loses = oneAllocation([&kept] { kept.emplace_back(new char[5000]); });
    setenv("VESK_FAULT", "malloc once 1", 1);
    EXPECT_NONFATAL_FAILURE(sweep(loses, {1}), "bytes are lost each time");

    std::unique_ptr<char[]> buffer;
    sweep(oneAllocation([&buffer] {
              if (buffer == nullptr) {
                  buffer.reset(new char[5000]);
              }
          }),
          {1});
}

// However a process ends.
TEST(SweepDeathTest, ReplayIsTold) {
    const char* const replay = "to replay: VESK_FAULT='malloc once 1' bin/fault_sweep_test "
                               "--gtest_filter=SweepDeathTest.ReplayIsTold";
    for (const int fatal : {SIGABRT, SIGALRM, SIGSEGV, SIGTERM}) {
        EXPECT_DEATH(sweep(oneAllocation([fatal] { std::raise(fatal); }), {1}), replay) << fatal;
    }
#if defined(__SANITIZE_ADDRESS__)
    EXPECT_DEATH(sweep(oneAllocation([] {
                           const std::vector<char> room(3);
                           volatile const char* const begin = room.data();
                           static_cast<void>(begin[3]);
                       }),
                       {1}),
                 replay);
    EXPECT_DEATH(sweep(oneAllocation([] {
                           volatile int most = 2147483647;
                           // cppcheck-suppress integerOverflow ; that is what is to be found
                           most = most + 1;
                       }),
                       {1}),
                 replay);
#endif
}

}  // namespace
