// Signals that end the program between two pieces of work.
#include "veskctl/process.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>

#include <unistd.h>

namespace veskctl {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kVeryLong(3600'000);

TEST(StopSignals, APauseWithoutASignalPasses) {
    const StopSignals signals;
    EXPECT_TRUE(signals.pause(milliseconds(0), -1));
    EXPECT_FALSE(signals.arrived());
}

TEST(StopSignals, EitherSignalEndsAPause) {
    for (const int signal : {SIGINT, SIGTERM}) {
        const StopSignals signals;
        raise(signal);
        EXPECT_TRUE(signals.arrived());
        EXPECT_FALSE(signals.pause(kVeryLong, -1));
        EXPECT_FALSE(signals.pause(kVeryLong, -1));
    }
}

TEST(StopSignals, AReaderThatHasGoneEndsAPause) {
    std::array<int, 2> ends = {};
    ASSERT_EQ(pipe(ends.data()), 0);
    const StopSignals signals;
    EXPECT_TRUE(signals.pause(milliseconds(0), ends[1]));
    close(ends[0]);
    EXPECT_FALSE(signals.pause(kVeryLong, ends[1]));
    EXPECT_FALSE(signals.arrived());
    close(ends[1]);
}

TEST(StopSignals, ASignalThatWasIgnoredStaysSo) {
    const auto before = std::signal(SIGINT, SIG_IGN);
    {
        const StopSignals signals;
        raise(SIGINT);
        EXPECT_FALSE(signals.arrived());
    }
    std::signal(SIGINT, before);
}

TEST(StopSignals, FormerHandlingComesBack) {
    const auto before = std::signal(SIGTERM, SIG_IGN);
    { const StopSignals signals; }
    EXPECT_EQ(std::signal(SIGTERM, before), SIG_IGN);
}

TEST(StopSignalsDeathTest, TheSecondSignalEndsTheProcess) {
    EXPECT_EXIT(
        {
            const StopSignals signals;
            raise(SIGTERM);
            raise(SIGINT);
        },
        testing::ExitedWithCode(130), "");
}

}  // namespace

}  // namespace veskctl
