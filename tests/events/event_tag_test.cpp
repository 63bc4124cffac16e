// One tag of an event line: which field it goes to, and which values are bad.
#include "owned_events.h"
#include "traced_host.h"

#include "events/event_parser.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using vesktest::LogLines;
using vesktest::TracedHost;

// One tag on a zeroed record.
struct Tag {
    Tag(const std::string& key, const std::string& value) {
        EventParser parser;
        result = parser.addToEventStruct(&event, key, value);
    }
    _Event event{};
    int result = 99;
};

const char* const kNegative = "EventParser::addToEventStruct() : Error parsing SEQ = Sequence is a "
                              "negative number or greater "
                              "than max expected sequence number";
const char* const kNoNumber = "EventParser::addToEventStruct() : Error parsing SEQ = stoull";

TEST(EventTag, SequenceNumberIsDecimal) {
    const Tag tag("SEQ", "1234567");
    EXPECT_EQ(tag.result, 0);
    EXPECT_EQ(tag.event.sequenceNo, 1234567U);
    EXPECT_EQ(Tag("SEQ", "010").event.sequenceNo, 10U);
    EXPECT_EQ(Tag("SEQ", "0x10").event.sequenceNo, 0U);
}

TEST(EventTag, LargestSequenceNumberIs4294967295) {
    EXPECT_EQ(Tag("SEQ", "4294967295").result, 0);
    EXPECT_EQ(Tag("SEQ", "4294967295").event.sequenceNo, 4294967295U);
    EXPECT_EQ(Tag("SEQ", "4294967296").result, 1);
    EXPECT_EQ(Tag("SEQ", "4294967296").event.sequenceNo, 0U);
}

TEST(EventTag, SequenceNumberWithAMinusSignAnywhereIsBad) {
    for (const char* value : {"-1", "-0", "5-3", "5 -", " -4294967295", "7 text - more"}) {
        TracedHost host;
        EXPECT_EQ(Tag("SEQ", value).result, 1) << value;
        EXPECT_EQ(host.messages(), LogLines{kNegative}) << value;
    }
}

TEST(EventTag, SequenceNumberAboveTheLimitIsBad) {
    for (const char* value : {"4294967296", "18446744073709551615"}) {
        TracedHost host;
        EXPECT_EQ(Tag("SEQ", value).result, 1) << value;
        EXPECT_EQ(host.messages(), LogLines{kNegative}) << value;
    }
}

TEST(EventTag, SequenceNumberThatIsNoNumberIsBad) {
    for (const char* value : {"x", " ", "-", "+", "18446744073709551616", "- 5", "\xB9"}) {
        TracedHost host;
        EXPECT_EQ(Tag("SEQ", value).result, 1) << value;
        EXPECT_EQ(host.messages(), LogLines{kNoNumber}) << value;
    }
}

TEST(EventTag, BadSequenceNumberLeavesTheRecordAlone) {
    const Tag tag("SEQ", "4294967297");
    EXPECT_EQ(vesktest::eventBytes(&tag.event), std::vector<std::uint8_t>(64));
}

TEST(EventTag, NumbersMayBeFollowedByOtherText) {
    EXPECT_EQ(Tag("SEQ", "7 of 9").event.sequenceNo, 7U);
    EXPECT_EQ(Tag("SEQ", "7 of 9").result, 0);
    EXPECT_EQ(Tag("EVT_ID", "1F, that is").event.eventCode, 0x1F);
    EXPECT_EQ(Tag("TIME", "1000s").event.timeStamp, 1000U);
    EXPECT_EQ(Tag("DEV_ID", "3\r").event.deviceId, 3);
    EXPECT_EQ(Tag("SEQ", std::string("8\0 9", 4)).event.sequenceNo, 8U);
}

TEST(EventTag, NumbersMayHaveBlanksAndAPlusSignInFront) {
    EXPECT_EQ(Tag("SEQ", " \t+7").event.sequenceNo, 7U);
    EXPECT_EQ(Tag("EVT_ID", " +0x1F").event.eventCode, 0x1F);
    EXPECT_EQ(Tag("TIME", "\v\f 5").event.timeStamp, 5U);
    EXPECT_EQ(Tag("DEV_ID", "+6").event.deviceId, 6);
}

TEST(EventTag, EventCodeIsHexadecimalWithOrWithoutPrefix) {
    EXPECT_EQ(Tag("EVT_ID", "1F").event.eventCode, 31);
    EXPECT_EQ(Tag("EVT_ID", "0x1F").event.eventCode, 31);
    EXPECT_EQ(Tag("EVT_ID", "0X1f").event.eventCode, 31);
    EXPECT_EQ(Tag("EVT_ID", "10").event.eventCode, 16);
    EXPECT_EQ(Tag("EVT_ID", "0x").event.eventCode, 0);
    EXPECT_EQ(Tag("EVT_ID", "FFFF").event.eventCode, 0xFFFF);
}

TEST(EventTag, EventCodeKeepsItsLow16Bits) {
    EXPECT_EQ(Tag("EVT_ID", "12345").event.eventCode, 0x2345);
    EXPECT_EQ(Tag("EVT_ID", "FFFFFFFFFFFF0102").event.eventCode, 0x0102);
    EXPECT_EQ(Tag("EVT_ID", "12345").result, 0);
}

TEST(EventTag, TimeKeepsItsLow32Bits) {
    EXPECT_EQ(Tag("TIME", "1790000000").event.timeStamp, 1790000000U);
    EXPECT_EQ(Tag("TIME", "4294967295").event.timeStamp, 4294967295U);
    EXPECT_EQ(Tag("TIME", "4294967301").event.timeStamp, 5U);
    EXPECT_EQ(Tag("TIME", "18446744073709551615").event.timeStamp, 4294967295U);
}

TEST(EventTag, DeviceIdKeepsItsLow16Bits) {
    EXPECT_EQ(Tag("DEV_ID", "65535").event.deviceId, 65535);
    EXPECT_EQ(Tag("DEV_ID", "65537").event.deviceId, 1);
    EXPECT_EQ(Tag("DEV_ID", "10").event.deviceId, 10);
}

TEST(EventTag, OnlyTheSequenceNumberIsTestedForAMinusSign) {
    EXPECT_EQ(Tag("EVT_ID", "-1").event.eventCode, 0xFFFF);
    EXPECT_EQ(Tag("TIME", "-1").event.timeStamp, 4294967295U);
    EXPECT_EQ(Tag("DEV_ID", "-2").event.deviceId, 65534);
    EXPECT_EQ(Tag("TIME", "-1").result, 0);
}

TEST(EventTag, OtherBadNumbersAreLoggedAndLeaveTheFieldZero) {
    const struct {
        const char* key;
        const char* line;
    } kTags[] = {
        {"EVT_ID", "EventParser::addToEventStruct(): Error parsing EVT_ID = stoul"},
        {"TIME", "EventParser::addToEventStruct(): Error parsing TIMESTAMP = stoul"},
        {"DEV_ID", "EventParser::addToEventStruct(): Error parsing DEV_ID = stoul"},
    };
    for (const auto& expected : kTags) {
        for (const char* value : {"no number", "-", " ", "99999999999999999999", "zz"}) {
            TracedHost host;
            const Tag tag(expected.key, value);
            EXPECT_EQ(tag.result, 0) << value;
            EXPECT_EQ(vesktest::eventBytes(&tag.event), std::vector<std::uint8_t>(64)) << value;
            EXPECT_EQ(host.messages(), LogLines{expected.line}) << value;
        }
    }
}

TEST(EventTag, BadNumberLeavesAnEarlierOneOfTheSameKey) {
    EventParser parser;
    _Event event{};
    for (const char* value : {"21", "none"}) {
        EXPECT_EQ(parser.addToEventStruct(&event, "EVT_ID", value), 0);
        EXPECT_EQ(parser.addToEventStruct(&event, "TIME", value), 0);
        EXPECT_EQ(parser.addToEventStruct(&event, "DEV_ID", value), 0);
    }
    EXPECT_EQ(event.eventCode, 0x21);
    EXPECT_EQ(event.timeStamp, 21U);
    EXPECT_EQ(event.deviceId, 21);
}

TEST(EventTag, EachKeyHasItsPlaceInTheRecord) {
    EventParser parser;
    _Event event{};
    EXPECT_EQ(parser.addToEventStruct(&event, "SEQ", "67305985"), 0);  // 04030201
    EXPECT_EQ(parser.addToEventStruct(&event, "EVT_ID", "0605"), 0);
    EXPECT_EQ(parser.addToEventStruct(&event, "TIME", "168364039"), 0);  // 0A090807
    EXPECT_EQ(parser.addToEventStruct(&event, "DEV_ID", "3083"), 0);     // 0C0B
    EXPECT_EQ(parser.addToEventStruct(&event, "MSG", "PD_ok_FATAL"), 0);
    const std::vector<std::uint8_t> expected = {
        0x02, 0x00, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x07, 0x00, 0x01,
        0x02, 0x03, 0x04, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 'o',  'k',  0x00, 0x00, 0x00,
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};
    EXPECT_EQ(vesktest::eventBytes(&event), expected);
}

TEST(EventTag, UnknownKeyIsIgnoredAndCountsAsSuccess) {
    for (const std::string& key :
         {std::string("seq"), std::string("Seq"), std::string("SEQ "), std::string(" SEQ"),
          std::string("SEQ\0", 4), std::string("EVT"), std::string("MESSAGE"), std::string("X")}) {
        TracedHost host;
        const Tag tag(key, "-5");
        EXPECT_EQ(tag.result, 0) << key;
        EXPECT_EQ(vesktest::eventBytes(&tag.event), std::vector<std::uint8_t>(64)) << key;
        EXPECT_EQ(host.messages(), LogLines{}) << key;
    }
}

}  // namespace
