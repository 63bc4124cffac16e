// Holds the sleep()s of the process until the test lets them go, so that a test steps a thread that
// works at intervals. Any thread may sleep; the other operations belong to the test.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace vesktest {

class SleepGate {
public:
    // Sleeps of fewer seconds are neither held nor counted: others' threads sleep, too.
    explicit SleepGate(unsigned leastSeconds = 0);
    ~SleepGate();  // lets go of all sleepers; the real sleep() is back
    SleepGate(const SleepGate&) = delete;
    SleepGate& operator=(const SleepGate&) = delete;

    // Waits until sleep() was entered `count` times since the gate was made. After 30 seconds the
    // test fails and the result is false.
    bool waitForSleeper(std::size_t count);

    // Ends this many sleeps with the result 0: those of now, then those to come.
    void release(std::size_t count = 1);

    // From now on every sleep ends at once.
    void releaseAll();

    // What each sleep was asked for, in the order of entering.
    std::vector<unsigned> secondsAsked() const;

private:
    struct State;
    std::shared_ptr<State> m_state;  // shared with the sleepers, which may leave after us
};

}  // namespace vesktest
