// Pages of the event log become records in a map: lines, lines that a page's end cuts, what is
// logged, and lack of memory.
#include "event_page.h"
#include "memory_faults.h"
#include "owned_events.h"
#include "traced_host.h"

#include "events/event_parser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using vesktest::AllocationSize;
using vesktest::carryRead;
using vesktest::eventPage;
using vesktest::FailMalloc;
using vesktest::fieldsOf;
using vesktest::LogLines;
using vesktest::OwnedEvents;
using vesktest::pageEndingIn;
using vesktest::TracedHost;

using Keys = std::vector<unsigned>;
using Page = std::vector<char>;

// A parser and the map that it fills.
class Reading {
public:
    // The number of new records.
    int read(Page bytes) { return m_parser.parseEventBuffer(bytes.data(), m_events.map()); }
    int readText(const std::string& text) { return read(eventPage(text)); }

    std::string remaining() { return m_parser.getRemainingEvent(); }
    void setRemaining(const std::string& text) { m_parser.setRemainingEvent(text); }
    Keys keys() const { return m_events.keys(); }
    std::string fields(unsigned key) const { return fieldsOf(m_events.at(key)); }

private:
    EventParser m_parser;
    OwnedEvents m_events;
};

TEST(EventParser, HoldsItsRemainingTextAndNothingElse) {
    EXPECT_EQ(sizeof(EventParser), sizeof(std::string));
    EXPECT_FALSE(std::is_polymorphic_v<EventParser>);
}

TEST(EventParser, RemainingTextIsEmptyAtFirstAndCanBeReplaced) {
    EventParser parser;
    EXPECT_EQ(parser.getRemainingEvent(), "");
    parser.setRemainingEvent(std::string("[SEQ\0]7", 7));
    EXPECT_EQ(parser.getRemainingEvent(), std::string("[SEQ\0]7", 7));
    parser.setRemainingEvent("");
    EXPECT_EQ(parser.getRemainingEvent(), "");
}

TEST(EventParser, InstanceIsOneForTheProcess) {
    EXPECT_EQ(&EventParser::getInstance(), &EventParser::getInstance());
    EXPECT_EQ(EventParser::getInstance().getRemainingEvent(), "");
}

TEST(EventParser, PageGivesTheRecordsOfItsLines) {
    const struct {
        Page page;
        Keys keys;  // all of them new
        std::string remaining;
    } kRows[] = {
        {Page(4096), {}, ""},
        {eventPage("[SEQ]4294967295\n"), {4294967295}, ""},
        {eventPage("\n\n[SEQ]1\n\n\n[SEQ]2\n\n"), {1, 2}, ""},
        // A bad line costs that line only.
        {eventPage("[SEQ]1\n[SEQ]-2\nnothing\n[]\n[SEQ]\n[SEQ]4294967296\n[SEQ]3\n"), {1, 3}, ""},
        // A line feed as the page's last byte; text without a bracket behind the last line.
        {pageEndingIn("[SEQ]7[TIME]5\n"), {7}, ""},
        {pageEndingIn("[SEQ]1\ntrailing SEQ]7"), {1}, ""},
        // The page's end cuts a line, or free space stands where its line feed belongs.
        {pageEndingIn("[SEQ]6\nfront[SEQ]7[TI"), {6}, "front[SEQ]7[TI"},
        {eventPage("[SEQ]1\n[SEQ]2"), {1}, "[SEQ]2" + std::string(4043, '\0')},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(std::string(row.page.begin(), row.page.end()));
        Reading reading;
        EXPECT_EQ(reading.read(row.page), static_cast<int>(row.keys.size()));
        EXPECT_EQ(reading.keys(), row.keys);
        EXPECT_EQ(reading.remaining(), row.remaining);
    }
}

TEST(EventParser, LineBecomesTheRecordOfItsNumber) {
    Reading reading;
    EXPECT_EQ(reading.readText("[SEQ]7[EVT_ID]1F[TIME]1000[DEV_ID]3[MSG]PD_Drive removed_CRITICAL\n"
                               "[SEQ]8[MSG]PD_a_INFO\r\n"
                               "[MSG]PD_b_INFO[SEQ]9\r\n"
                               "\r\n" +
                               std::string("[SEQ]10\0\0[TIME]5\n", 17)),
              4);
    EXPECT_EQ(reading.keys(), (Keys{7, 8, 9, 10}));
    EXPECT_EQ(reading.fields(7), "7 31 1000 3 2 6|Drive removed");
    EXPECT_EQ(reading.fields(8), "8 0 0 0 2 255|a") << "the carriage return is in the severity";
    EXPECT_EQ(reading.fields(9), "9 0 0 0 2 2|b");
    EXPECT_EQ(reading.fields(10), "10 0 5 0 0 0|") << "NUL bytes inside a line belong to it";
}

TEST(EventParser, First40BytesAreNoText) {
    for (const std::string& header :
         {std::string("[SEQ]1\n[SEQ]2\n[SEQ]3\n[SEQ]4\n[SEQ]5\n[SEQ]6"), std::string(40, '['),
          std::string(40, '\n'), std::string(40, '\0')}) {
        Page page = eventPage("[SEQ]9\n");
        std::copy_n(header.begin(), 40, page.begin());
        Reading reading;
        EXPECT_EQ(reading.read(page), 1);
        EXPECT_EQ(reading.keys(), (Keys{9}));
        EXPECT_EQ(reading.remaining(), "");
    }
}

TEST(EventParser, KnownSequenceNumberKeepsItsFirstRecord) {
    Reading reading;
    EXPECT_EQ(reading.readText("[SEQ]7[TIME]1\n[SEQ]7[TIME]2\n[SEQ]8[TIME]3\n"), 2);
    EXPECT_EQ(reading.readText("[SEQ]7[TIME]4\n[SEQ]9\n"), 1);
    EXPECT_EQ(reading.keys(), (Keys{7, 8, 9}));
    EXPECT_EQ(reading.fields(7), "7 0 1 0 0 0|");
}

TEST(EventParser, RecordWithoutASequenceTagGoesUnderZero) {
    Reading reading;
    EXPECT_EQ(reading.readText("[EVT_ID]1F[TIME]5\n[EVT_ID]20\n"), 1);
    EXPECT_EQ(reading.keys(), (Keys{0}));
    EXPECT_EQ(reading.fields(0), "0 31 5 0 0 0|");
    Reading unknown;
    EXPECT_EQ(unknown.readText("[X]1\n"), 1);
    EXPECT_EQ(unknown.fields(0), "0 0 0 0 0 0|") << "of a line of unknown keys too";
}

TEST(EventParser, PageMayBeFullOfShortRecordsOrOfOneLine) {
    std::string text;
    Keys expected;
    for (unsigned number = 1000; number < 1000 + 405; ++number) {
        text += "[SEQ]" + std::to_string(number) + "\n";
        expected.push_back(number);
    }
    Reading many;
    EXPECT_EQ(many.readText(text), 405);
    EXPECT_EQ(many.keys(), expected);
    Reading one;
    EXPECT_EQ(one.readText("[SEQ]7[MSG]PD_" + std::string(4036, 'y') + "_INFO\n"), 1);
    EXPECT_EQ(one.fields(7), "7 0 0 0 2 2|yyyyyyyyyyyyyyyyyyyyyyyyyyyyy");
}

TEST(EventParser, CarryReadCompletesTheCutLineOrDropsIt) {
    const struct {
        const char* pageEnd;
        const char* next;  // begins the next page; only 8 bytes of it are in the carry read
        int added;
        std::vector<std::string> records;  // of page and carry read
    } kRows[] = {
        {"[SEQ]7[TI", "ME]5678\n", 1, {"7 0 5678 0 0 0|"}},
        // The carry read may hold one more record, but leaves no remaining text of its own.
        {"[SEQ]7", "\n[SEQ]8\n", 2, {"7 0 0 0 0 0|", "8 0 0 0 0 0|"}},
        {"[SEQ]7", "\n[SEQ]88", 1, {"7 0 0 0 0 0|"}},
        // The first record of a number stays, and a bad line is one here too.
        {"[SEQ]7[TIME]1\n[SEQ]7[TIME]", "2\n", 0, {"7 0 1 0 0 0|"}},
        {"[SEQ]-", "5\n", 0, {}},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pageEnd);
        const Page page = pageEndingIn(row.pageEnd);
        Reading reading;
        reading.read(page);
        EXPECT_EQ(reading.read(carryRead(page, row.next)), row.added);
        std::vector<std::string> records;
        for (const unsigned key : reading.keys()) {
            records.push_back(reading.fields(key));
        }
        EXPECT_EQ(records, row.records);
        EXPECT_EQ(reading.remaining(), "");
    }
}

TEST(EventParser, TailOfNineBytesIsLostSilently) {
    TracedHost host;
    const Page page = pageEndingIn("[SEQ]7[TI");
    Reading reading;
    EXPECT_EQ(reading.read(page), 0);
    EXPECT_EQ(reading.remaining(), "[SEQ]7[TI");
    EXPECT_EQ(reading.read(carryRead(page, "ME]56789")), 0);
    EXPECT_EQ(reading.keys(), Keys{});
    EXPECT_EQ(reading.remaining(), "");
    EXPECT_EQ(host.messages(), LogLines{});
}

TEST(EventParser, CarryReadIsReadFromItsNinthByteOn) {
    Reading reading;
    reading.setRemaining("[SEQ]7[TIME]");
    const std::string bytes = "\n[SEQ]9\n1234\nX[Y";
    EXPECT_EQ(reading.read(Page(bytes.begin(), bytes.end())), 1);
    EXPECT_EQ(reading.keys(), (Keys{7}));
    EXPECT_EQ(reading.fields(7), "7 0 1234 0 0 0|");
    EXPECT_EQ(reading.remaining(), "");
}

TEST(EventParser, ReadBehindACarryReadIsReadAsAPage) {
    const Page page = pageEndingIn("[SEQ]7");
    Reading reading;
    EXPECT_EQ(reading.read(page), 0);
    EXPECT_EQ(reading.read(carryRead(page, "0\n")), 1);
    EXPECT_EQ(reading.readText("[SEQ]71\n[SEQ]72\n"), 2);
    EXPECT_EQ(reading.keys(), (Keys{70, 71, 72}));
}

// A line cut at any byte.
//
// The rule, by hand: a line whose last byte, the line feed, is on the page is read with the page.
// One that is cut lives if an opening bracket stands before the cut, and the tail with its line
// feed is not longer than the 8 bytes of the next page that a carry read brings. All others are
// lost, as the tail lies in the 40 bytes at the next page's start that are no text.
//
// The next page begins with the tail and has record 9 as its text.
void expectCut(const std::string& line, std::size_t cut, bool carried,
               const std::string& recordSeven) {
    SCOPED_TRACE("cut at " + std::to_string(cut) + ": " + line);
    const std::string tail = line.substr(cut);
    const Page page = pageEndingIn(line.substr(0, cut));
    Page next = eventPage("[SEQ]9\n");
    std::copy(tail.begin(), tail.end(), next.begin());

    Reading reading;
    int added = reading.read(page);
    EXPECT_EQ(!reading.remaining().empty(), carried);
    if (carried) {
        added += reading.read(carryRead(page, std::string(next.begin(), next.begin() + 8)));
    }
    EXPECT_EQ(reading.remaining(), "");
    EXPECT_EQ(reading.read(next), 1);
    if (recordSeven.empty()) {
        EXPECT_EQ(added, 0);
        EXPECT_EQ(reading.keys(), (Keys{9}));
    } else {
        EXPECT_EQ(added, 1);
        EXPECT_EQ(reading.keys(), (Keys{7, 9}));
        EXPECT_EQ(reading.fields(7), recordSeven);
    }
}

TEST(EventCut, LinesAreCutAtAllBytes) {
    // Of 40 bytes at most, so that no tail reaches the text of the next page.
    const struct {
        const char* line;
        std::size_t firstCarried;  // cuts from here to the last byte are carried
        std::size_t firstRead;     // cuts from here on leave a tail that the carry read holds
        const char* record;
    } kRows[] = {
        {"[SEQ]7\n", 1, 1, "7 0 0 0 0 0|"},
        // Behind the bracket, which is byte 20.
        {"twenty bytes of text[SEQ]7\n", 21, 21, "7 0 0 0 0 0|"},
        {"[SEQ]7[MSG]PD_Lost_CRITICAL\n", 1, 20, "7 0 0 0 2 6|Lost"},
        {"[MSG]VD_a_INFO[EVT_ID]1F[TIME]8[SEQ]7\n", 1, 30, "7 31 8 0 1 2|a"},
        {"[SEQ]7[TIME]1000[DEV_ID]3\n", 1, 18, "7 0 1000 3 0 0|"},
    };
    for (const auto& row : kRows) {
        const std::string line = row.line;
        for (std::size_t cut = 0; cut <= line.size(); ++cut) {
            const bool whole = cut == line.size();
            const bool carried = cut >= row.firstCarried && !whole;
            expectCut(line, cut, carried, cut >= row.firstRead ? row.record : "");
        }
    }
}

TEST(EventCut, LinesOfAllLengthsAreCutAtAllBytes) {
    for (std::size_t tail = 1; tail <= 40; ++tail) {
        for (std::size_t head = tail < 19 ? 20 - tail : 1; head <= 48; ++head) {
            const std::size_t length = head + tail - 20;  // of the description
            const std::string line = "[SEQ]7[MSG]PD_" + std::string(length, 'x') + "_INFO\n";
            ASSERT_EQ(line.size(), head + tail);
            const std::string record =
                "7 0 0 0 2 2|" + std::string(std::min(length, std::size_t{29}), 'x');
            expectCut(line, head, true, tail <= 8 ? record : "");
        }
    }
}

TEST(EventCut, TailBeyond40BytesLeavesItsRestAsTextOfTheNextPage) {
    // 46 bytes are behind the cut: the first 40 are no text, and the line feed ends the other 6.
    const std::string tail = "M]" + std::string(38, 'm') + "[DEV]\n";
    const Page page = pageEndingIn("[SEQ]7[");
    Page next(4096);
    const std::string text = tail + "[SEQ]9\n";
    std::copy(text.begin(), text.end(), next.begin());
    Reading reading;
    reading.read(page);
    EXPECT_EQ(reading.read(carryRead(page, tail.substr(0, 8))), 0);
    EXPECT_EQ(reading.read(next), 1);
    EXPECT_EQ(reading.keys(), (Keys{9}));
}

const char* const kCurrent = "EventParser:parseEventBuffer(): Current Event: ";

TEST(EventParserLog, EachLineIsLogged) {
    const struct {
        std::string text;
        LogLines lines;
    } kRows[] = {
        {"[SEQ]1\n\n[SEQ]2[MSG]PD_a_INFO\r\n", {"[SEQ]1", "[SEQ]2[MSG]PD_a_INFO\r", ""}},
        // Without its NUL bytes; the free space behind the last line is one more, of no text.
        {std::string("[SEQ]1\0\0[TI\0ME]5\n", 17), {"[SEQ]1[TIME]5", ""}},
        {"", {""}},
    };
    for (const auto& row : kRows) {
        TracedHost host;
        Reading reading;
        reading.readText(row.text);
        LogLines expected;
        for (const std::string& line : row.lines) {
            expected.push_back(kCurrent + line);
        }
        EXPECT_EQ(host.messages(), expected);
    }
}

TEST(EventParserLog, CarriedLineIsLoggedWholeAndOnce) {
    TracedHost host;
    Reading reading;
    const Page page = pageEndingIn("[SEQ]7[TI");
    reading.read(page);
    EXPECT_EQ(host.messages(), LogLines{});
    reading.read(carryRead(page, "ME]5\n"));
    EXPECT_EQ(vesktest::count(host.messages(), kCurrent + std::string("[SEQ]7[TIME]5")), 1U);
}

TEST(EventParserLog, OperationsAreTraced) {
    TracedHost host;
    Reading reading;
    reading.readText("[SEQ]7[MSG]PD_a_INFO\n");
    EXPECT_TRUE(vesktest::inOrder(
        host.lines(),
        {"EventParser::EventParser() ENTRY ", "EventParser::EventParser() EXIT ",
         "EventParser::parseEventBuffer() ENTRY ",
         "EventParser:parseEventBuffer(): Current Event: [SEQ]7[MSG]PD_a_INFO",
         "EventParser::parseEvent() ENTRY ", "EventParser::addToEventStruct() ENTRY ",
         "EventParser::addToEventStruct() EXIT ", "EventParser::addToEventStruct() ENTRY ",
         "EventParser::parseMSG() ENTRY ", "EventParser::mapClassName() ENTRY ",
         "EventParser::mapClassName() EXIT ", "EventParser::mapSeverity() ENTRY ",
         "EventParser::mapSeverity() EXIT ", "EventParser::parseMSG() EXIT ",
         "EventParser::addToEventStruct() EXIT ", "EventParser::parseEvent() EXIT ",
         "EventParser::parseEventBuffer() EXIT "}));
}

TEST(EventParserLog, PublicFormsAreTracedOnceEach) {
    const struct {
        const char* name;
        void (*call)(EventParser&, _Event&);
    } kCalls[] = {
        {"getRemainingEvent()",
         [](EventParser& p, _Event&) {
             p.getRemainingEvent();
         }},
        {"setRemainingEvent()",
         [](EventParser& p, _Event&) {
             p.setRemainingEvent("a");
         }},
        {"parseEvent()",
         [](EventParser& p, _Event& e) {
             p.parseEvent("", &e);
         }},
        {"addToEventStruct()",
         [](EventParser& p, _Event& e) {
             p.addToEventStruct(&e, "TIME", "1");
         }},
        {"parseMSG()",
         [](EventParser& p, _Event& e) {
             p.parseMSG(&e, "MSG", "none");
         }},
        {"mapSeverity()",
         [](EventParser& p, _Event&) {
             p.mapSeverity("INFO");
         }},
        {"mapClassName()",
         [](EventParser& p, _Event&) {
             p.mapClassName("PD");
         }},
    };
    EventParser parser;
    for (const auto& expected : kCalls) {
        TracedHost host;
        _Event event{};
        expected.call(parser, event);
        const std::string name = std::string("EventParser::") + expected.name;
        EXPECT_EQ(host.lines(), (LogLines{name + " ENTRY ", name + " EXIT "}));
    }
}

TEST(EventParserLog, InstanceIsTraced) {
    TracedHost host;
    EventParser::getInstance();
    // In the name the compiler may have put the sign of the return type.
    EXPECT_TRUE(vesktest::containsPart(host.lines(), "EventParser::getInstance() ENTRY "));
    EXPECT_TRUE(vesktest::containsPart(host.lines(), "EventParser::getInstance() EXIT "));
}

// What a page throws: "lowest number that is missing, number of new records", or "nothing".
std::string lackOf(Reading& reading, const Page& page) {
    try {
        reading.read(page);
    } catch (const EventWithoutMemory& lack) {
        return std::to_string(lack.lowest) + ", " + std::to_string(lack.added);
    }
    return "nothing";
}

TEST(EventParserMemory, RecordsThatCannotBeAllocatedAreToldBehindThePage) {
    TracedHost host;
    Reading reading;
    const Page page = pageEndingIn("[SEQ]1\n[SEQ]3\n[SEQ]2\n[SEQ]4\n[SEQ]5[TIME]5");
    host.forgetLines();
    {
        const FailMalloc first(AllocationSize::exactly(64), 2);
        EXPECT_EQ(lackOf(reading, page), "3, 3");
        EXPECT_TRUE(first.triggered());
    }
    EXPECT_EQ(reading.keys(), (Keys{1, 2, 4}));
    EXPECT_EQ(reading.remaining(), "[SEQ]5[TIME]5") << "as behind any page";
    EXPECT_EQ(
        host.messages(),
        (LogLines{"EventParser:parseEventBuffer(): Current Event: [SEQ]1",
                  "EventParser:parseEventBuffer(): Current Event: [SEQ]3",
                  ("EventParser:parseEventBuffer(): No memory for the event, left to the next "
                   "poll"),
                  "EventParser:parseEventBuffer(): Current Event: [SEQ]2",
                  "EventParser:parseEventBuffer(): Current Event: [SEQ]4"}));
    EXPECT_EQ(reading.read(carryRead(page, "\n")), 1);
    EXPECT_EQ(reading.read(page), 1);
    EXPECT_EQ(reading.keys(), (Keys{1, 2, 3, 4, 5}));
}

TEST(EventParserMemory, WithoutAnyNothingIsAddedAndNothingRemains) {
    const FailMalloc fault(AllocationSize::exactly(64), 1, vesktest::Repeat::kEachLater);
    Reading reading;
    EXPECT_EQ(lackOf(reading, eventPage("[SEQ]3\n[SEQ]1\n[SEQ]2\n")), "1, 0");
    EXPECT_EQ(fault.seen(), 3U);
    reading.setRemaining("[SEQ]4294967295");
    EXPECT_EQ(lackOf(reading, carryRead(Page(4096), "\n")), "4294967295, 0");
    EXPECT_EQ(fault.seen(), 4U);
    EXPECT_EQ(reading.keys(), Keys{});
    EXPECT_EQ(reading.remaining(), "");
}

TEST(EventParserMemory, ExceptionsOfTheTextPassThrough) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    OwnedEvents events;
    EventParser parser;
    Page page = pageEndingIn("[SEQ]1\n[SEQ]2" + std::string(200, '0'));
    {
        // The remaining text, longer than what a string holds in itself.
        const vesktest::FailNew fault(AllocationSize::atLeast(150), 1,
                                      vesktest::Repeat::kEachLater);
        EXPECT_THROW(parser.parseEventBuffer(page.data(), events.map()), std::bad_alloc);
    }
    EXPECT_EQ(events.keys(), (Keys{1})) << "found before";
}

}  // namespace
