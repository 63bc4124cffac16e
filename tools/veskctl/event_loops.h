// When the library is asked for events: until it has no more, or on and on.
#pragma once

#include "veskctl/event.h"

#include <chrono>
#include <functional>

namespace veskctl {

// What the loops need from outside.
struct EventLoopCalls {
    std::function<EventDelivery()> take;
    // False: stop, somebody wants the program to end, or nobody reads any more. Asked before events
    // are taken, since what was taken and not shown is lost.
    std::function<bool(std::chrono::milliseconds)> pause;
    // Called for each event once, at once. False: stop, it cannot be shown.
    std::function<bool(const Event&)> show;
    std::function<void(const Problem&)> complain;
    std::function<void()> warnOfMore;  // a delivery was full
};

// The library collects events on its own thread, which begins when the library is set up and may
// not be done yet: asks again while nothing comes, for `wait` at most. Then goes on until nothing
// more comes.
void drainEvents(const EventLoopCalls& calls, std::chrono::milliseconds wait);

// Asks at this interval until a pause says stop.
void followEvents(const EventLoopCalls& calls, std::chrono::milliseconds interval);

}  // namespace veskctl
