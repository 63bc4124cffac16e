// What a sweep says when something is wrong.
#include "sweep.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// Compilers say so in two ways.
#if defined(__SANITIZE_ADDRESS__)
#define VESK_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VESK_ADDRESS_SANITIZER
#endif
#endif

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

// It can be typed as it is, in any folder.
TEST(Sweep, ReplayNamesTheProgramThatRuns) {
    setenv("VESK_FAULT", "malloc once 1", 1);
    ::testing::TestPartResultArray results;
    {
        const ::testing::ScopedFakeTestPartResultReporter reporter(
            ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
        sweep(oneAllocation([] { ADD_FAILURE() << "found"; }), {1});
    }
    ASSERT_GE(results.size(), 1);
    const std::string told = results.GetTestPartResult(0).message();
    const std::string begin = "to replay: VESK_FAULT='malloc once 1' /";
    const std::size_t at = told.find(begin);
    const std::size_t end = told.find(" --gtest_filter=Sweep.ReplayNamesTheProgramThatRuns\n", at);
    ASSERT_TRUE(at != std::string::npos && end != std::string::npos) << told;
    const std::size_t path = at + begin.size() - 1;
    EXPECT_TRUE(std::filesystem::equivalent(told.substr(path, end - path), "/proc/self/exe"))
        << told;
}

// However a process ends.
TEST(SweepDeathTest, ReplayIsTold) {
    const char* const replay = "to replay: VESK_FAULT='malloc once 1' /.*/fault_sweep_test "
                               "--gtest_filter=SweepDeathTest.ReplayIsTold";
    for (const int fatal : {SIGABRT, SIGALRM, SIGSEGV, SIGTERM}) {
        EXPECT_DEATH(sweep(oneAllocation([fatal] { std::raise(fatal); }), {1}), replay) << fatal;
    }
#if defined(VESK_ADDRESS_SANITIZER)
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
