// When events are asked for, without a library and without time passing.
#include "veskctl/event_loops.h"

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <vector>

namespace veskctl {

namespace {

using std::chrono::milliseconds;
using Sequences = std::vector<unsigned>;

EventDelivery of(const Sequences& sequences) {
    EventDelivery delivery;
    for (const unsigned sequence : sequences) {
        delivery.events.emplace_back().sequence = sequence;
    }
    return delivery;
}

EventDelivery full(const Sequences& sequences) {
    EventDelivery delivery = of(sequences);
    delivery.full = true;
    return delivery;
}

EventDelivery failed(const Sequences& sequences) {
    EventDelivery delivery = of(sequences);
    delivery.problem = Problem();
    return delivery;
}

struct Outcome {
    Sequences shown;
    int taken = 0;
    std::vector<int> pauses;  // in milliseconds
    int complaints = 0;
    int warnings = 0;
};

// What the world does to a loop.
struct World {
    std::deque<EventDelivery> deliveries;
    int pauses = 1000;            // the next one says stop
    std::size_t showable = 1000;  // the next event cannot be shown
};

EventLoopCalls callsInto(World& world, Outcome& outcome) {
    EventLoopCalls calls;
    calls.take = [&] {
        ++outcome.taken;
        EventDelivery next = world.deliveries.empty() ? EventDelivery() : world.deliveries.front();
        if (!world.deliveries.empty()) {
            world.deliveries.pop_front();
        }
        return next;
    };
    calls.pause = [&](milliseconds time) {
        outcome.pauses.push_back(static_cast<int>(time.count()));
        return world.pauses-- > 0;
    };
    calls.show = [&](const Event& event) {
        outcome.shown.push_back(event.sequence);
        return outcome.shown.size() < world.showable;
    };
    calls.complain = [&](const Problem&) {
        ++outcome.complaints;
    };
    calls.warnOfMore = [&] {
        ++outcome.warnings;
    };
    return calls;
}

Outcome drained(World world, int wait) {
    Outcome outcome;
    drainEvents(callsInto(world, outcome), milliseconds(wait));
    return outcome;
}

Outcome followed(World world, int interval) {
    Outcome outcome;
    followEvents(callsInto(world, outcome), milliseconds(interval));
    return outcome;
}

TEST(DrainEvents, GoesOnUntilNothingComes) {
    const Outcome outcome = drained({{of({1, 2}), of({3}), of({}), of({4})}}, 2000);
    EXPECT_EQ(outcome.shown, (Sequences{1, 2, 3}));
    EXPECT_EQ(outcome.taken, 3);
    EXPECT_EQ(outcome.warnings, 0);
}

TEST(DrainEvents, WaitsForTheFirstEventsAndNoLongerThanAsked) {
    const Outcome late = drained({{of({}), of({}), of({7})}}, 2000);
    EXPECT_EQ(late.shown, Sequences{7});
    EXPECT_EQ(late.pauses, (std::vector<int>{0, 50, 50, 0}));
    const Outcome never = drained({}, 120);
    EXPECT_EQ(never.pauses, (std::vector<int>{0, 50, 50, 20}));
    EXPECT_EQ(never.taken, 4);
    EXPECT_EQ(never.shown, Sequences());
    EXPECT_EQ(drained({}, 0).taken, 1);
}

TEST(DrainEvents, StopsAfterSixtyFourRounds) {
    EXPECT_EQ(drained({std::deque<EventDelivery>(100, of({1}))}, 0).shown.size(), 64U);
}

TEST(DrainEvents, WarnsOnceOfMore) {
    EXPECT_EQ(drained({{full({1}), full({2})}}, 0).warnings, 1);
}

TEST(DrainEvents, EndsWhereTheMarkWasNotStored) {
    const Outcome outcome = drained({{failed({1, 2}), failed({1, 2})}}, 0);
    EXPECT_EQ(outcome.shown, (Sequences{1, 2}));
    EXPECT_EQ(outcome.complaints, 1);
    EXPECT_EQ(outcome.taken, 1);
}

TEST(DrainEvents, EndsBetweenDeliveriesAtASignal) {
    const Outcome outcome = drained({{of({1}), of({2})}, 1}, 2000);
    EXPECT_EQ(outcome.shown, Sequences{1});
    EXPECT_EQ(outcome.taken, 1);
}

TEST(EventLoops, NothingIsTakenForAReaderThatHasGone) {
    EXPECT_EQ(drained({{of({1})}, 0}, 2000).taken, 0);
    EXPECT_EQ(followed({{of({1})}, 0}, 1000).taken, 0);
}

TEST(FollowEvents, GoesOnUntilToldToStop) {
    const Outcome outcome = followed({{of({1}), of({}), of({2, 3})}, 4}, 3000);
    EXPECT_EQ(outcome.shown, (Sequences{1, 2, 3}));
    EXPECT_EQ(outcome.taken, 4);
    EXPECT_EQ(outcome.pauses, (std::vector<int>{0, 3000, 3000, 3000, 3000}));
}

TEST(FollowEvents, ShowsNothingTwiceWhileTheMarkCannotBeStored) {
    const Outcome outcome = followed(
        {{failed({1, 2}), failed({1, 2}), failed({1, 2, 3}), of({1, 2, 3, 4}), of({5})}, 5}, 1000);
    EXPECT_EQ(outcome.shown, (Sequences{1, 2, 3, 4, 5}));
    EXPECT_EQ(outcome.complaints, 1);
}

// Somebody set the mark back on purpose.
TEST(FollowEvents, ShowsLowerNumbersAgainIfTheMarkWasStored) {
    EXPECT_EQ(followed({{of({8, 9}), of({1})}, 2}, 1000).shown, (Sequences{8, 9, 1}));
}

TEST(FollowEvents, EndsWhereEventsCannotBeShown) {
    const Outcome outcome = followed({{of({1, 2, 3}), of({4})}, 1000, 2}, 1000);
    EXPECT_EQ(outcome.shown, (Sequences{1, 2}));
    EXPECT_EQ(outcome.taken, 1);
}

TEST(FollowEvents, WarnsAtEachFullDelivery) {
    EXPECT_EQ(followed({{full({1}), of({2}), full({3})}, 3}, 1000).warnings, 2);
}

}  // namespace

}  // namespace veskctl
