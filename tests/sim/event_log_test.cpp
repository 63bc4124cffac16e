// The event log as it grows, by a clock that is moved by hand.
#include "raw_host.h"

#include "sim/host/simulated_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

using simtest::Bytes;
using simtest::Connection;
using vesksim::Event;
using vesksim::RandomEvents;
using vesksim::Scenario;
using vesksim::SimulatedHost;

namespace {

class EventGrowth : public ::testing::Test {
protected:
    ~EventGrowth() override { SimulatedHost::instance().load({}); }

    void load(const Scenario& scenario) {
        SimulatedHost::instance().load(scenario);
        SimulatedHost::instance().setClock([this] { return m_seconds.load(); });
    }
    void moveTo(double seconds) { m_seconds = seconds; }

    std::vector<std::string> lines() {
        Connection connection;
        return connection.readableLines();
    }
    Bytes area() {
        Connection connection;
        return connection.area();
    }

private:
    std::atomic<double> m_seconds = 0;
};

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
    Scenario scenario;
    scenario.adapters[0].events.clear();
    RandomEvents random;
    random.seed = seed;
    random.meanIntervalSeconds = 1;
    scenario.adapters[0].randomEvents = random;
    return scenario;
}

TEST_F(EventGrowth, LinesStandBehindTheHeaderAndNulsBehindThem) {
    Scenario scenario;
    scenario.adapters[0].events = {"first", "[SEQ]2"};
    load(scenario);
    const Bytes page = area();
    EXPECT_EQ(simtest::text(page, 40, 13), "first\n[SEQ]2\n");
    EXPECT_TRUE(std::all_of(page.begin() + 53, page.begin() + 4096, [](int b) { return b == 0; }));
}

TEST_F(EventGrowth, ScheduledEventsComeAtTheirTime) {
    Scenario scenario;
    scenario.adapters[0].events = {"[SEQ]41[MSG]NVMe_a_INFO"};
    scenario.adapters[0].eventSchedule = {
        {20, "[SEQ]900"}, {10, driveRemoved()}, {30, driveRemoved()}};
    load(scenario);
    EXPECT_EQ(lines(), (std::vector<std::string>{"[SEQ]41[MSG]NVMe_a_INFO"}));
    moveTo(9.99);
    EXPECT_EQ(lines().size(), 1U);
    moveTo(10);
    EXPECT_EQ(lines(),
              (std::vector<std::string>{"[SEQ]41[MSG]NVMe_a_INFO",
                                        "[SEQ]42[TIME]1790000110[EVT_ID]0x66[DEV_ID]1[MSG]PD_Drive "
                                        "removed_CRITICAL"}));
    moveTo(1000);
    const std::vector<std::string> all = lines();
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
    Scenario scenario;
    scenario.adapters[0].events = {event, driveRemoved()};
    load(scenario);
    EXPECT_EQ(lines(),
              (std::vector<std::string>{
                  "[SEQ]4294967295[TIME]7[EVT_ID]0x66[DEV_ID]1[MSG]PD_Drive removed_CRITICAL",
                  "[SEQ]0[TIME]1790000100[EVT_ID]0x66[DEV_ID]1[MSG]PD_Drive removed_CRITICAL"}));
}

TEST_F(EventGrowth, OneLookSeesOneStateOfTheLog) {
    Scenario scenario;
    scenario.adapters[0].events.clear();
    scenario.adapters[0].eventSchedule = {{5, "late"}};
    load(scenario);
    Connection connection;
    moveTo(5);
    EXPECT_NE(simtest::text(connection.send(simtest::eventRead(16, 64)).data, 24, 4), "late");
    EXPECT_EQ(simtest::text(connection.send(simtest::eventRead(0, 64)).data, 40, 4), "late");
    EXPECT_EQ(simtest::text(connection.send(simtest::eventRead(16, 64)).data, 24, 4), "late");
}

TEST_F(EventGrowth, OnlyWhatIsAskedForArrives) {
    load({});
    Connection connection;
    const Bytes data = connection.send(simtest::eventRead(40, 16)).data;
    EXPECT_EQ(simtest::text(data, 0, 16), "[SEQ]1[TIME]1790");
    EXPECT_EQ(data[16], 0xA5);
}

TEST_F(EventGrowth, BehindTheAreaAreZeros) {
    Scenario scenario;
    scenario.adapters[0].events.assign(16, std::string(4055, 'x'));
    load(scenario);
    Connection connection;
    const Bytes carry = connection.send(simtest::eventRead(0xFFF8, 16)).data;
    EXPECT_EQ(simtest::text(carry, 0, 8), "xxxxxxx\n");
    EXPECT_EQ(simtest::text(carry, 8, 8), std::string(8, '\0'));
    EXPECT_EQ(connection.send(simtest::eventRead(0x10000, 4096)).data, Bytes(4096, 0));
    EXPECT_EQ(connection.send(simtest::eventRead(0xFFFFFFF0, 4096)).data, Bytes(4096, 0));
}

TEST_F(EventGrowth, OldestPageGoesWhenTheLastIsFull) {
    Scenario scenario;
    scenario.adapters[0].events.clear();
    for (int page = 0; page < 16; ++page) {
        scenario.adapters[0].events.emplace_back(std::string(2026, static_cast<char>('A' + page)));
        scenario.adapters[0].events.emplace_back(std::string(2027, static_cast<char>('a' + page)));
    }
    scenario.adapters[0].eventSchedule = {
        {1, "one more"}, {2, "and one"}, {3, std::string(4055, '3')}};
    load(scenario);
    EXPECT_EQ(lines().size(), 32U);

    moveTo(1);
    std::vector<std::string> all = lines();
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
    EXPECT_NE(area(), first);
}

TEST_F(EventGrowth, RandomEventsAreTheSameEverywhere) {
    load(storm(7));
    moveTo(5);
    EXPECT_EQ(lines(),
              (std::vector<std::string>{
                  "[SEQ]1[TIME]1790000100[EVT_ID]0x1[DEV_ID]0[MSG]NVMe_Controller started_INFO",
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
    std::string last = lines().front();
    for (const std::string& line : lines()) {
        // The area is a ring, so the newest line is somewhere inside.
        last = std::max(last, line, [](const std::string& a, const std::string& b) {
            return std::stoul(a.substr(5)) < std::stoul(b.substr(5));
        });
    }
    const unsigned long newest = std::stoul(last.substr(5));
    EXPECT_GT(newest, 3400U);
    EXPECT_LT(newest, 3800U);
}

TEST_F(EventGrowth, SharesOfUnmappedEvents) {
    Scenario scenario = storm(1);
    scenario.adapters[0].randomEvents->initialCount = 200;
    scenario.adapters[0].randomEvents->unmappedPercent = 100;
    load(scenario);
    for (const std::string& line : lines()) {
        EXPECT_TRUE(line.find("[EVT_ID]0x7[") != std::string::npos ||
                    line.find("[EVT_ID]0x96[") != std::string::npos ||
                    line.find("[EVT_ID]0xFA[") != std::string::npos ||
                    line.find("[EVT_ID]0x12D[") != std::string::npos ||
                    line.find("[EVT_ID]0x191[") != std::string::npos)
            << line;
    }
}

TEST_F(EventGrowth, AnUpdateKeepsTheLogUnlessItIsAboutEvents) {
    Scenario scenario = storm(1);
    scenario.adapters[0].eventSchedule = {{2, "kept"}};
    load(scenario);
    moveTo(2);
    const std::vector<std::string> before = lines();
    EXPECT_EQ(std::count(before.begin(), before.end(), "kept"), 1);

    scenario.adapters[0].disks[0].status = 33;
    SimulatedHost::instance().update(scenario);
    EXPECT_EQ(lines(), before);

    scenario.adapters[0].randomEvents.reset();
    scenario.adapters[0].eventSchedule = {{3, "new"}};
    SimulatedHost::instance().update(scenario);
    EXPECT_EQ(lines(), std::vector<std::string>{});
    moveTo(4.9);
    EXPECT_EQ(lines(), std::vector<std::string>{}) << "the new log begins at the update";
    moveTo(5);
    EXPECT_EQ(lines(), std::vector<std::string>{"new"});
}

TEST_F(EventGrowth, ALoadForgetsTheClock) {
    Scenario scenario;
    scenario.adapters[0].events.clear();
    scenario.adapters[0].eventSchedule = {{1e6, "far off"}};
    load(scenario);
    moveTo(2e6);
    EXPECT_EQ(lines().size(), 1U);
    SimulatedHost::instance().load(scenario);
    EXPECT_EQ(lines().size(), 0U);
}

TEST_F(EventGrowth, ManyThreadsMayLookWhileItGrows) {
    load(storm(1));
    std::vector<std::thread> readers;
    for (int i = 0; i < 4; ++i) {
        readers.emplace_back([this] {
            Connection connection;
            for (int step = 1; step <= 20; ++step) {
                moveTo(step * 10);
                connection.readableLines();
            }
        });
    }
    for (std::thread& reader : readers) {
        reader.join();
    }
    Scenario same = storm(1);
    const Bytes grown = area();
    load(same);
    moveTo(200);
    EXPECT_EQ(area(), grown);
}

}  // namespace
