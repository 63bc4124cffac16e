#include "veskctl/event_loops.h"

#include <algorithm>

namespace veskctl {

namespace {

constexpr std::chrono::milliseconds kFirstEventsPause(50);
constexpr std::chrono::milliseconds kNoTime(0);  // asks only whether to stop
constexpr int kMostRounds = 64;

bool showAll(const EventDelivery& delivery, const EventLoopCalls& calls) {
    return std::all_of(delivery.events.begin(), delivery.events.end(), calls.show);
}

EventDelivery takeFirst(const EventLoopCalls& calls, std::chrono::milliseconds wait) {
    EventDelivery delivery = calls.take();
    while (delivery.events.empty() && !delivery.problem && wait.count() > 0 &&
           calls.pause(std::min(wait, kFirstEventsPause))) {
        wait -= std::min(wait, kFirstEventsPause);
        delivery = calls.take();
    }
    return delivery;
}

}  // namespace

void drainEvents(const EventLoopCalls& calls, std::chrono::milliseconds wait) {
    if (!calls.pause(kNoTime)) {
        return;
    }
    bool full = false;
    EventDelivery delivery = takeFirst(calls, wait);
    for (int round = 1;; ++round) {
        full = full || delivery.full;
        const bool wanted = showAll(delivery, calls);
        if (delivery.problem) {
            // Asking again would only bring the same events.
            calls.complain(*delivery.problem);
            break;
        }
        if (!wanted || delivery.events.empty() || round == kMostRounds || !calls.pause(kNoTime)) {
            break;
        }
        delivery = calls.take();
    }
    if (full) {
        calls.warnOfMore();
    }
}

void followEvents(const EventLoopCalls& calls, std::chrono::milliseconds interval) {
    bool repeating = false;  // the last delivery will come again
    std::uint32_t lastShown = 0;
    for (bool more = calls.pause(kNoTime); more; more = calls.pause(interval)) {
        EventDelivery delivery = calls.take();
        const bool failed = delivery.problem.has_value();
        if (repeating) {
            auto& events = delivery.events;
            events.erase(
                std::remove_if(events.begin(), events.end(),
                               [&](const Event& event) { return event.sequence <= lastShown; }),
                events.end());
        }
        if (!showAll(delivery, calls)) {
            return;
        }
        if (!delivery.events.empty()) {
            lastShown = delivery.events.back().sequence;
            if (delivery.full) {
                calls.warnOfMore();
            }
        }
        if (failed && !repeating) {
            calls.complain(*delivery.problem);
        }
        repeating = failed;
    }
}

}  // namespace veskctl
