#include "sweep.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

namespace vesktest {
namespace {

// For the case that the process ends; from a signal handler.
char s_replay[300] = "";

void tellReplay(int signalNumber) {
    const ssize_t ignored = write(STDERR_FILENO, s_replay, std::strlen(s_replay));
    static_cast<void>(ignored);
    std::signal(signalNumber, SIG_DFL);
    std::raise(signalNumber);
}

std::string replayOf(const Fault& fault) {
    const ::testing::TestInfo& test = *::testing::UnitTest::GetInstance()->current_test_info();
    return "to replay: VESK_FAULT='" + nameOf(fault) +
           "' bin/fault_sweep_test --gtest_filter=" + test.test_suite_name() + '.' + test.name() +
           '\n';
}

void runOne(const Steps& steps, const Fault& fault, bool& triggered) {
    const std::string replay = replayOf(fault);
    SCOPED_TRACE(replay);
    std::snprintf(s_replay, sizeof s_replay, "%s", replay.c_str());
    steps.prepare();
    Injection injection(fault);
    steps.run();
    SCOPED_TRACE("failed: " + injection.failedCall());
    triggered = injection.triggered();
    steps.check(injection);
}

unsigned stepOfThisRun() {
    // NOLINTNEXTLINE(bugprone-branch-clone): the build's step may be 1, too
    return std::getenv("VESK_SWEEP_ALL") != nullptr ? 1 : VESK_SWEEP_STEP;
}

}  // namespace

void sweep(const Steps& steps, const Extent& extent) {
    for (const int fatal : {SIGABRT, SIGSEGV}) {
        std::signal(fatal, tellReplay);
    }
    bool triggered = false;
    if (const char* const wanted = std::getenv("VESK_FAULT")) {
        const std::optional<Fault> fault = faultOf(wanted);
        ASSERT_TRUE(fault) << "VESK_FAULT is no fault: " << wanted;
        runOne(steps, *fault, triggered);
        return;
    }
    unsigned injections = 0;
    const unsigned step = extent.step * stepOfThisRun();
    for (const FaultKind kind :
         {FaultKind::kMalloc, FaultKind::kNew, FaultKind::kSystem, FaultKind::kPlatform}) {
        if (kind == FaultKind::kNew && !kCanFailNew) {
            continue;
        }
        for (const Repeat repeat : {Repeat::kOnce, Repeat::kTwice, Repeat::kEachLater}) {
            triggered = true;
            for (unsigned nth = 1; triggered; nth += step) {
                runOne(steps, Fault{kind, repeat, nth}, triggered);
                injections += triggered ? 1 : 0;
                if (::testing::Test::HasFailure()) {
                    return;
                }
            }
        }
    }
    std::printf("%u injections\n", injections);
    if (stepOfThisRun() == 1 && kCanFailNew) {
        EXPECT_GE(injections, extent.atLeast);
    }
}

}  // namespace vesktest
