// One line of the event log: a row of tags.
#include "owned_events.h"

#include "events/event_parser.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using vesktest::descriptionOf;

struct Line {
    explicit Line(const std::string& text) {
        EventParser parser;
        result = parser.parseEvent(text, &event);
    }
    _Event event{};
    int result = 99;
};

TEST(EventLine, OfAllTagsFillsTheWholeRecord) {
    const Line line("[SEQ]7[EVT_ID]1F[TIME]1000[DEV_ID]3[MSG]PD_Drive removed_CRITICAL");
    EXPECT_EQ(line.result, 0);
    EXPECT_EQ(line.event.sequenceNo, 7U);
    EXPECT_EQ(line.event.eventCode, 31);
    EXPECT_EQ(line.event.timeStamp, 1000U);
    EXPECT_EQ(line.event.deviceId, 3);
    EXPECT_EQ(line.event.eventClass, 2);
    EXPECT_EQ(line.event.severity, 6);
    EXPECT_EQ(descriptionOf(line.event), "Drive removed");
}

TEST(EventLine, OrderOfTheTagsIsFree) {
    const Line line("[MSG]VD_Lost_FATAL[DEV_ID]4[TIME]5[EVT_ID]6[SEQ]7");
    EXPECT_EQ(line.result, 0);
    EXPECT_EQ(line.event.eventClass, 1);
    EXPECT_EQ(line.event.deviceId, 4);
    EXPECT_EQ(line.event.timeStamp, 5U);
    EXPECT_EQ(line.event.eventCode, 6);
    EXPECT_EQ(line.event.sequenceNo, 7U);
}

TEST(EventLine, EmptyLineFails) {
    EXPECT_EQ(Line("").result, 1);
}

TEST(EventLine, WithoutBracketFails) {
    EXPECT_EQ(Line("no tags at all").result, 1);
    EXPECT_EQ(Line("SEQ]7").result, 1);
    EXPECT_EQ(Line(std::string(100, '\0')).result, 1);
}

TEST(EventLine, TextInFrontOfTheFirstBracketIsIgnored) {
    const Line line("text ] 9 [SEQ]7");
    EXPECT_EQ(line.result, 0);
    EXPECT_EQ(line.event.sequenceNo, 7U);
}

TEST(EventLine, FirstTagWithoutValueFailsTheLine) {
    EXPECT_EQ(Line("[SEQ][EVT_ID]1F").result, 1);
    EXPECT_EQ(Line("[EVT_ID][SEQ]7").result, 1);
    EXPECT_EQ(Line("[SEQ]").result, 1);
    EXPECT_EQ(Line("[SEQ").result, 1);
    EXPECT_EQ(Line("[").result, 1);
}

TEST(EventLine, FirstTagWithoutKeyFailsTheLine) {
    EXPECT_EQ(Line("[]5[SEQ]7").result, 1);
    EXPECT_EQ(Line("[]").result, 1);
    EXPECT_EQ(Line("[][SEQ]7").result, 1);
}

TEST(EventLine, LaterTagWithoutKeyOrValueIsSkipped) {
    const Line line("[SEQ]7[EVT_ID][]5[TIME]8[DEV_ID]");
    EXPECT_EQ(line.result, 0);
    EXPECT_EQ(line.event.sequenceNo, 7U);
    EXPECT_EQ(line.event.eventCode, 0);
    EXPECT_EQ(line.event.timeStamp, 8U);
    EXPECT_EQ(line.event.deviceId, 0);
}

TEST(EventLine, OfUnknownKeysSucceedsAndIsAllZeros) {
    const Line line("[A]1[B]2[seq]3");
    EXPECT_EQ(line.result, 0);
    EXPECT_EQ(vesktest::eventBytes(&line.event), std::vector<std::uint8_t>(64));
}

TEST(EventLine, WithoutSequenceNumberIsGoodAndHasNumberZero) {
    const Line line("[EVT_ID]1F[TIME]5");
    EXPECT_EQ(line.result, 0);
    EXPECT_EQ(line.event.sequenceNo, 0U);
    EXPECT_EQ(line.event.eventCode, 31);
}

TEST(EventLine, BadSequenceNumberStopsTheLine) {
    const Line line("[EVT_ID]2[SEQ]-1[TIME]5");
    EXPECT_EQ(line.result, 1);
    EXPECT_EQ(line.event.eventCode, 2);
    EXPECT_EQ(line.event.timeStamp, 0U) << "what stands behind it is not read";
}

TEST(EventLine, BadSequenceNumbersFail) {
    EXPECT_EQ(Line("[SEQ]-1[TIME]5").result, 1);
    EXPECT_EQ(Line("[SEQ]4294967296[TIME]5").result, 1);
    EXPECT_EQ(Line("[TIME]5[SEQ]none").result, 1);
    EXPECT_EQ(Line("[SEQ]7[SEQ]none").result, 1);
}

TEST(EventLine, OtherBadNumbersDoNotFail) {
    const Line line("[EVT_ID]xyz[SEQ]7[TIME]?[DEV_ID]99999999999999999999");
    EXPECT_EQ(line.result, 0);
    EXPECT_EQ(line.event.sequenceNo, 7U);
    EXPECT_EQ(line.event.eventCode, 0);
}

TEST(EventLine, KeyWithoutClosingBracketReachesToTheEnd) {
    const Line line("[TIME]5[SEQ 7");
    EXPECT_EQ(line.result, 0);
    EXPECT_EQ(line.event.sequenceNo, 0U);
    EXPECT_EQ(line.event.timeStamp, 5U);
}

TEST(EventLine, OpeningBracketInsideAKeyBelongsToIt) {
    const Line line("[TI[SEQ]9[DEV_ID]4");
    EXPECT_EQ(line.result, 0);
    EXPECT_EQ(line.event.sequenceNo, 0U) << "the key is TI[SEQ";
    EXPECT_EQ(line.event.deviceId, 4);
}

TEST(EventLine, ClosingBracketInsideAValueBelongsToIt) {
    const Line line("[SEQ]7[MSG]PD_a] b]_INFO");
    EXPECT_EQ(descriptionOf(line.event), "a] b]");
    EXPECT_EQ(Line("[SEQ]]7").result, 1) << "a value that begins with a bracket is no number";
}

TEST(EventLine, OpeningBracketInsideAMessageEndsItThere) {
    const Line line("[SEQ]7[MSG]PD_Drive [bay 2] gone_CRITICAL");
    EXPECT_EQ(line.result, 0);
    EXPECT_EQ(line.event.eventClass, 2);
    EXPECT_EQ(descriptionOf(line.event), "Drive ") << "the only underscore there is";
    EXPECT_EQ(line.event.severity, 255);
}

TEST(EventLine, WhatFollowsABracketInAMessageIsReadAsATag) {
    const Line line("[MSG]PD_Bay [SEQ]12_INFO");
    EXPECT_EQ(line.result, 0);
    EXPECT_EQ(line.event.sequenceNo, 12U);
}

TEST(EventLine, LaterTagOfTheSameKeyWins) {
    const Line line("[SEQ]7[TIME]1[SEQ]8[TIME]2");
    EXPECT_EQ(line.event.sequenceNo, 8U);
    EXPECT_EQ(line.event.timeStamp, 2U);
}

TEST(EventLine, CarriageReturnStaysInTheLastValue) {
    const Line message("[SEQ]7[MSG]PD_a_INFO\r");
    EXPECT_EQ(message.result, 0);
    EXPECT_EQ(message.event.severity, 255);
    EXPECT_EQ(descriptionOf(message.event), "a");
    const Line number("[MSG]PD_a_INFO[SEQ]7\r");
    EXPECT_EQ(number.event.sequenceNo, 7U);
    EXPECT_EQ(number.event.severity, 2);
}

TEST(EventLine, MessageWithoutUnderscoreIsStillGood) {
    const Line line("[SEQ]7[MSG]nothing");
    EXPECT_EQ(line.result, 0);
    EXPECT_EQ(line.event.eventClass, 0);
    EXPECT_EQ(line.event.severity, 0);
    EXPECT_EQ(descriptionOf(line.event), "");
}

}  // namespace
