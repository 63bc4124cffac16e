// Pages of the event log become records in a map.
#include "event_page.h"
#include "owned_events.h"

#include "events/event_parser.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

namespace {

using vesktest::carryRead;
using vesktest::descriptionOf;
using vesktest::eventPage;
using vesktest::OwnedEvents;
using vesktest::pageEndingIn;

using Keys = std::vector<unsigned>;

int parse(EventParser& parser, std::vector<char> bytes, OwnedEvents& events) {
    return parser.parseEventBuffer(bytes.data(), events.map());
}

int parseText(const std::string& text, OwnedEvents& events) {
    EventParser parser;
    return parse(parser, eventPage(text), events);
}

TEST(EventParser, HoldsItsRemainingTextAndNothingElse) {
    EXPECT_EQ(sizeof(EventParser), sizeof(std::string));
    EXPECT_FALSE(std::is_polymorphic_v<EventParser>);
}

TEST(EventParser, HasNoRemainingTextAtFirst) {
    EventParser parser;
    EXPECT_EQ(parser.getRemainingEvent(), "");
}

TEST(EventParser, RemainingTextCanBeReplaced) {
    EventParser parser;
    parser.setRemainingEvent(std::string("[SEQ\0]7", 7));
    EXPECT_EQ(parser.getRemainingEvent(), std::string("[SEQ\0]7", 7));
    parser.setRemainingEvent("");
    EXPECT_EQ(parser.getRemainingEvent(), "");
}

TEST(EventParser, InstanceIsOneForTheProcess) {
    EXPECT_EQ(&EventParser::getInstance(), &EventParser::getInstance());
    EXPECT_EQ(EventParser::getInstance().getRemainingEvent(), "");
}

TEST(EventParser, LineOfAllTagsBecomesARecord) {
    OwnedEvents events;
    EXPECT_EQ(
        parseText("[SEQ]7[EVT_ID]1F[TIME]1000[DEV_ID]3[MSG]PD_Drive removed_CRITICAL\n", events),
        1);
    ASSERT_EQ(events.keys(), (Keys{7}));
    EXPECT_EQ(events.at(7).sequenceNo, 7U);
    EXPECT_EQ(events.at(7).eventCode, 31);
    EXPECT_EQ(events.at(7).timeStamp, 1000U);
    EXPECT_EQ(events.at(7).deviceId, 3);
    EXPECT_EQ(events.at(7).eventClass, 2);
    EXPECT_EQ(events.at(7).severity, 6);
    EXPECT_EQ(descriptionOf(events.at(7)), "Drive removed");
}

TEST(EventParser, First40BytesAreNoText) {
    for (const std::string& header :
         {std::string("[SEQ]1\n[SEQ]2\n[SEQ]3\n[SEQ]4\n[SEQ]5\n[SEQ]6"), std::string(40, '['),
          std::string(40, '\n'), std::string(40, '\0')}) {
        std::vector<char> page = eventPage("[SEQ]9\n");
        std::copy_n(header.begin(), 40, page.begin());
        OwnedEvents events;
        EventParser parser;
        EXPECT_EQ(parse(parser, page, events), 1);
        EXPECT_EQ(events.keys(), (Keys{9}));
        EXPECT_EQ(parser.getRemainingEvent(), "");
    }
}

TEST(EventParser, ByteRightBehindTheHeaderIsText) {
    std::vector<char> page(4096);
    const std::string text = "[SEQ]5\n";
    std::copy(text.begin(), text.end(), page.begin() + 40);
    OwnedEvents events;
    EventParser parser;
    EXPECT_EQ(parse(parser, page, events), 1);
    EXPECT_EQ(events.keys(), (Keys{5}));
}

TEST(EventParser, PageOfNulBytesHasNoRecordAndNoRemainingText) {
    OwnedEvents events;
    EventParser parser;
    EXPECT_EQ(parse(parser, std::vector<char>(4096), events), 0);
    EXPECT_EQ(events.size(), 0U);
    EXPECT_EQ(parser.getRemainingEvent(), "");
}

TEST(EventParser, BlankLinesAreSkipped) {
    OwnedEvents events;
    EXPECT_EQ(parseText("\n\n[SEQ]1\n\n\n[SEQ]2\n\n", events), 2);
    EXPECT_EQ(events.keys(), (Keys{1, 2}));
}

TEST(EventParser, BadLineCostsThatLineOnly) {
    OwnedEvents events;
    EXPECT_EQ(parseText("[SEQ]1\n[SEQ]-2\nnothing\n[]\n[SEQ]\n[SEQ]4294967296\n[SEQ]3\n", events),
              2);
    EXPECT_EQ(events.keys(), (Keys{1, 3}));
}

TEST(EventParser, LargestSequenceNumberIsGood) {
    OwnedEvents events;
    EXPECT_EQ(parseText("[SEQ]4294967295\n", events), 1);
    EXPECT_EQ(events.keys(), (Keys{4294967295}));
}

TEST(EventParser, KnownSequenceNumberKeepsItsFirstRecord) {
    OwnedEvents events;
    EXPECT_EQ(parseText("[SEQ]7[TIME]1\n[SEQ]7[TIME]2\n[SEQ]8[TIME]3\n", events), 2);
    EXPECT_EQ(events.at(7).timeStamp, 1U);
    EXPECT_EQ(parseText("[SEQ]7[TIME]4\n[SEQ]9\n", events), 1);
    EXPECT_EQ(events.keys(), (Keys{7, 8, 9}));
    EXPECT_EQ(events.at(7).timeStamp, 1U);
}

TEST(EventParser, RecordWithoutASequenceTagGoesUnderZero) {
    OwnedEvents events;
    EXPECT_EQ(parseText("[EVT_ID]1F[TIME]5\n[EVT_ID]20\n", events), 1);
    EXPECT_EQ(events.keys(), (Keys{0}));
    EXPECT_EQ(events.at(0).eventCode, 31);
}

TEST(EventParser, LineOfUnknownKeysIsARecordOfZeros) {
    OwnedEvents events;
    EXPECT_EQ(parseText("[X]1\n", events), 1);
    ASSERT_TRUE(events.has(0));
    const _Event event = events.at(0);
    EXPECT_EQ(vesktest::eventBytes(&event), std::vector<std::uint8_t>(64));
}

TEST(EventParser, CarriageReturnIsPartOfTheLastValue) {
    OwnedEvents events;
    EXPECT_EQ(parseText("[SEQ]7[MSG]PD_a_INFO\r\n[MSG]PD_b_INFO[SEQ]8\r\n\r\n", events), 2);
    EXPECT_EQ(events.at(7).severity, 255);
    EXPECT_EQ(descriptionOf(events.at(7)), "a");
    EXPECT_EQ(events.at(8).severity, 2);
}

TEST(EventParser, NulBytesInsideALineBelongToIt) {
    OwnedEvents events;
    EXPECT_EQ(parseText(std::string("[SEQ]7\0\0[TIME]5\n", 16), events), 1);
    EXPECT_EQ(events.at(7).timeStamp, 5U);
}

TEST(EventParser, MissingLineFeedBeforeFreeSpaceLeavesRemainingText) {
    OwnedEvents events;
    EventParser parser;
    EXPECT_EQ(parse(parser, eventPage("[SEQ]1\n[SEQ]2"), events), 1);
    EXPECT_EQ(parser.getRemainingEvent(), "[SEQ]2" + std::string(4043, '\0'));
}

TEST(EventParser, TrailingTextWithoutABracketIsNotCarried) {
    OwnedEvents events;
    EventParser parser;
    EXPECT_EQ(parse(parser, pageEndingIn("[SEQ]1\ntrailing SEQ]7"), events), 1);
    EXPECT_EQ(parser.getRemainingEvent(), "");
}

TEST(EventParser, LineFeedAsThePagesLastByteLeavesNoRemainingText) {
    OwnedEvents events;
    EventParser parser;
    EXPECT_EQ(parse(parser, pageEndingIn("[SEQ]7[TIME]5\n"), events), 1);
    EXPECT_EQ(events.at(7).timeStamp, 5U);
    EXPECT_EQ(parser.getRemainingEvent(), "");
}

TEST(EventParser, LineCutByThePagesEndIsRemainingText) {
    OwnedEvents events;
    EventParser parser;
    EXPECT_EQ(parse(parser, pageEndingIn("[SEQ]6\nfront[SEQ]7[TI"), events), 1);
    EXPECT_EQ(parser.getRemainingEvent(), "front[SEQ]7[TI");
}

TEST(EventParser, TailOfEightBytesCompletesTheRecordInTheCarryPass) {
    const std::vector<char> page = pageEndingIn("[SEQ]7[TI");
    OwnedEvents events;
    EventParser parser;
    EXPECT_EQ(parse(parser, page, events), 0);
    EXPECT_EQ(parse(parser, carryRead(page, "ME]5678\n"), events), 1);
    EXPECT_EQ(events.keys(), (Keys{7}));
    EXPECT_EQ(events.at(7).timeStamp, 5678U);
    EXPECT_EQ(parser.getRemainingEvent(), "");
}

TEST(EventParser, TailOfNineBytesIsLostSilently) {
    const std::vector<char> page = pageEndingIn("[SEQ]7[TI");
    OwnedEvents events;
    EventParser parser;
    EXPECT_EQ(parse(parser, page, events), 0);
    EXPECT_NE(parser.getRemainingEvent(), "");
    EXPECT_EQ(parse(parser, carryRead(page, "ME]56789"), events), 0);
    EXPECT_EQ(events.size(), 0U);
    EXPECT_EQ(parser.getRemainingEvent(), "");
    EXPECT_EQ(parse(parser, eventPage("[SEQ]8\n"), events), 1) << "from byte 40 as always";
    EXPECT_EQ(events.keys(), (Keys{8}));
}

TEST(EventParser, CarryPassReadsOnlyTheLastEightOf16Bytes) {
    OwnedEvents events;
    EventParser parser;
    parser.setRemainingEvent("[SEQ]7[TIME]");
    const std::string bytes = "\n[SEQ]9\n1234\nX[Y";
    EXPECT_EQ(parse(parser, std::vector<char>(bytes.begin(), bytes.end()), events), 1);
    EXPECT_EQ(events.keys(), (Keys{7}));
    EXPECT_EQ(events.at(7).timeStamp, 1234U);
    EXPECT_EQ(parser.getRemainingEvent(), "");
}

TEST(EventParser, CarryPassCanCompleteOneRecordAndFindAnother) {
    const std::vector<char> page = pageEndingIn("[SEQ]7");
    OwnedEvents events;
    EventParser parser;
    EXPECT_EQ(parse(parser, page, events), 0);
    EXPECT_EQ(parse(parser, carryRead(page, "\n[SEQ]8\n"), events), 2);
    EXPECT_EQ(events.keys(), (Keys{7, 8}));
    EXPECT_EQ(parser.getRemainingEvent(), "");
}

TEST(EventParser, CarryPassLeavesNoRemainingTextOfItsOwn) {
    OwnedEvents events;
    EventParser parser;
    parser.setRemainingEvent("[SEQ]7");
    EXPECT_EQ(parse(parser, carryRead(std::vector<char>(4096), "\n[SEQ]88"), events), 1);
    EXPECT_EQ(events.keys(), (Keys{7}));
    EXPECT_EQ(parser.getRemainingEvent(), "");
}

TEST(EventParser, CarryPassKeepsTheFirstRecordOfANumber) {
    const std::vector<char> page = pageEndingIn("[SEQ]7[TIME]1\n[SEQ]7[TIME]");
    OwnedEvents events;
    EventParser parser;
    EXPECT_EQ(parse(parser, page, events), 1);
    EXPECT_EQ(parse(parser, carryRead(page, "2\n"), events), 0);
    EXPECT_EQ(events.at(7).timeStamp, 1U);
}

TEST(EventParser, CarryPassOfABadLineYieldsNothing) {
    OwnedEvents events;
    EventParser parser;
    parser.setRemainingEvent("[SEQ]-");
    EXPECT_EQ(parse(parser, carryRead(std::vector<char>(4096), "5\n"), events), 0);
    EXPECT_EQ(events.size(), 0U);
    EXPECT_EQ(parser.getRemainingEvent(), "");
}

TEST(EventParser, PageBehindACarryPassIsReadAsAPage) {
    const std::vector<char> page = pageEndingIn("[SEQ]7");
    OwnedEvents events;
    EventParser parser;
    EXPECT_EQ(parse(parser, page, events), 0);
    EXPECT_EQ(parse(parser, carryRead(page, "0\n"), events), 1);
    EXPECT_EQ(parse(parser, eventPage("[SEQ]71\n[SEQ]72\n"), events), 2);
    EXPECT_EQ(events.keys(), (Keys{70, 71, 72}));
}

TEST(EventParser, WholePageOfShortestRecordsIsRead) {
    std::string text;
    for (unsigned number = 1000; number < 1000 + 405; ++number) {
        text += "[SEQ]" + std::to_string(number) + "\n";
    }
    OwnedEvents events;
    EXPECT_EQ(parseText(text, events), 405);
    EXPECT_EQ(events.size(), 405U);
    EXPECT_TRUE(events.has(1404));
}

TEST(EventParser, OneLineMayFillThePage) {
    OwnedEvents events;
    EXPECT_EQ(parseText("[SEQ]7[MSG]PD_" + std::string(4036, 'y') + "_INFO\n", events), 1);
    EXPECT_EQ(descriptionOf(events.at(7)), std::string(29, 'y'));
    EXPECT_EQ(events.at(7).severity, 2);
}

}  // namespace
