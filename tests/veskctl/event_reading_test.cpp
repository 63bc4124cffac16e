// New events out of looks at a log that is written out by hand.
#include "veskctl/event_reading.h"

#include <gtest/gtest.h>

#include <algorithm>
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
            return delivery;
        };
    }

    std::vector<std::uint32_t> asked;

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
constexpr auto kCheck = NumberCheck::IfNothingIsNew;

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
    EXPECT_EQ(log.asked, std::vector<std::uint32_t>{2});
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
    EXPECT_EQ(log.asked, (std::vector<std::uint32_t>{9, 73, 137}));
    EXPECT_EQ(readHeldEvents(log.look()).events.size(), 150U);
}

TEST(EventReading, AMarkAboveEverythingIsNoticed) {
    Log log;
    log.add(4);
    EXPECT_TRUE(readNewEvents(log.look(), 100, kOne, kCheck).numbersBeganAnew);
    EXPECT_TRUE(readNewEvents(log.look(), 100, kOne, NumberCheck::IfMarkIsGone).numbersBeganAnew);
    EXPECT_FALSE(readNewEvents(log.look(), 100, kOne, NumberCheck::Never).numbersBeganAnew);
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
    EXPECT_FALSE(readNewEvents(log.look(), 100, kOne, NumberCheck::IfMarkIsGone).numbersBeganAnew);
}

TEST(EventReading, AnEmptyLogShowsNothing) {
    Log log;
    const EventReading reading = readNewEvents(log.look(), 100, kAll, kCheck);
    EXPECT_FALSE(reading.looked);
    EXPECT_FALSE(reading.numbersBeganAnew);
}

}  // namespace

}  // namespace veskctl
