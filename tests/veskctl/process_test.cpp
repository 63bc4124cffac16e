// The standard streams, and signals that end the program between two pieces of work.
#include "veskctl/process.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace veskctl {

namespace {

using std::chrono::milliseconds;

// In processes of their own, since gtest needs its output.

bool closedStreamsFail() {
    close(STDIN_FILENO);
    close(STDOUT_FILENO);
    prepareStandardStreams();
    char byte = 0;
    return fcntl(STDIN_FILENO, F_GETFD) != -1 && read(STDIN_FILENO, &byte, 1) == -1 &&
           fcntl(STDOUT_FILENO, F_GETFD) != -1 && write(STDOUT_FILENO, &byte, 1) == -1 &&
           !standardOutputIsOpen();
}

TEST(StandardStreamsDeathTest, ClosedOnesAreTakenByDescriptorsThatFail) {
    EXPECT_EXIT(_exit(closedStreamsFail() ? 0 : 1), testing::ExitedWithCode(0), "");
}

bool writesToNobody() {
    std::array<int, 2> ends = {};
    const bool made = pipe(ends.data()) == 0 && dup2(ends[1], STDOUT_FILENO) != -1;
    close(ends[0]);
    prepareStandardStreams();
    return made && standardOutputIsOpen() && writeAndFlush(stdout, "text") == EPIPE;
}

TEST(StandardStreamsDeathTest, AReaderThatHasGoneEndsNoProcess) {
    EXPECT_EXIT(_exit(writesToNobody() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(StandardStreams, WritingSaysWhyItFailed) {
    std::FILE* full = std::fopen("/dev/full", "w");
    ASSERT_NE(full, nullptr);
    EXPECT_EQ(writeAndFlush(full, "text"), ENOSPC);
    EXPECT_EQ(writeAndFlush(full, ""), 0);
    std::fclose(full);
}

constexpr milliseconds kVeryLong(3600'000);

TEST(StopSignals, APauseWithoutASignalPasses) {
    const StopSignals signals;
    EXPECT_TRUE(signals.pause(milliseconds(0), -1));
    EXPECT_FALSE(signals.arrived());
}

TEST(StopSignals, EachSignalEndsAPause) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
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
