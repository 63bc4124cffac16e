#include "sweep.h"

#include "held_memory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

// Of a sanitizer, if there is one.
extern "C" void __sanitizer_set_death_callback(void (*callback)()) __attribute__((weak));

// gcc has it in a library of its own, which knows nothing of that callback and just leaves.
extern "C" __attribute__((visibility("default"))) const char* __ubsan_default_options() {
    return "abort_on_error=1:print_stacktrace=1";
}

namespace vesktest {
namespace {

// Before ctest ends the process with a signal that cannot be caught.
constexpr unsigned kMostSeconds = 60;

// The allocator keeps a few blocks of each size for later: what grows so often is lost.
constexpr int kMostGrowths = 10;

// For the case that the process ends; from a signal handler.
char s_replay[1000] = "";

void tellReplay() {
    const ssize_t ignored = write(STDERR_FILENO, s_replay, std::strlen(s_replay));
    static_cast<void>(ignored);
}

void tellReplayAndEnd(int signalNumber) {
    tellReplay();
    std::signal(signalNumber, SIG_DFL);
    std::raise(signalNumber);
}

void tellReplayWhateverHappens() {
    for (const int fatal : {SIGABRT, SIGALRM, SIGTERM}) {
        std::signal(fatal, tellReplayAndEnd);
    }
    if (&__sanitizer_set_death_callback != nullptr) {
        __sanitizer_set_death_callback(tellReplay);  // its own handlers tell more of the others
        return;
    }
    for (const int fatal : {SIGBUS, SIGFPE, SIGILL, SIGSEGV}) {
        std::signal(fatal, tellReplayAndEnd);
    }
}

std::string replayOf(const Fault& fault) {
    const ::testing::TestInfo& test = *::testing::UnitTest::GetInstance()->current_test_info();
    static const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    return "to replay: VESK_FAULT='" + nameOf(fault) + "' " + program +
           " --gtest_filter=" + test.test_suite_name() + '.' + test.name() + '\n';
}

bool runsAll() {
    return std::getenv("VESK_SWEEP_ALL") != nullptr;
}

class Sweep {
public:
    explicit Sweep(const Steps& steps) : m_steps(steps) {}

    // False if the fault came too late.
    bool run(const Fault& fault) {
        const std::string replay = replayOf(fault);
        SCOPED_TRACE(replay);
        std::snprintf(s_replay, sizeof s_replay, "%s", replay.c_str());
        alarm(kMostSeconds);
        bool triggered = false;
        std::size_t grown = 0;
        int growths = 0;
        // What grows once is a buffer, what grows each time is lost.
        do {
            triggered = runOnce(fault);
            const bool keeps = m_steps.keepsMemory && m_steps.keepsMemory();
            const std::size_t before = m_held;
            m_held = heldMemory();
            grown = keeps || m_held <= before ? 0 : m_held - before;
        } while (grown != 0 && ++growths <= kMostGrowths && !::testing::Test::HasFailure());
        EXPECT_EQ(grown, 0U) << "bytes are lost each time";
        alarm(0);
        s_replay[0] = '\0';
        return triggered;
    }

private:
    bool runOnce(const Fault& fault) {
        m_steps.prepare();
        Injection injection(fault);
        m_steps.run();
        const std::vector<std::string>& failed = injection.failedCalls();
        SCOPED_TRACE(std::to_string(injection.failures()) + " calls failed, first " +
                     (failed.empty() ? "" : failed.front()));
        m_steps.check(injection);
        return injection.triggered();
    }

    const Steps& m_steps;
    std::size_t m_held = heldMemory();
};

}  // namespace

void sweep(const Steps& steps, const Extent& extent) {
    tellReplayWhateverHappens();
    Sweep sweep(steps);
    if (const char* const wanted = std::getenv("VESK_FAULT")) {
        const std::optional<Fault> fault = faultOf(wanted);
        ASSERT_TRUE(fault) << "VESK_FAULT is no fault: " << wanted;
        EXPECT_TRUE(sweep.run(*fault)) << "VESK_FAULT comes too late: " << wanted;
        return;
    }
    unsigned injections = 0;
    const unsigned step = runsAll() ? 1 : extent.step * VESK_SWEEP_STEP;
    for (const FaultKind kind :
         {FaultKind::kMalloc, FaultKind::kNew, FaultKind::kSystem, FaultKind::kPlatform}) {
        if (kind == FaultKind::kNew && !kCanFailNew) {
            continue;
        }
        for (const Repeat repeat : {Repeat::kOnce, Repeat::kTwice, Repeat::kEachLater}) {
            bool triggered = true;
            for (unsigned nth = 1; triggered; nth += step) {
                triggered = sweep.run(Fault{kind, repeat, nth});
                injections += triggered ? 1 : 0;
                if (::testing::Test::HasFailure()) {
                    return;
                }
            }
        }
    }
    std::printf("%u injections\n", injections);
    if (kCanFailNew) {
        // Of those that are left out there is one for each that is run, or fewer at each end.
        EXPECT_GE(injections * VESK_SWEEP_STEP, extent.atLeast);
    }
}

}  // namespace vesktest
