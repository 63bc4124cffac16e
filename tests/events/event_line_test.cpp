// One line of the event log: its tags, the values of numbers and messages, the names in a message.
#include "owned_events.h"
#include "traced_host.h"

#include "events/event_parser.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using vesktest::eventBytes;
using vesktest::fieldsOf;
using vesktest::LogLines;
using vesktest::TracedHost;

// "good " for 0 or "bad " for 1, and the record as fieldsOf() writes it: sequence number, code,
// time, device, class, severity|description.
std::string outcome(RESULT result, const _Event& event) {
    const std::string word = result == 0 ? "good " : result == 1 ? "bad " : "neither 0 nor 1 ";
    return word + fieldsOf(event);
}

std::string lineOutcome(const std::string& line) {
    EventParser parser;
    _Event event{};
    const RESULT result = parser.parseEvent(line, &event);
    return outcome(result, event);
}

std::string tagOutcome(const std::string& key, const std::string& value) {
    EventParser parser;
    _Event event{};
    const RESULT result = parser.addToEventStruct(&event, key, value);
    return outcome(result, event);
}

struct LineRow {
    std::string line;
    const char* outcome;
};

void expectLines(const std::vector<LineRow>& rows) {
    for (const LineRow& row : rows) {
        EXPECT_EQ(lineOutcome(row.line), row.outcome) << row.line;
    }
}

TEST(EventLine, GivesTheRecordOfItsTags) {
    expectLines({
        {"[SEQ]7[EVT_ID]1F[TIME]1000[DEV_ID]3[MSG]PD_Drive removed_CRITICAL",
         "good 7 31 1000 3 2 6|Drive removed"},
        {"[MSG]VD_Lost_FATAL[DEV_ID]4[TIME]5[EVT_ID]6[SEQ]7", "good 7 6 5 4 1 7|Lost"},
        // Text in front of the first bracket is ignored.
        {"text ] 9 [SEQ]7", "good 7 0 0 0 0 0|"},
        // Without a sequence number it is good and has number 0.
        {"[EVT_ID]1F[TIME]5", "good 0 31 5 0 0 0|"},
        {"[A]1[B]2[seq]3", "good 0 0 0 0 0 0|"},
        // The later tag of a key wins.
        {"[SEQ]7[TIME]1[SEQ]8[TIME]2", "good 8 0 2 0 0 0|"},
        {"[SEQ]7[MSG]nothing", "good 7 0 0 0 0 0|"},
        // A carriage return stays in the last value.
        {"[SEQ]7[MSG]PD_a_INFO\r", "good 7 0 0 0 2 255|a"},
        {"[MSG]PD_a_INFO[SEQ]7\r", "good 7 0 0 0 2 2|a"},
        // Bad numbers other than the sequence number fail nothing.
        {"[EVT_ID]xyz[SEQ]7[TIME]?[DEV_ID]99999999999999999999", "good 7 0 0 0 0 0|"},
    });
}

TEST(EventLine, BracketsInTheWrongPlaceBelongToKeyOrValue) {
    expectLines({
        // A key that is not closed reaches to the end; one that is opened twice holds the bracket.
        {"[TIME]5[SEQ 7", "good 0 0 5 0 0 0|"},
        {"[TI[SEQ]9[DEV_ID]4", "good 0 0 0 4 0 0|"},
        {"[SEQ]7[MSG]PD_a] b]_INFO", "good 7 0 0 0 2 2|a] b]"},
        {"[SEQ]]7", "bad 0 0 0 0 0 0|"},
        // An opening bracket ends a message, and what follows is read as a tag.
        {"[SEQ]7[MSG]PD_Drive [bay 2] gone_CRITICAL", "good 7 0 0 0 2 255|Drive "},
        {"[MSG]PD_Bay [SEQ]12_INFO", "good 12 0 0 0 2 255|Bay "},
    });
}

TEST(EventLine, WithoutATagFails) {
    expectLines({{"", "bad 0 0 0 0 0 0|"},
                 {"no tags at all", "bad 0 0 0 0 0 0|"},
                 {"SEQ]7", "bad 0 0 0 0 0 0|"},
                 {std::string(100, '\0'), "bad 0 0 0 0 0 0|"}});
}

TEST(EventLine, FirstTagWithoutValueFailsTheLine) {
    for (const char* line : {"[SEQ][EVT_ID]1F", "[EVT_ID][SEQ]7", "[SEQ]", "[SEQ", "["}) {
        EXPECT_EQ(lineOutcome(line), "bad 0 0 0 0 0 0|") << line;
    }
}

TEST(EventLine, FirstTagWithoutKeyFailsTheLine) {
    for (const char* line : {"[]5[SEQ]7", "[]", "[][SEQ]7"}) {
        EXPECT_EQ(lineOutcome(line), "bad 0 0 0 0 0 0|") << line;
    }
}

TEST(EventLine, LaterTagWithoutKeyOrValueIsSkipped) {
    expectLines({{"[SEQ]7[EVT_ID][]5[TIME]8[DEV_ID]", "good 7 0 8 0 0 0|"}});
}

TEST(EventLine, BadSequenceNumberStopsTheLine) {
    expectLines({{"[EVT_ID]2[SEQ]-1[TIME]5", "bad 0 2 0 0 0 0|"},
                 {"[SEQ]4294967296[TIME]5", "bad 0 0 0 0 0 0|"},
                 {"[TIME]5[SEQ]none[DEV_ID]4", "bad 0 0 5 0 0 0|"},
                 {"[SEQ]7[SEQ]none", "bad 7 0 0 0 0 0|"}});
}

TEST(EventTag, NumbersGoToTheirFieldCutToItsWidth) {
    const struct {
        const char* key;
        std::string value;
        const char* outcome;
    } kRows[] = {
        // Decimal, and 32 bits for the sequence number.
        {"SEQ", "1234567", "good 1234567 0 0 0 0 0|"},
        {"SEQ", "010", "good 10 0 0 0 0 0|"},
        {"SEQ", "0x10", "good 0 0 0 0 0 0|"},
        {"SEQ", "4294967295", "good 4294967295 0 0 0 0 0|"},
        // Hexadecimal with or without prefix, 16 bits for the code.
        {"EVT_ID", "1F", "good 0 31 0 0 0 0|"},
        {"EVT_ID", "0x1F", "good 0 31 0 0 0 0|"},
        {"EVT_ID", "0X1f", "good 0 31 0 0 0 0|"},
        {"EVT_ID", "10", "good 0 16 0 0 0 0|"},
        {"EVT_ID", "0x", "good 0 0 0 0 0 0|"},
        {"EVT_ID", "FFFF", "good 0 65535 0 0 0 0|"},
        {"EVT_ID", "12345", "good 0 9029 0 0 0 0|"},
        {"EVT_ID", "FFFFFFFFFFFF0102", "good 0 258 0 0 0 0|"},
        // 32 bits for the time, 16 for the device.
        {"TIME", "1790000000", "good 0 0 1790000000 0 0 0|"},
        {"TIME", "4294967295", "good 0 0 4294967295 0 0 0|"},
        {"TIME", "4294967301", "good 0 0 5 0 0 0|"},
        {"TIME", "18446744073709551615", "good 0 0 4294967295 0 0 0|"},
        {"DEV_ID", "10", "good 0 0 0 10 0 0|"},
        {"DEV_ID", "65535", "good 0 0 0 65535 0 0|"},
        {"DEV_ID", "65537", "good 0 0 0 1 0 0|"},
        // Only the sequence number is tested for a minus sign.
        {"EVT_ID", "-1", "good 0 65535 0 0 0 0|"},
        {"TIME", "-1", "good 0 0 4294967295 0 0 0|"},
        {"DEV_ID", "-2", "good 0 0 0 65534 0 0|"},
        // Blanks and a plus sign in front, other text behind.
        {"SEQ", " \t+7", "good 7 0 0 0 0 0|"},
        {"EVT_ID", " +0x1F", "good 0 31 0 0 0 0|"},
        {"TIME", "\v\f 5", "good 0 0 5 0 0 0|"},
        {"DEV_ID", "+6", "good 0 0 0 6 0 0|"},
        {"SEQ", "7 of 9", "good 7 0 0 0 0 0|"},
        {"EVT_ID", "1F, that is", "good 0 31 0 0 0 0|"},
        {"TIME", "1000s", "good 0 0 1000 0 0 0|"},
        {"DEV_ID", "3\r", "good 0 0 0 3 0 0|"},
        {"SEQ", std::string("8\0 9", 4), "good 8 0 0 0 0 0|"},
    };
    TracedHost host;
    for (const auto& row : kRows) {
        EXPECT_EQ(tagOutcome(row.key, row.value), row.outcome) << row.key << ' ' << row.value;
    }
    EXPECT_EQ(host.messages(), LogLines{});
}

TEST(EventTag, BadNumbersAreLoggedAndChangeNothing) {
    const char* const kNegative = "EventParser::addToEventStruct() : Error parsing SEQ = "
                                  "Sequence is a negative number or greater "
                                  "than max expected sequence number";
    const char* const kNoNumber = "EventParser::addToEventStruct() : Error parsing SEQ = stoull";
    const char* const kTooLarge = "99999999999999999999";
    const struct {
        const char* key;
        const char* outcome;
        std::vector<const char*> values;
        const char* line;
    } kRows[] = {
        {"SEQ",
         "bad 0 0 0 0 0 0|",
         {"-1", "-0", "5-3", "5 -", " -4294967295", "7 - more", "4294967296", "4294967297",
          "18446744073709551615"},
         kNegative},
        {"SEQ",
         "bad 0 0 0 0 0 0|",
         {"x", " ", "-", "+", "18446744073709551616", "- 5", "\xB9"},
         kNoNumber},
        // All others are good tags all the same.
        {"EVT_ID",
         "good 0 0 0 0 0 0|",
         {"no number", "-", " ", kTooLarge, "zz"},
         "EventParser::addToEventStruct(): Error parsing EVT_ID = stoul"},
        {"TIME",
         "good 0 0 0 0 0 0|",
         {"no number", "-", " ", kTooLarge, "zz"},
         "EventParser::addToEventStruct(): Error parsing TIMESTAMP = stoul"},
        {"DEV_ID",
         "good 0 0 0 0 0 0|",
         {"no number", "-", " ", kTooLarge, "zz"},
         "EventParser::addToEventStruct(): Error parsing DEV_ID = stoul"},
    };
    TracedHost host;
    for (const auto& row : kRows) {
        for (const char* value : row.values) {
            host.forgetLines();
            EXPECT_EQ(tagOutcome(row.key, value), row.outcome) << row.key << ' ' << value;
            EXPECT_EQ(host.messages(), LogLines{row.line}) << row.key << ' ' << value;
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
    EXPECT_EQ(fieldsOf(event), "0 33 21 21 0 0|");
}

TEST(EventTag, EachKeyHasItsPlaceInTheRecord) {
    EventParser parser;
    _Event event{};
    EXPECT_EQ(parser.addToEventStruct(&event, "SEQ", "67305985"), 0);  // 04030201
    EXPECT_EQ(parser.addToEventStruct(&event, "EVT_ID", "0605"), 0);
    EXPECT_EQ(parser.addToEventStruct(&event, "TIME", "168364039"), 0);  // 0A090807
    EXPECT_EQ(parser.addToEventStruct(&event, "DEV_ID", "3083"), 0);     // 0C0B
    EXPECT_EQ(parser.addToEventStruct(&event, "MSG", "PD_ok_FATAL"), 0);
    std::vector<std::uint8_t> expected = {0x02, 0x00, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A,
                                          0x0B, 0x0C, 0x07, 0x00, 0x01, 0x02, 0x03, 0x04};
    expected.resize(64);
    expected[34] = 'o';
    expected[35] = 'k';
    EXPECT_EQ(eventBytes(&event), expected);
}

TEST(EventTag, UnknownKeyIsIgnoredAndCountsAsSuccess) {
    TracedHost host;
    for (const std::string& key :
         {std::string("seq"), std::string("Seq"), std::string("SEQ "), std::string(" SEQ"),
          std::string("SEQ\0", 4), std::string("EVT"), std::string("MESSAGE"), std::string("X")}) {
        EXPECT_EQ(tagOutcome(key, "-5"), "good 0 0 0 0 0 0|") << key;
    }
    EXPECT_EQ(host.messages(), LogLines{});
}

// The record of a message: its class and severity are the last two numbers.
std::string message(const std::string& value, const std::string& key = "MSG") {
    EventParser parser;
    _Event event{};
    parser.parseMSG(&event, key, value);
    EXPECT_EQ(event.description[29], '\0') << value;
    return fieldsOf(event);
}

TEST(EventMessage, IsClassDescriptionAndSeverity) {
    const struct {
        std::string value;
        const char* fields;
    } kRows[] = {
        {"PD_Drive removed_CRITICAL", "0 0 0 0 2 6|Drive removed"},
        // Inner underscores belong to the description; two in a row make an empty one.
        {"ADAPTER_one_two__three_WARNING", "0 0 0 0 0 3|one_two__three"},
        {"VD__FATAL", "0 0 0 0 1 7|"},
        // Unknown names are 255. The class is looked for in front of the first underscore only.
        {"_", "0 0 0 0 255 255|"},
        {"FAN_stopped_URGENT", "0 0 0 0 255 255|stopped"},
        {"x_PD gone_INFO", "0 0 0 0 255 2|PD gone"},
        // Without an underscore there is nothing in it.
        {"PD removed CRITICAL", "0 0 0 0 0 0|"},
        {"CRITICAL", "0 0 0 0 0 0|"},
        {"", "0 0 0 0 0 0|"},
        // 29 characters of the description are kept.
        {"PD_abcdefghijklmnopqrstuvwxyz012_INFO", "0 0 0 0 2 2|abcdefghijklmnopqrstuvwxyz012"},
        {"PD_abcdefghijklmnopqrstuvwxyz0123_INFO", "0 0 0 0 2 2|abcdefghijklmnopqrstuvwxyz012"},
        {"PD_" + std::string(3000, 'x') + "_INFO", "0 0 0 0 2 2|xxxxxxxxxxxxxxxxxxxxxxxxxxxxx"},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(message(row.value), row.fields) << row.value;
    }
    EXPECT_EQ(message("VD_Optimal_NOTIFY", "anything"), "0 0 0 0 1 2|Optimal")
        << "the key is not looked at";
}

TEST(EventMessage, OneUnderscoreMakesTheSeverityNameTheDescription) {
    EXPECT_EQ(message("VD_FATAL"), "0 0 0 0 1 7|FATAL");
}

TEST(EventMessage, TouchesNoOtherField) {
    EventParser parser;
    _Event event{};
    event.eventCode = 1;
    event.timeStamp = 2;
    event.deviceId = 3;
    event.sequenceNo = 4;
    parser.parseMSG(&event, "MSG", "PD_a long description_INFO");
    parser.parseMSG(&event, "MSG", "VD_b_FATAL");
    EXPECT_EQ(fieldsOf(event), "4 1 2 3 1 7|b") << "the later one ends at its NUL";
}

using Names = std::vector<std::pair<std::string, int>>;

void expectSeverities(const Names& names) {
    EventParser parser;
    for (const auto& entry : names) {
        EXPECT_EQ(parser.mapSeverity(entry.first), entry.second) << entry.first;
    }
}

void expectClasses(const Names& names) {
    EventParser parser;
    for (const auto& entry : names) {
        EXPECT_EQ(parser.mapClassName(entry.first), entry.second) << entry.first;
    }
}

TEST(EventNames, InfoAndNotifyAreOneSeverity) {
    const Names names = {{"UNKNOWN", 0}, {"OTHER", 1},    {"INFO", 2},
                         {"NOTIFY", 2},  {"WARNING", 3},  {"MINOR", 4},
                         {"MAJOR", 5},   {"CRITICAL", 6}, {"FATAL", 7}};
    expectSeverities(names);
}

TEST(EventNames, SeveritiesCompareAsWholeStrings) {
    const Names names = {{"", 255},
                         {"INFORMATION", 255},
                         {"INF", 255},
                         {"info", 255},
                         {" INFO", 255},
                         {"INFO ", 255},
                         {"INFO\r", 255},
                         {std::string("INFO\0", 5), 255},
                         {"CRITICAL FATAL", 255},
                         {"2", 255}};
    expectSeverities(names);
}

TEST(EventNames, ClassesAreLookedForAsSubstrings) {
    const Names whole = {{"NVMe", 0}, {"ADAPTER", 0},  {"VD", 1},  {"PD", 2},
                         {"PM", 3},   {"EXPANDER", 4}, {"MDD", 5}, {"BSL", 6}};
    const Names parts = {
        {"the NVMe controller", 0}, {"MYADAPTERS", 0}, {"xVDx", 1}, {"UPDATE", 2}, {"RPM", 3},
        {"EXPANDERS", 4},           {"(MDD)", 5},      {"NOBSL", 6}};
    const Names unknown = {{"", 255},    {"nvme", 255},    {"NVME", 255}, {"vd", 255},
                           {"P D", 255}, {"Adapter", 255}, {"MD", 255},   {"BS", 255}};
    expectClasses(whole);
    expectClasses(parts);
    expectClasses(unknown);
}

TEST(EventNames, FirstClassOfTheOrderDecidesAndNotTheFirstInTheText) {
    const Names names = {{"PD VD", 1},       {"PD ADAPTER", 0},   {"VD NVMe", 0}, {"PM PD", 2},
                         {"EXPANDER PM", 3}, {"MDD EXPANDER", 4}, {"BSL MDD", 5}};
    expectClasses(names);
}

}  // namespace
