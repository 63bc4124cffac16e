// The line of time: where its dots stand. Whole pages are looked at in tests/golden.
#include "veskctl/report_timeline.h"

#include "samples.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

using namespace veskctl;

namespace {

Event eventOf(std::uint32_t time, unsigned severity, const std::string& message = "m") {
    Event event;
    event.timeRaw = time;
    event.severityCode = severity;
    event.message = message;
    return event;
}

std::size_t count(const std::string& text, const std::string& part) {
    std::size_t found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++found;
    }
    return found;
}

TEST(Timeline, HasALaneForEachSeverityTheWorstOnTop) {
    const std::string line =
        timelineOf({eventOf(1000, 2), eventOf(2000, 7), eventOf(3000, 2), eventOf(3000, 255)});
    EXPECT_EQ(count(line, "class=\"lane\""), 3U);
    EXPECT_LT(line.find(">fatal (1)<"), line.find(">info (2)<"));
    EXPECT_LT(line.find(">info (2)<"), line.find(">unknown (1)<")) << "a severity without a name";
    EXPECT_TRUE(contains(line, "4 events from 1970-01-01T00:16:40Z to 1970-01-01T00:50:00Z"));
}

TEST(Timeline, SpreadsEventsFromTheFirstToTheLast) {
    const std::string line = timelineOf({eventOf(3000, 2), eventOf(1000, 2), eventOf(2000, 2)});
    for (const char* place : {"cx=\"150\"", "cx=\"560\"", "cx=\"970\""}) {
        EXPECT_TRUE(contains(line, place)) << place << "\n" << line;
    }
}

TEST(Timeline, OneDotStandsForThoseThatWouldCoverEachOther) {
    EXPECT_EQ(count(timelineOf({eventOf(1000, 2), eventOf(1000, 2), eventOf(1000, 2)}), "<circle"),
              1U);
    EXPECT_EQ(count(timelineOf({eventOf(1000, 2), eventOf(1000, 7)}), "<circle"), 2U);
}

TEST(Timeline, StandsWithoutTimesAndWithoutEvents) {
    const std::string line = timelineOf({eventOf(0, 2), eventOf(0xFFFFFFFF, 2)});
    EXPECT_TRUE(contains(line, "<title>time not reported m</title>"));
    EXPECT_TRUE(contains(line, "2106-02-07T06:28:15Z"));
    EXPECT_TRUE(contains(timelineOf({eventOf(0, 2)}), "from an unknown time to an unknown time"));
    EXPECT_EQ(count(timelineOf({}), "<circle"), 0U);
}

TEST(Timeline, TextsOfDevicesAreNoMarkup) {
    const std::string line = timelineOf({eventOf(1000, 2, "<b>\"&\x1b[2J")});
    EXPECT_TRUE(contains(line, "&lt;b&gt;&quot;&amp;?[2J</title>")) << line;
}

}  // namespace
