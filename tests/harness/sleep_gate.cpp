#include "sleep_gate.h"

#include "sim/redirect/redirect.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace vesktest {

struct SleepGate::State {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<unsigned> secondsAsked;
    std::size_t permits = 0;
    bool open = false;

    unsigned sleep(unsigned seconds) {
        std::unique_lock<std::mutex> lock(mutex);
        secondsAsked.push_back(seconds);
        changed.notify_all();
        changed.wait(lock, [this] { return open || permits != 0; });
        if (!open) {
            --permits;
        }
        return 0;
    }
};

SleepGate::SleepGate(unsigned leastSeconds) : m_state(std::make_shared<State>()) {
    vesksim::setSleepHandler([state = m_state, leastSeconds](unsigned seconds) {
        if (seconds < leastSeconds) {
            std::this_thread::sleep_for(std::chrono::seconds(seconds));
            return 0U;
        }
        return state->sleep(seconds);
    });
}

SleepGate::~SleepGate() {
    vesksim::setSleepHandler(nullptr);
    releaseAll();
}

bool SleepGate::waitForSleeper(std::size_t count) {
    // A point in time of the system's clock: waiting on the steady clock is reported falsely by
    // some race detectors.
    const auto deadline = std::chrono::system_clock::now() + std::chrono::seconds(30);
    std::unique_lock<std::mutex> lock(m_state->mutex);
    const bool entered = m_state->changed.wait_until(
        lock, deadline, [this, count] { return m_state->secondsAsked.size() >= count; });
    if (!entered) {
        ADD_FAILURE() << "sleep was entered " << m_state->secondsAsked.size()
                      << " times in 30 seconds, not " << count << " times";
    }
    return entered;
}

void SleepGate::release(std::size_t count) {
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->permits += count;
    m_state->changed.notify_all();
}

void SleepGate::releaseAll() {
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->open = true;
    m_state->changed.notify_all();
}

std::vector<unsigned> SleepGate::secondsAsked() const {
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->secondsAsked;
}

}  // namespace vesktest
