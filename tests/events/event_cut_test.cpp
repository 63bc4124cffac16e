// Records that a page's end cuts, at every byte.
//
// The rule, by hand: a record whose last byte, the line feed, is on the page is read with the page.
// One that is cut lives if an opening bracket stands before the cut, and the tail with its line
// feed is not longer than the 8 bytes of the next page that a carry read brings. All others are
// lost, as the tail lies in the 40 bytes at the next page's start that are no text.
#include "event_page.h"
#include "owned_events.h"

#include "events/event_parser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using vesktest::carryRead;
using vesktest::descriptionOf;
using vesktest::eventPage;
using vesktest::OwnedEvents;
using vesktest::pageEndingIn;

// The page that ends in `head`, the carry read if one is wanted, and the page that begins with
// `tail` and has record 9 as its text.
class CutRecord {
public:
    CutRecord(const std::string& head, const std::string& tail) {
        std::vector<char> page = pageEndingIn(head);
        std::vector<char> next = eventPage("[SEQ]9\n");
        std::copy(tail.begin(), tail.end(), next.begin());
        EventParser parser;
        m_count = parser.parseEventBuffer(page.data(), m_events.map());
        m_carried = !parser.getRemainingEvent().empty();
        if (m_carried) {
            std::vector<char> bytes = carryRead(page, std::string(next.begin(), next.begin() + 8));
            m_count += parser.parseEventBuffer(bytes.data(), m_events.map());
        }
        m_clean = parser.getRemainingEvent().empty();
        m_count += parser.parseEventBuffer(next.data(), m_events.map());
    }

    bool carried() const { return m_carried; }
    bool clean() const { return m_clean; }  // no text remained when the second page came
    int count() const { return m_count; }
    const OwnedEvents& events() const { return m_events; }

private:
    OwnedEvents m_events;
    int m_count = 0;
    bool m_carried = false;
    bool m_clean = false;
};

void expectRecord(const std::string& line, std::size_t cut, bool carried, bool lives) {
    const CutRecord record(line.substr(0, cut), line.substr(cut));
    EXPECT_EQ(record.carried(), carried);
    EXPECT_TRUE(record.clean());
    EXPECT_EQ(record.count(), lives ? 2 : 1);
    EXPECT_TRUE(record.events().has(9));
    EXPECT_EQ(record.events().has(7), lives);
    EXPECT_EQ(record.events().size(), lives ? 2U : 1U);
}

TEST(EventCut, LinesOfAllLengthsAreCutAtAllBytes) {
    for (std::size_t tail = 1; tail <= 40; ++tail) {
        for (std::size_t head = 1; head <= 48; ++head) {
            if (head + tail < 20) {
                continue;  // shorter than the shortest of these lines
            }
            const std::string line =
                "[SEQ]7[MSG]PD_" + std::string(head + tail - 20, 'x') + "_INFO\n";
            SCOPED_TRACE("head " + std::to_string(head) + ", tail " + std::to_string(tail));
            ASSERT_EQ(line.size(), head + tail);
            expectRecord(line, head, true, tail <= 8);
        }
    }
}

TEST(EventCut, ShortestRecordIsCutAtAllBytes) {
    const std::string line = "[SEQ]7\n";
    for (std::size_t cut = 1; cut < 7; ++cut) {
        SCOPED_TRACE(cut);
        expectRecord(line, cut, true, true);
    }
    expectRecord(line, 7, false, true);
    expectRecord(line, 0, false, false);
}

TEST(EventCut, TextBeforeTheFirstBracketDoesNotCarry) {
    // Cut before or behind the bracket, which is byte 20, and 8 bytes or more before the end.
    const std::string line = "twenty bytes of text[SEQ]7\n";
    for (std::size_t cut = 0; cut <= 27; ++cut) {
        SCOPED_TRACE(cut);
        expectRecord(line, cut, cut > 20 && cut<27, cut> 20);
    }
}

TEST(EventCut, EveryFieldSurvivesACutAtItsTail) {
    const std::string line = "[MSG]PD_Drive removed_CRITICAL[EVT_ID]1F[TIME]1000[DEV_ID]3[SEQ]7\n";
    for (std::size_t tail = 1; tail <= 8; ++tail) {
        SCOPED_TRACE(tail);
        const CutRecord record(line.substr(0, line.size() - tail), line.substr(line.size() - tail));
        ASSERT_TRUE(record.events().has(7));
        const _Event event = record.events().at(7);
        EXPECT_EQ(event.eventClass, 2);
        EXPECT_EQ(event.severity, 6);
        EXPECT_EQ(descriptionOf(event), "Drive removed");
        EXPECT_EQ(event.eventCode, 31);
        EXPECT_EQ(event.timeStamp, 1000U);
        EXPECT_EQ(event.deviceId, 3);
    }
}

TEST(EventCut, SeverityIsCutAtEveryByteAndReadWhole) {
    const std::string line = "[SEQ]7[MSG]PD_Lost_CRITICAL\n";
    for (std::size_t tail = 1; tail <= 8; ++tail) {
        SCOPED_TRACE(tail);
        const CutRecord record(line.substr(0, line.size() - tail), line.substr(line.size() - tail));
        EXPECT_EQ(record.events().at(7).severity, 6);
    }
}

TEST(EventCut, TailBeyond40BytesLeavesItsRestAsTextOfTheNextPage) {
    // 46 bytes are behind the cut: the first 40 are no text, and the line feed ends the other 6.
    const std::string tail = "M]" + std::string(38, 'm') + "[DEV]\n";
    std::vector<char> page = pageEndingIn("[SEQ]7[");
    std::vector<char> next(4096);
    std::copy(tail.begin(), tail.end(), next.begin());
    const std::string text = "[SEQ]9\n";
    std::copy(text.begin(), text.end(), next.begin() + 46);
    OwnedEvents events;
    EventParser parser;
    parser.parseEventBuffer(page.data(), events.map());
    std::vector<char> bytes = carryRead(page, tail.substr(0, 8));
    EXPECT_EQ(parser.parseEventBuffer(bytes.data(), events.map()), 0);
    EXPECT_EQ(parser.parseEventBuffer(next.data(), events.map()), 1);
    EXPECT_EQ(events.keys(), (std::vector<unsigned>{9}));
}

}  // namespace
