// Lines that run on across page ends.
#include "raw_host.h"

using simtest::Bytes;
using simtest::text;

namespace {

// A line that leaves 100 bytes of the first page, then one of `size` bytes, then a short one.
vesksim::Scenario cut(std::size_t size) {
    vesksim::Scenario scenario = simtest::withEvents(
        {std::string(3955, 'f'), "[SEQ]9" + std::string(size - 6, 'x'), "[SEQ]10"});
    scenario.adapters[0].cutEventLines = true;
    return scenario;
}

using CutLines = simtest::RawHost;

TEST_F(CutLines, RestStandsAtByteZeroOfTheNextPage) {
    load(cut(105));
    const Bytes log = area();
    EXPECT_EQ(text(log, 3996, 7), "[SEQ]9x");
    EXPECT_EQ(text(log, 4094, 8), "xxxxxxx\n");
    EXPECT_EQ(text(log, 4136, 8), "[SEQ]10\n") << "the next line starts at byte 40";
    EXPECT_EQ(text(send(simtest::eventRead(0xFF8, 16)).data, 0, 14), "xxxxxxxxxxxxx\n");
}

TEST_F(CutLines, ShortRestsSurviveAndLongOnesAreLost) {
    for (const std::size_t rest : {0U, 1U, 7U, 8U, 9U, 38U, 39U, 40U, 200U, 3000U}) {
        SCOPED_TRACE(std::to_string(rest) + " bytes and a line feed");
        load(cut(100 + rest));
        const simtest::Lines found = lines();
        ASSERT_EQ(found.size(), rest < 8 ? 3U : 2U);
        if (rest < 8) {
            EXPECT_EQ(found[1], "[SEQ]9" + std::string(94 + rest, 'x'));
        }
        EXPECT_EQ(found.back(), "[SEQ]10");
    }
}

TEST_F(CutLines, OfALongRest40BytesAreKept) {
    load(cut(300));
    EXPECT_EQ(text(area(), 4096, 48), std::string(40, 'x') + "[SEQ]10\n");
}

TEST_F(CutLines, LineThatEndsWithItsPageIsWhole) {
    load(cut(99));
    EXPECT_EQ(text(area(), 4093, 3), "xx\n");
    EXPECT_EQ(text(area(), 4136, 8), "[SEQ]10\n");
}

TEST_F(CutLines, WithoutTheModeALineStartsOnTheNextPage) {
    vesksim::Scenario scenario = cut(105);
    scenario.adapters[0].cutEventLines = false;
    load(scenario);
    EXPECT_EQ(text(area(), 3995, 101), "\n" + std::string(100, '\0'));
    EXPECT_EQ(text(area(), 4136, 7), "[SEQ]9x");
}

TEST_F(CutLines, AtTheEndOfTheAreaTheRestIsInTheFirstPage) {
    std::vector<vesksim::EventEntry> events(15, std::string(4055, 'f'));
    events.emplace_back(std::string(4045, 'f'));
    vesksim::Scenario scenario = simtest::withEvents(events, {{0, "[SEQ]12345"}});
    scenario.adapters[0].cutEventLines = true;
    load(scenario);
    moveTo(1);
    const Bytes log = area();
    EXPECT_EQ(text(log, 0xFFF6, 10), "[SEQ]12345");
    EXPECT_EQ(log[0], '\n');
    EXPECT_EQ(text(send(simtest::eventRead(0xFFF8, 16)).data, 0, 16),
              "EQ]12345" + std::string(8, '\0'));
    EXPECT_EQ(lines().size(), 15U) << "page 0 was emptied, the cut line is lost";
}

}  // namespace
