// Allocations fail where the harness says, and only there; noise is what it says.
#include "memory_faults.h"

#include "from_library.h"
#include "noise.h"
#include "private_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using vesktest::AllocationSize;
using vesktest::FailMalloc;
using vesktest::FailNew;
using vesktest::Repeat;

// An unlikely size, so that nothing else is counted.
constexpr std::size_t kSize = 54321;

class MemoryFaults : public harness::FromLibrary {};

INSTANTIATE_TEST_SUITE_P(Harness, MemoryFaults, harness::bothLibraries(), harness::libraryName);

}  // namespace

TEST_P(MemoryFaults, MallocFailsOnce) {
    const FailMalloc fail(AllocationSize::exactly(kSize), 2);
    EXPECT_TRUE(calls().canMalloc(kSize));
    EXPECT_FALSE(fail.triggered());
    EXPECT_TRUE(calls().canMalloc(kSize + 1));
    EXPECT_FALSE(calls().canMalloc(kSize));
    EXPECT_TRUE(fail.triggered());
    EXPECT_TRUE(calls().canMalloc(kSize));
    EXPECT_TRUE(calls().canNew(kSize)) << "not its business";
    EXPECT_EQ(fail.seen(), 3U);
}

TEST_P(MemoryFaults, TwoInARowMayFail) {
    const FailMalloc fail(AllocationSize::exactly(kSize), 2, Repeat::kTwice);
    EXPECT_TRUE(calls().canMalloc(kSize));
    EXPECT_FALSE(calls().canMalloc(kSize));
    EXPECT_FALSE(calls().canMalloc(kSize));
    EXPECT_TRUE(calls().canMalloc(kSize));
}

TEST_P(MemoryFaults, CallocCountsTheProduct) {
    const FailMalloc fail(AllocationSize::atLeast(54000), 1, Repeat::kEachLater);
    EXPECT_TRUE(calls().canCalloc(54, 999));
    EXPECT_FALSE(calls().canCalloc(54, 1000));
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_FALSE(calls().canCalloc(1, 60000));
    EXPECT_FALSE(calls().canMalloc(54000));
    EXPECT_EQ(fail.seen(), 3U);
}

TEST_P(MemoryFaults, Nest) {
    const FailMalloc outer(AllocationSize::exactly(kSize), 1);
    {
        const FailMalloc inner(AllocationSize::exactly(kSize), 0);
        EXPECT_TRUE(calls().canMalloc(kSize));
        EXPECT_EQ(inner.seen(), 1U);
        EXPECT_FALSE(inner.triggered());
    }
    EXPECT_FALSE(outer.triggered());
    EXPECT_FALSE(calls().canMalloc(kSize));
    EXPECT_TRUE(outer.triggered());
}

TEST_P(MemoryFaults, StayOnTheirThreadAndEndWithTheirObject) {
    {
        const FailMalloc fail(AllocationSize::exactly(kSize), 1, Repeat::kEachLater);
        bool other = false;
        std::thread([&] { other = calls().canMalloc(kSize); }).join();
        EXPECT_TRUE(other);
        EXPECT_EQ(fail.seen(), 0U);
        EXPECT_FALSE(calls().canMalloc(kSize));
    }
    EXPECT_TRUE(calls().canMalloc(kSize));
    EXPECT_TRUE(calls().canCalloc(1, kSize));
    EXPECT_TRUE(calls().canNew(kSize));
    EXPECT_TRUE(calls().canNewArray(kSize));
}

TEST_P(MemoryFaults, NewFailsOnceOrEachLaterTime) {
    if (!vesktest::kCanFailNew) {
        EXPECT_THROW(FailNew(AllocationSize::exactly(kSize)), std::logic_error);
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    {
        const FailNew fail(AllocationSize::exactly(kSize), 2);
        EXPECT_TRUE(calls().canNew(kSize));
        EXPECT_TRUE(calls().canMalloc(kSize));
        EXPECT_FALSE(calls().canNewArray(kSize));
        EXPECT_TRUE(fail.triggered());
        EXPECT_TRUE(calls().canNewArray(kSize));
        EXPECT_EQ(fail.seen(), 3U);
    }
    const FailNew fail(AllocationSize::exactly(kSize), 1, Repeat::kEachLater);
    EXPECT_FALSE(calls().canNew(kSize));
    EXPECT_FALSE(calls().canNewArray(kSize));
    EXPECT_EQ(::operator new(kSize, std::nothrow), nullptr);
    EXPECT_EQ(fail.seen(), 3U);
}

// A test that counts allocations counts the library's, not those of the redirection.
TEST(RedirectedCalls, DoNotAllocateOnTheirOwn) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    const vesktest::PrivateHost host;
    const std::string path = host.path("/scratch/log/a");
    for (const char* const name : {"/scratch/log/a", path.c_str()}) {
        const FailNew count(AllocationSize::any(), 0);
        EXPECT_EQ(std::fopen(name, "r"), nullptr);
        EXPECT_EQ(count.seen(), 0U);
    }
}

TEST(Noise, IsNonZeroAndTheSameEachTime) {
    const std::vector<std::uint8_t> bytes = vesktest::noise(10000, 1);
    EXPECT_EQ(bytes.size(), 10000U);
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 0), 0);
    EXPECT_EQ(vesktest::noise(10000, 1), bytes);
    EXPECT_NE(vesktest::noise(10000, 2), bytes);
}
