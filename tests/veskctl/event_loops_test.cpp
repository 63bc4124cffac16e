// When events are asked for, without a library and without time passing.
#include "veskctl/event_loops.h"

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <vector>

namespace {

using std::chrono::milliseconds;
using veskctl::drainEvents;
using veskctl::Event;
using veskctl::EventDelivery;
using veskctl::EventLoopCalls;
using veskctl::followEvents;
using veskctl::Problem;

EventDelivery of(const std::vector<unsigned>& sequences) {
    EventDelivery delivery;
    for (const unsigned sequence : sequences) {
        Event event;
        event.sequence = sequence;
        delivery.events.push_back(event);
    }
    return delivery;
}

EventDelivery full(const std::vector<unsigned>& sequences) {
    EventDelivery delivery = of(sequences);
    delivery.full = true;
    return delivery;
}

EventDelivery failed(const std::vector<unsigned>& sequences) {
    EventDelivery delivery = of(sequences);
    delivery.problem = Problem();
    return delivery;
}

class EventLoops : public testing::Test {
protected:
    EventLoopCalls calls() {
        EventLoopCalls calls;
        calls.take = [this] {
            ++taken;
            EventDelivery next = deliveries.empty() ? EventDelivery() : deliveries.front();
            if (!deliveries.empty()) {
                deliveries.pop_front();
            }
            return next;
        };
        calls.pause = [this](milliseconds time) {
            pauses.push_back(static_cast<int>(time.count()));
            return pausesLeft-- > 0;
        };
        calls.show = [this](const Event& event) {
            shown.push_back(event.sequence);
            return shown.size() < showable;
        };
        calls.complain = [this](const Problem&) {
            ++complaints;
        };
        calls.warnOfMore = [this] {
            ++warnings;
        };
        return calls;
    }

    std::deque<EventDelivery> deliveries;
    int pausesLeft = 1000;
    std::size_t showable = 1000;
    int taken = 0;
    std::vector<int> pauses;
    std::vector<unsigned> shown;
    int complaints = 0;
    int warnings = 0;
};

using Sequences = std::vector<unsigned>;

TEST_F(EventLoops, DrainsUntilNothingComes) {
    deliveries = {of({1, 2}), of({3}), of({}), of({4})};
    drainEvents(calls(), milliseconds(2000));
    EXPECT_EQ(shown, (Sequences{1, 2, 3}));
    EXPECT_EQ(taken, 3);
    EXPECT_EQ(warnings, 0);
}

TEST_F(EventLoops, WaitsForTheFirstEvents) {
    deliveries = {of({}), of({}), of({7})};
    drainEvents(calls(), milliseconds(2000));
    EXPECT_EQ(shown, Sequences{7});
    EXPECT_EQ(pauses, (std::vector<int>{0, 50, 50, 0}));
}

TEST_F(EventLoops, WaitsNoLongerThanAsked) {
    drainEvents(calls(), milliseconds(120));
    EXPECT_EQ(pauses, (std::vector<int>{0, 50, 50, 20}));
    EXPECT_EQ(taken, 4);
    EXPECT_TRUE(shown.empty());
}

TEST_F(EventLoops, AsksOnceWithoutAWait) {
    drainEvents(calls(), milliseconds(0));
    EXPECT_EQ(taken, 1);
}

TEST_F(EventLoops, StopsAfterSixtyFourRounds) {
    deliveries.assign(100, of({1}));
    drainEvents(calls(), milliseconds(0));
    EXPECT_EQ(shown.size(), 64U);
}

TEST_F(EventLoops, WarnsOnceOfMore) {
    deliveries = {full({1}), full({2})};
    drainEvents(calls(), milliseconds(0));
    EXPECT_EQ(warnings, 1);
}

TEST_F(EventLoops, AMarkThatWasNotStoredEndsTheDraining) {
    deliveries = {failed({1, 2}), failed({1, 2})};
    drainEvents(calls(), milliseconds(0));
    EXPECT_EQ(shown, (Sequences{1, 2}));
    EXPECT_EQ(complaints, 1);
    EXPECT_EQ(taken, 1);
}

TEST_F(EventLoops, ASignalEndsTheDrainingBetweenDeliveries) {
    deliveries = {of({1}), of({2})};
    pausesLeft = 1;
    drainEvents(calls(), milliseconds(2000));
    EXPECT_EQ(shown, Sequences{1});
    EXPECT_EQ(taken, 1);
}

TEST_F(EventLoops, NothingIsTakenForAReaderThatHasGone) {
    deliveries = {of({1})};
    pausesLeft = 0;
    drainEvents(calls(), milliseconds(2000));
    followEvents(calls(), milliseconds(1000));
    EXPECT_EQ(taken, 0);
}

TEST_F(EventLoops, FollowsUntilToldToStop) {
    deliveries = {of({1}), of({}), of({2, 3})};
    pausesLeft = 4;
    followEvents(calls(), milliseconds(3000));
    EXPECT_EQ(shown, (Sequences{1, 2, 3}));
    EXPECT_EQ(taken, 4);
    EXPECT_EQ(pauses, (std::vector<int>{0, 3000, 3000, 3000, 3000}));
}

TEST_F(EventLoops, FollowingShowsNothingTwiceWhileTheMarkCannotBeStored) {
    deliveries = {failed({1, 2}), failed({1, 2}), failed({1, 2, 3}), of({1, 2, 3, 4}), of({5})};
    pausesLeft = 5;
    followEvents(calls(), milliseconds(1000));
    EXPECT_EQ(shown, (Sequences{1, 2, 3, 4, 5}));
    EXPECT_EQ(complaints, 1);
}

// Somebody set the mark back on purpose.
TEST_F(EventLoops, FollowingShowsLowerNumbersAgainIfTheMarkWasStored) {
    deliveries = {of({8, 9}), of({1})};
    pausesLeft = 2;
    followEvents(calls(), milliseconds(1000));
    EXPECT_EQ(shown, (Sequences{8, 9, 1}));
}

TEST_F(EventLoops, FollowingEndsWhereEventsCannotBeShown) {
    deliveries = {of({1, 2, 3}), of({4})};
    showable = 2;
    followEvents(calls(), milliseconds(1000));
    EXPECT_EQ(shown, (Sequences{1, 2}));
    EXPECT_EQ(taken, 1);
}

TEST_F(EventLoops, FollowingWarnsAtEachFullDelivery) {
    deliveries = {full({1}), of({2}), full({3})};
    pausesLeft = 3;
    followEvents(calls(), milliseconds(1000));
    EXPECT_EQ(warnings, 2);
}

}  // namespace
