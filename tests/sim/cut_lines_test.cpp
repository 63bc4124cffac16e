// Lines that run on across page ends.
#include "raw_host.h"

#include "sim/host/simulated_host.h"

#include <gtest/gtest.h>

#include <algorithm>

using simtest::Bytes;
using simtest::Connection;
using vesksim::Scenario;
using vesksim::SimulatedHost;

namespace {

// A line that leaves `left` bytes of the first page, then one with brackets of `size` bytes.
Scenario cutAfter(std::size_t left, std::size_t size) {
    Scenario scenario;
    scenario.adapters[0].cutEventLines = true;
    scenario.adapters[0].events = {std::string(4055 - left, 'f'),
                                   "[SEQ]9" + std::string(size - 6, 'x'), "[SEQ]10"};
    return scenario;
}

bool holds(const std::vector<std::string>& lines, const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

TEST(CutLines, RestStandsAtByteZeroOfTheNextPage) {
    SimulatedHost::instance().load(cutAfter(100, 105));
    Connection connection;
    const Bytes area = connection.area();
    EXPECT_EQ(simtest::text(area, 3996, 7), "[SEQ]9x");
    EXPECT_EQ(simtest::text(area, 4094, 8), "xxxxxxx\n");
    EXPECT_EQ(simtest::text(area, 4136, 8), "[SEQ]10\n") << "the next line starts at byte 40";
    EXPECT_EQ(simtest::text(connection.send(simtest::eventRead(0xFF8, 16)).data, 0, 14),
              "xxxxxxxxxxxxx\n");
}

TEST(CutLines, ShortRestsSurvive) {
    for (const std::size_t rest : {0U, 1U, 7U}) {
        SimulatedHost::instance().load(cutAfter(100, 100 + rest));
        Connection connection;
        EXPECT_TRUE(holds(connection.readableLines(), "[SEQ]9" + std::string(94 + rest, 'x')))
            << rest << " bytes and a line feed";
        EXPECT_TRUE(holds(connection.readableLines(), "[SEQ]10"));
    }
}

TEST(CutLines, LongRestsAreLost) {
    for (const std::size_t rest : {8U, 9U, 38U, 39U, 40U, 200U, 3000U}) {
        SimulatedHost::instance().load(cutAfter(100, 100 + rest));
        Connection connection;
        EXPECT_EQ(connection.readableLines().size(), 2U) << rest << " bytes and a line feed";
        EXPECT_TRUE(holds(connection.readableLines(), "[SEQ]10"));
    }
}

TEST(CutLines, OfALongRest40BytesAreKept) {
    SimulatedHost::instance().load(cutAfter(100, 300));
    Connection connection;
    EXPECT_EQ(simtest::text(connection.area(), 4096, 48), std::string(40, 'x') + "[SEQ]10\n");
}

TEST(CutLines, LineThatEndsWithItsPageIsWhole) {
    SimulatedHost::instance().load(cutAfter(100, 99));
    Connection connection;
    EXPECT_EQ(simtest::text(connection.area(), 4093, 3), "xx\n");
    EXPECT_EQ(simtest::text(connection.area(), 4136, 8), "[SEQ]10\n");
}

TEST(CutLines, WithoutTheModeALineStartsOnTheNextPage) {
    Scenario scenario = cutAfter(100, 105);
    scenario.adapters[0].cutEventLines = false;
    SimulatedHost::instance().load(scenario);
    Connection connection;
    const Bytes area = connection.area();
    EXPECT_EQ(simtest::text(area, 3995, 101), "\n" + std::string(100, '\0'));
    EXPECT_EQ(simtest::text(area, 4136, 7), "[SEQ]9x");
}

TEST(CutLines, AtTheEndOfTheAreaTheRestIsInTheFirstPage) {
    Scenario scenario;
    scenario.adapters[0].cutEventLines = true;
    scenario.adapters[0].events.assign(15, std::string(4055, 'f'));
    scenario.adapters[0].events.emplace_back(std::string(4045, 'f'));
    scenario.adapters[0].eventSchedule = {{0, "[SEQ]12345"}};
    SimulatedHost::instance().load(scenario);
    SimulatedHost::instance().setClock([] { return 1.0; });
    Connection connection;
    const Bytes area = connection.area();
    EXPECT_EQ(simtest::text(area, 0xFFF6, 10), "[SEQ]12345");
    EXPECT_EQ(area[0], '\n');
    const Bytes carry = connection.send(simtest::eventRead(0xFFF8, 16)).data;
    EXPECT_EQ(simtest::text(carry, 0, 16), "EQ]12345" + std::string(8, '\0'));
    EXPECT_EQ(connection.readableLines().size(), 15U) << "page 0 was emptied, the cut line is lost";
}

TEST(CutLines, OfTheScenarioComeAsItSays) {
    SimulatedHost::instance().load(vesksim::loadScenario("cut-lines"));
    SimulatedHost::instance().setClock([] { return 0.0; });
    Connection connection;
    std::string found;
    for (const std::string& line : connection.readableLines()) {
        const std::size_t at = line.find("Cut with a tail of ");
        if (at != std::string::npos) {
            EXPECT_EQ(line.substr(line.size() - 5), "_INFO");
            found += line.substr(at + 19, 2);
        }
    }
    EXPECT_EQ(found, "1 4 8 0 ") << "those with a rest of 9 bytes and more are lost";
}

}  // namespace
