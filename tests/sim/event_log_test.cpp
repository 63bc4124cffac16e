// The event log as it grows, by a clock that is moved by hand.
#include "raw_host.h"

#include <algorithm>
#include <set>
#include <thread>

using simtest::Bytes;
using simtest::eventRead;
using simtest::Lines;
using simtest::text;
using simtest::withEvents;
using vesksim::Event;
using vesksim::Scenario;

namespace {

using EventGrowth = simtest::RawHost;

Event driveRemoved() {
    Event event;
    event.deviceId = 1;
    event.eventId = 102;
    event.eventClass = "PD";
    event.description = "Drive removed";
    event.severity = "CRITICAL";
    return event;
}

Scenario storm(std::uint64_t seed) {
    Scenario scenario = withEvents({});
    auto& random = scenario.adapters[0].randomEvents.emplace();
    random.seed = seed;
    random.meanIntervalSeconds = 1;
    return scenario;
}

TEST_F(EventGrowth, LinesStandBehindTheHeaderAndNulsBehindThem) {
    load(withEvents({"first", "[SEQ]2"}));
    const Bytes page = area();
    EXPECT_EQ(text(page, 40, 13), "first\n[SEQ]2\n");
    EXPECT_TRUE(std::all_of(page.begin() + 53, page.begin() + 4096, [](int b) { return b == 0; }));
}

TEST_F(EventGrowth, ScheduledEventsComeAtTheirTime) {
    load(withEvents({"[SEQ]41[MSG]NVMe_a_INFO"},
                    {{20, "[SEQ]900"}, {10, driveRemoved()}, {30, driveRemoved()}}));
    EXPECT_EQ(lines(), (Lines{"[SEQ]41[MSG]NVMe_a_INFO"}));
    moveTo(9.99);
    EXPECT_EQ(lines().size(), 1U);
    moveTo(10);
    EXPECT_EQ(lines(), (Lines{"[SEQ]41[MSG]NVMe_a_INFO",
                              "[SEQ]42[TIME]1790000110[EVT_ID]0x66[DEV_ID]1[MSG]PD_Drive "
                              "removed_CRITICAL"}));
    moveTo(1000);
    const Lines all = lines();
    ASSERT_EQ(all.size(), 4U);
    EXPECT_EQ(all[2], "[SEQ]900");
    EXPECT_EQ(all[3],
              "[SEQ]901[TIME]1790000130[EVT_ID]0x66[DEV_ID]1[MSG]PD_Drive removed_CRITICAL");
    moveTo(0);
    EXPECT_EQ(lines().size(), 4U) << "time that goes back takes nothing away";
}

TEST_F(EventGrowth, EventsMayHaveNumbersAndTimesOfTheirOwn) {
    Event event = driveRemoved();
    event.sequence = 4294967295;
    event.time = 7;
    load(withEvents({event, driveRemoved()}));
    EXPECT_EQ(lines(),
              (Lines{"[SEQ]4294967295[TIME]7[EVT_ID]0x66[DEV_ID]1[MSG]PD_Drive removed_CRITICAL",
                     "[SEQ]0[TIME]1790000100[EVT_ID]0x66[DEV_ID]1[MSG]PD_Drive removed_CRITICAL"}));
}

TEST_F(EventGrowth, OneLookSeesOneStateOfTheLog) {
    load(withEvents({}, {{5, "late"}}));
    moveTo(5);
    EXPECT_NE(text(send(eventRead(16, 64)).data, 24, 4), "late");
    EXPECT_EQ(text(send(eventRead(0, 64)).data, 40, 4), "late");
    EXPECT_EQ(text(send(eventRead(16, 64)).data, 24, 4), "late");
}

TEST_F(EventGrowth, OnlyWhatIsAskedForArrives) {
    const Bytes data = send(eventRead(40, 16)).data;
    EXPECT_EQ(text(data, 0, 16), "[SEQ]1[TIME]1790");
    EXPECT_EQ(data[16], 0xA5);
}

TEST_F(EventGrowth, BehindTheAreaAreZeros) {
    load(withEvents(std::vector<vesksim::EventEntry>(16, std::string(4055, 'x'))));
    const Bytes carry = send(eventRead(0xFFF8, 16)).data;
    EXPECT_EQ(text(carry, 0, 8), "xxxxxxx\n");
    EXPECT_EQ(text(carry, 8, 8), std::string(8, '\0'));
    EXPECT_EQ(send(eventRead(0x10000, 4096)).data, Bytes(4096, 0));
    EXPECT_EQ(send(eventRead(0xFFFFFFF0, 4096)).data, Bytes(4096, 0));
}

TEST_F(EventGrowth, OldestPageGoesWhenTheLastIsFull) {
    std::vector<vesksim::EventEntry> events;
    for (int page = 0; page < 16; ++page) {
        events.emplace_back(std::string(2026, static_cast<char>('A' + page)));
        events.emplace_back(std::string(2027, static_cast<char>('a' + page)));
    }
    load(withEvents(events, {{1, "one more"}, {2, "and one"}, {3, std::string(4055, '3')}}));
    EXPECT_EQ(lines().size(), 32U);

    moveTo(1);
    Lines all = lines();
    ASSERT_EQ(all.size(), 31U);
    EXPECT_EQ(all[0], "one more") << "in the place of page 0";
    EXPECT_EQ(all[1], std::string(2026, 'B'));
    EXPECT_EQ(all[30], std::string(2027, 'p'));

    moveTo(3);
    all = lines();
    ASSERT_EQ(all.size(), 31U);
    EXPECT_EQ(all[1], "and one");
    EXPECT_EQ(all[2], std::string(4055, '3'));
    EXPECT_EQ(all[3], std::string(2026, 'C'));
}

TEST_F(EventGrowth, EqualSeedsMakeEqualLogsAndOthersDoNot) {
    load(storm(7));
    moveTo(100);
    const Bytes first = area();
    load(storm(7));
    for (int step = 1; step <= 10; ++step) {
        moveTo(step * 10);
        lines();
    }
    EXPECT_EQ(area(), first) << "in how many steps time passes has no effect";
    load(storm(8));
    moveTo(100);
    EXPECT_NE(area(), first);
}

TEST_F(EventGrowth, RandomEventsAreTheSameEverywhere) {
    load(storm(7));
    moveTo(5);
    EXPECT_EQ(lines(),
              (Lines{"[SEQ]1[TIME]1790000100[EVT_ID]0x1[DEV_ID]0[MSG]NVMe_Controller started_INFO",
                     "[SEQ]2[TIME]1790000101[EVT_ID]0xC9[DEV_ID]0[MSG]VD_Volume optimal_INFO",
                     "[SEQ]3[TIME]1790000101[EVT_ID]0x68[DEV_ID]1[MSG]PD_Drive health alert_MAJOR",
                     "[SEQ]4[TIME]1790000102[EVT_ID]0xC9[DEV_ID]0[MSG]VD_Volume optimal_INFO",
                     "[SEQ]5[TIME]1790000104[EVT_ID]0x66[DEV_ID]1[MSG]PD_Drive removed_CRITICAL"}));
}

TEST_F(EventGrowth, RandomEventsComeAboutAsOftenAsAsked) {
    load(storm(1));
    moveTo(300);
    const std::size_t count = lines().size();
    EXPECT_GT(count, 250U);
    EXPECT_LT(count, 350U);
}

TEST_F(EventGrowth, ALongBreakBringsTheEventsOfOneHour) {
    load(storm(1));
    moveTo(1e9);
    unsigned long newest = 0;  // somewhere inside, as the area is a ring
    for (const std::string& line : lines()) {
        newest = std::max(newest, std::stoul(line.substr(5)));
    }
    EXPECT_GT(newest, 3400U);
    EXPECT_LT(newest, 3800U);
}

TEST_F(EventGrowth, SharesOfUnmappedEvents) {
    Scenario scenario = storm(1);
    scenario.adapters[0].randomEvents->initialCount = 200;
    scenario.adapters[0].randomEvents->unmappedPercent = 100;
    load(scenario);
    ASSERT_EQ(lines().size(), 200U);
    std::set<std::string> codes;
    for (const std::string& line : lines()) {
        const std::size_t at = line.find("[EVT_ID]");
        codes.insert(line.substr(at, line.find("[DEV_ID]") - at));
    }
    EXPECT_EQ(codes, (std::set<std::string>{"[EVT_ID]0x7", "[EVT_ID]0x96", "[EVT_ID]0xFA",
                                            "[EVT_ID]0x12D", "[EVT_ID]0x191"}));
}

TEST_F(EventGrowth, AnUpdateKeepsTheLogUnlessItIsAboutEvents) {
    Scenario scenario = storm(1);
    scenario.adapters[0].eventSchedule = {{2, "kept"}};
    load(scenario);
    moveTo(2);
    const Lines before = lines();
    EXPECT_EQ(std::count(before.begin(), before.end(), "kept"), 1);

    scenario.adapters[0].disks[0].status = 33;
    host().update(scenario);
    EXPECT_EQ(lines(), before);

    scenario.adapters[0].randomEvents.reset();
    scenario.adapters[0].eventSchedule = {{3, "new"}};
    host().update(scenario);
    EXPECT_EQ(lines(), Lines{});
    moveTo(4.9);
    EXPECT_EQ(lines(), Lines{}) << "the new log begins at the update";
    moveTo(5);
    EXPECT_EQ(lines(), Lines{"new"});
}

TEST_F(EventGrowth, ALoadForgetsTheClock) {
    const Scenario scenario = withEvents({}, {{1e6, "far off"}});
    load(scenario);
    moveTo(2e6);
    EXPECT_EQ(lines().size(), 1U);
    host().load(scenario);
    EXPECT_EQ(lines().size(), 0U);
}

TEST_F(EventGrowth, ManyThreadsMayLookWhileItGrows) {
    load(storm(1));
    std::vector<std::thread> readers;
    for (int i = 0; i < 4; ++i) {
        readers.emplace_back([this] {
            simtest::Connection connection;
            for (int step = 1; step <= 20; ++step) {
                moveTo(step * 10);
                connection.area();
            }
        });
    }
    for (std::thread& reader : readers) {
        reader.join();
    }
    const Bytes grown = area();
    load(storm(1));
    moveTo(200);
    EXPECT_EQ(area(), grown);
}

}  // namespace
