// New events out of looks at a log that is written out by hand.
#include "veskctl/event_reading.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace veskctl {

namespace {

// A log that delivers as the library does: above a number, rising, 64 at most.
class Log {
public:
    void add(std::uint32_t sequence, std::uint32_t time = 1) {
        Event event;
        event.sequence = sequence;
        event.timeRaw = time;
        m_events.push_back(event);
    }

    EventLook look() {
        return [this](std::uint32_t above) {
            asked.push_back(above);
            EventDelivery delivery;
            std::vector<Event> rising = m_events;
            std::sort(rising.begin(), rising.end(), [](const Event& left, const Event& right) {
                return left.sequence < right.sequence;
            });
            for (const Event& event : rising) {
                if (event.sequence > above && delivery.events.size() < 64) {
                    delivery.events.push_back(event);
                }
            }
            delivery.full = delivery.events.size() == 64;
            delivery.reads = reads;
            return delivery;
        };
    }

    std::vector<std::uint32_t> asked;
    LogReads reads = {true, 16, 0};

private:
    std::vector<Event> m_events;
};

std::string numbersOf(const EventReading& reading) {
    std::string text;
    for (const Event& event : reading.events) {
        text += std::to_string(event.sequence) + ' ';
    }
    return text;
}

constexpr auto kOne = EventExtent::OneLook;
constexpr auto kAll = EventExtent::Everything;
constexpr auto kCheck = NumberCheck::Yes;

TEST(EventReading, TakesWhatIsAboveTheMark) {
    Log log;
    for (std::uint32_t number = 1; number <= 5; ++number) {
        log.add(number);
    }
    const EventReading reading = readNewEvents(log.look(), 3, kOne, kCheck);
    EXPECT_EQ(numbersOf(reading), "4 5 ");
    EXPECT_EQ(reading.mark, 3U);
    EXPECT_TRUE(reading.looked);
    EXPECT_FALSE(reading.more);
    EXPECT_FALSE(reading.gap.has_value());
    EXPECT_EQ(log.asked, (std::vector<std::uint32_t>{2, 0}));
}

TEST(EventReading, WithoutAMarkEverythingIsNewAndNothingIsMissing) {
    Log log;
    log.add(7);
    const EventReading reading = readNewEvents(log.look(), 0, kOne, kCheck);
    EXPECT_EQ(numbersOf(reading), "7 ");
    EXPECT_FALSE(reading.gap.has_value());
    EXPECT_EQ(log.asked, std::vector<std::uint32_t>{0});
}

TEST(EventReading, NumbersThatWereOverwrittenAreMissing) {
    Log log;
    log.add(1167);
    log.add(1169);  // 1168 has no code that is reported
    const EventReading reading = readNewEvents(log.look(), 233, kOne, kCheck);
    ASSERT_TRUE(reading.gap.has_value());
    EXPECT_EQ(reading.gap->after, 233U);
    EXPECT_EQ(reading.gap->before, 1167U);
    EXPECT_EQ(reading.gap->missing(), 933U);
}

TEST(EventReading, WhileTheMarksEventIsHeldNothingWasOverwritten) {
    Log log;
    log.add(5);
    log.add(9);
    EXPECT_FALSE(readNewEvents(log.look(), 5, kOne, kCheck).gap.has_value());
}

TEST(EventReading, OneLookOrAll) {
    Log log;
    for (std::uint32_t number = 1; number <= 150; ++number) {
        log.add(number);
    }
    const EventReading one = readNewEvents(log.look(), 0, kOne, kCheck);
    EXPECT_EQ(one.events.size(), 64U);
    EXPECT_TRUE(one.more);
    log.asked.clear();
    const EventReading all = readNewEvents(log.look(), 10, kAll, kCheck);
    EXPECT_EQ(all.events.size(), 140U);
    EXPECT_EQ(all.events.back().sequence, 150U);
    EXPECT_FALSE(all.more);
    EXPECT_EQ(log.asked, (std::vector<std::uint32_t>{9, 73, 137, 0}));
    EXPECT_EQ(readHeldEvents(log.look()).events.size(), 150U);
}

TEST(EventReading, AMarkAboveEverythingIsNoticed) {
    Log log;
    log.add(4);
    EXPECT_TRUE(readNewEvents(log.look(), 100, kOne, kCheck).numbersBeganAnew);
    EXPECT_FALSE(readNewEvents(log.look(), 100, kOne, NumberCheck::No).numbersBeganAnew);
    EXPECT_FALSE(readNewEvents(log.look(), 4, kOne, kCheck).numbersBeganAnew);
}

TEST(EventReading, NumbersThatBeganAnewBesideOldOnesAreNoticed) {
    Log log;
    log.add(99, 1000);
    log.add(100, 1001);
    log.add(1, 2000);
    const EventReading reading = readNewEvents(log.look(), 100, kOne, kCheck);
    EXPECT_TRUE(reading.looked);
    EXPECT_TRUE(reading.numbersBeganAnew);
    EXPECT_EQ(reading.belowMark.size(), 1U);
}

TEST(EventReading, NumbersThatBeganAnewAreNoticedBesideNewOnesAboveTheMark) {
    Log log;
    log.add(100, 1001);
    log.add(101, 1002);
    log.add(1, 2000);
    const EventReading reading = readNewEvents(log.look(), 100, kOne, kCheck);
    EXPECT_EQ(numbersOf(reading), "101 ");
    EXPECT_TRUE(reading.numbersBeganAnew);
    ASSERT_EQ(reading.belowMark.size(), 1U);
    EXPECT_EQ(reading.belowMark[0].sequence, 1U);
}

TEST(EventReading, NumbersAndClockThatBeganAnewAreToldByTheDistance) {
    Log log;
    log.add(40001, 1000);
    log.add(1, 5);
    log.add(2, 6);
    EXPECT_EQ(readNewEvents(log.look(), 40001, kOne, kCheck).belowMark.size(), 2U);
}

TEST(EventReading, OldEventsBelowTheMarkAreNoNewCount) {
    Log log;
    for (std::uint32_t number = 1; number <= 900; ++number) {
        log.add(number, number);
    }
    EXPECT_FALSE(readNewEvents(log.look(), 880, kOne, kCheck).numbersBeganAnew);
    Log timeless;
    timeless.add(4, 1000);
    timeless.add(5, 0);
    EXPECT_FALSE(readNewEvents(timeless.look(), 5, kOne, kCheck).numbersBeganAnew);
}

std::string doubtOf(const EventReading& reading) {
    const std::optional<Problem> doubt = doubtAbout(reading);
    return doubt ? problemName(doubt->kind) : "none";
}

TEST(EventReading, AnEmptyLogThatWasReadIsEmpty) {
    Log log;
    const EventReading reading = readNewEvents(log.look(), 100, kAll, kCheck);
    EXPECT_TRUE(reading.looked);
    EXPECT_FALSE(reading.numbersBeganAnew);
    EXPECT_EQ(doubtOf(reading), "none");
}

TEST(EventReading, ALogOfWhichNothingWasReadIsNotSeen) {
    for (const LogReads& reads :
         {LogReads{false, 0, 0}, LogReads{false, 3, 0}, LogReads{true, 0, 16}}) {
        Log log;
        log.reads = reads;
        EXPECT_EQ(doubtOf(readNewEvents(log.look(), 100, kAll, kCheck)), "events_not_seen");
        EXPECT_EQ(doubtOf(readHeldEvents(log.look())), "events_not_seen");
    }
}

// What lies in the pages that are missing may be anything: also what would fill a gap, or an event
// of the mark.
TEST(EventReading, ALogThatWasReadInPartIsIncompleteAndNothingElseIsConcluded) {
    Log log;
    log.add(1, 2000);
    log.add(40001, 1000);
    log.reads = {true, 2, 14};
    const EventReading reading = readNewEvents(log.look(), 30000, kAll, kCheck);
    EXPECT_EQ(numbersOf(reading), "40001 ");
    EXPECT_FALSE(reading.gap.has_value());
    EXPECT_FALSE(reading.numbersBeganAnew);
    EXPECT_EQ(doubtOf(reading), "events_incomplete");
    EXPECT_EQ(doubtOf(readHeldEvents(log.look())), "events_incomplete");
}

TEST(EventReading, TheContiguousEndIsInFrontOfTheFirstMissingNumber) {
    Log log;
    for (const std::uint32_t number : {3U, 4U, 5U, 7U}) {
        log.add(number);
    }
    EXPECT_EQ(contiguousEnd(readNewEvents(log.look(), 3, kOne, kCheck)), 5U);
    EXPECT_EQ(contiguousEnd(readNewEvents(log.look(), 0, kOne, kCheck)), 0U);
    EXPECT_EQ(contiguousEnd(readNewEvents(log.look(), 7, kOne, kCheck)), 7U);
}

}  // namespace

}  // namespace veskctl
