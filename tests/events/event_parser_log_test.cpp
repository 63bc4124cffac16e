// What the parser logs, and what it does without memory.
#include "event_page.h"
#include "memory_faults.h"
#include "owned_events.h"
#include "traced_host.h"

#include "events/event_parser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using vesktest::AllocationSize;
using vesktest::count;
using vesktest::eventPage;
using vesktest::FailMalloc;
using vesktest::LogLines;
using vesktest::OwnedEvents;
using vesktest::TracedHost;

int parse(EventParser& parser, std::vector<char> bytes, OwnedEvents& events) {
    return parser.parseEventBuffer(bytes.data(), events.map());
}

TEST(EventParserLog, EachLineIsLogged) {
    TracedHost host;
    OwnedEvents events;
    EventParser parser;
    parse(parser, eventPage("[SEQ]1\n\n[SEQ]2[MSG]PD_a_INFO\r\n"), events);
    EXPECT_TRUE(vesktest::inOrder(
        host.messages(),
        {"EventParser:parseEventBuffer(): Current Event: [SEQ]1",
         "EventParser:parseEventBuffer(): Current Event: [SEQ]2[MSG]PD_a_INFO\r"}));
}

TEST(EventParserLog, LineIsLoggedWithoutItsNulBytes) {
    TracedHost host;
    OwnedEvents events;
    EventParser parser;
    parse(parser, eventPage(std::string("[SEQ]1\0\0[TIME]\0\n", 16)), events);
    EXPECT_TRUE(vesktest::contains(host.messages(),
                                   "EventParser:parseEventBuffer(): Current Event: [SEQ]1[TIME]"));
}

TEST(EventParserLog, FreeSpaceIsHandledAsALineOfNoText) {
    TracedHost host;
    OwnedEvents events;
    EventParser parser;
    parse(parser, std::vector<char>(4096), events);
    EXPECT_EQ(host.messages(), LogLines{"EventParser:parseEventBuffer(): Current Event: "});
    EXPECT_TRUE(host.traced("EventParser::parseEvent()"));
}

TEST(EventParserLog, CarriedLineIsLoggedWholeAndOnce) {
    TracedHost host;
    OwnedEvents events;
    EventParser parser;
    const std::vector<char> page = vesktest::pageEndingIn("[SEQ]7[TI");
    parse(parser, page, events);
    parse(parser, vesktest::carryRead(page, "ME]5\n"), events);
    EXPECT_EQ(
        count(host.messages(), "EventParser:parseEventBuffer(): Current Event: [SEQ]7[TIME]5"), 1U);
}

TEST(EventParserLog, LostTailLeavesNoLine) {
    TracedHost host;
    OwnedEvents events;
    EventParser parser;
    const std::vector<char> page = vesktest::pageEndingIn("[SEQ]7[TI");
    parse(parser, page, events);
    parse(parser, vesktest::carryRead(page, "ME]56789"), events);
    EXPECT_EQ(host.messages(), LogLines{});
}

TEST(EventParserLog, OperationsAreTraced) {
    TracedHost host;
    OwnedEvents events;
    EventParser parser;
    EXPECT_TRUE(host.traced("EventParser::EventParser()"));
    parse(parser, eventPage("[SEQ]7[MSG]PD_a_INFO\n"), events);
    EXPECT_TRUE(vesktest::inOrder(
        host.lines(),
        {"EventParser::parseEventBuffer() ENTRY ",
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
    EventParser parser;
    const struct {
        const char* name;
        void (*call)(EventParser&);
    } kCalls[] = {
        {"EventParser::getRemainingEvent()",
         [](EventParser& p) {
             p.getRemainingEvent();
         }},
        {"EventParser::setRemainingEvent()",
         [](EventParser& p) {
             p.setRemainingEvent("a");
         }},
        {"EventParser::parseEvent()",
         [](EventParser& p) {
             _Event event{};
             p.parseEvent("", &event);
         }},
        {"EventParser::addToEventStruct()",
         [](EventParser& p) {
             _Event event{};
             p.addToEventStruct(&event, "TIME", "1");
         }},
        {"EventParser::parseMSG()",
         [](EventParser& p) {
             _Event event{};
             p.parseMSG(&event, "MSG", "none");
         }},
        {"EventParser::mapSeverity()",
         [](EventParser& p) {
             p.mapSeverity(std::string("INFO"));
         }},
        {"EventParser::mapClassName()",
         [](EventParser& p) {
             p.mapClassName(std::string("PD"));
         }},
    };
    for (const auto& expected : kCalls) {
        TracedHost host;
        expected.call(parser);
        EXPECT_EQ(host.lines(), (LogLines{std::string(expected.name) + " ENTRY ",
                                          std::string(expected.name) + " EXIT "}));
    }
}

TEST(EventParserLog, InstanceIsTraced) {
    TracedHost host;
    EventParser::getInstance();
    EXPECT_TRUE(vesktest::containsPart(host.lines(), "EventParser::getInstance() ENTRY "));
    EXPECT_TRUE(vesktest::containsPart(host.lines(), "EventParser::getInstance() EXIT "));
}

TEST(EventParserMemory, RecordThatCannotBeAllocatedIsLeftToTheNextPass) {
    TracedHost host;
    OwnedEvents events;
    EventParser parser;
    const std::vector<char> page = eventPage("[SEQ]1\n[SEQ]2\n[SEQ]3\n");
    {
        const FailMalloc fault(AllocationSize::exactly(64), 2);
        EXPECT_EQ(parse(parser, page, events), 2);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(events.keys(), (std::vector<unsigned>{1, 3}));
    EXPECT_EQ(parser.getRemainingEvent(), "");
    const LogLines lines = host.messages();
    const auto foreign = std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line.find("Current Event: ") == std::string::npos;
    });
    EXPECT_EQ(foreign, 1) << "the failure leaves one line";
    EXPECT_EQ(parse(parser, page, events), 1);
    EXPECT_EQ(events.keys(), (std::vector<unsigned>{1, 2, 3}));
}

TEST(EventParserMemory, NoRecordAtAllCanBeAllocated) {
    OwnedEvents events;
    EventParser parser;
    const FailMalloc fault(AllocationSize::exactly(64), 1, vesktest::Repeat::kEachLater);
    EXPECT_EQ(parse(parser, eventPage("[SEQ]1\n[SEQ]2\n[SEQ]3\n"), events), 0);
    EXPECT_EQ(events.size(), 0U);
}

TEST(EventParserMemory, CarriedRecordThatCannotBeAllocatedLeavesNoRemainingText) {
    OwnedEvents events;
    EventParser parser;
    parser.setRemainingEvent("[SEQ]7");
    const FailMalloc fault(AllocationSize::exactly(64), 1, vesktest::Repeat::kEachLater);
    EXPECT_EQ(parse(parser, vesktest::carryRead(std::vector<char>(4096), "\n"), events), 0);
    EXPECT_EQ(parser.getRemainingEvent(), "");
}

TEST(EventParserMemory, ExceptionsOfTheTextPassThrough) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    OwnedEvents events;
    EventParser parser;
    const std::vector<char> page = vesktest::pageEndingIn("[SEQ]1\n[SEQ]2" + std::string(200, '0'));
    std::vector<char> bytes = page;
    bool thrown = false;
    {
        // The remaining text, longer than what a string holds in itself.
        const vesktest::FailNew fault(AllocationSize::atLeast(150), 1,
                                      vesktest::Repeat::kEachLater);
        try {
            parser.parseEventBuffer(bytes.data(), events.map());
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
    }
    EXPECT_TRUE(thrown);
}

}  // namespace
