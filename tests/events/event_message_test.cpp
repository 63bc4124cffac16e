// The value of a message tag: class, severity and description.
#include "owned_events.h"

#include "events/event_parser.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using vesktest::descriptionOf;

_Event message(const std::string& value, const std::string& key = "MSG") {
    EventParser parser;
    _Event event{};
    parser.parseMSG(&event, key, value);
    return event;
}

TEST(EventMessage, IsClassDescriptionAndSeverity) {
    const _Event event = message("PD_Drive removed_CRITICAL");
    EXPECT_EQ(event.eventClass, 2);
    EXPECT_EQ(event.severity, 6);
    EXPECT_EQ(descriptionOf(event), "Drive removed");
}

TEST(EventMessage, KeyIsNotLookedAt) {
    const _Event event = message("VD_Optimal_NOTIFY", "anything");
    EXPECT_EQ(event.eventClass, 1);
    EXPECT_EQ(event.severity, 2);
    EXPECT_EQ(descriptionOf(event), "Optimal");
}

TEST(EventMessage, TouchesNoOtherField) {
    EventParser parser;
    _Event event{};
    event.eventCode = 1;
    event.timeStamp = 2;
    event.deviceId = 3;
    event.sequenceNo = 4;
    parser.parseMSG(&event, "MSG", "PD_a_INFO");
    std::vector<std::uint8_t> expected(64);
    expected[0] = 2;
    expected[2] = 1;
    expected[4] = 2;
    expected[8] = 3;
    expected[10] = 2;
    expected[12] = 4;
    expected[34] = 'a';
    EXPECT_EQ(vesktest::eventBytes(&event), expected);
}

TEST(EventMessage, WithoutUnderscoreLeavesItsFieldsZero) {
    for (const char* value : {"PD removed CRITICAL", "CRITICAL", ""}) {
        const _Event event = message(value);
        EXPECT_EQ(vesktest::eventBytes(&event), std::vector<std::uint8_t>(64)) << value;
    }
}

TEST(EventMessage, InnerUnderscoresBelongToTheDescription) {
    const _Event event = message("ADAPTER_one_two__three_WARNING");
    EXPECT_EQ(event.eventClass, 0);
    EXPECT_EQ(event.severity, 3);
    EXPECT_EQ(descriptionOf(event), "one_two__three");
}

TEST(EventMessage, OneUnderscoreMakesTheSeverityNameTheDescription) {
    const _Event event = message("VD_FATAL");
    EXPECT_EQ(event.eventClass, 1);
    EXPECT_EQ(event.severity, 7);
    EXPECT_EQ(descriptionOf(event), "FATAL");
}

TEST(EventMessage, TwoUnderscoresInARowMakeAnEmptyDescription) {
    const _Event event = message("VD__FATAL");
    EXPECT_EQ(event.severity, 7);
    EXPECT_EQ(descriptionOf(event), "");
}

TEST(EventMessage, AnUnderscoreAloneIsUnknownEverywhere) {
    const _Event event = message("_");
    EXPECT_EQ(event.eventClass, 255);
    EXPECT_EQ(event.severity, 255);
    EXPECT_EQ(descriptionOf(event), "");
}

TEST(EventMessage, UnknownNamesAre255) {
    const _Event event = message("FAN_stopped_URGENT");
    EXPECT_EQ(event.eventClass, 255);
    EXPECT_EQ(event.severity, 255);
    EXPECT_EQ(descriptionOf(event), "stopped");
}

TEST(EventMessage, ClassIsLookedForInFrontOfTheFirstUnderscoreOnly) {
    const _Event event = message("x_PD gone_INFO");
    EXPECT_EQ(event.eventClass, 255);
    EXPECT_EQ(descriptionOf(event), "PD gone");
}

TEST(EventMessage, DescriptionOf29CharactersIsKeptWhole) {
    const _Event event = message("PD_abcdefghijklmnopqrstuvwxyz012_INFO");
    EXPECT_EQ(descriptionOf(event), "abcdefghijklmnopqrstuvwxyz012");
    EXPECT_EQ(event.description[29], '\0');
}

TEST(EventMessage, DescriptionOf30CharactersLosesItsLast) {
    const _Event event = message("PD_abcdefghijklmnopqrstuvwxyz0123_INFO");
    EXPECT_EQ(descriptionOf(event), "abcdefghijklmnopqrstuvwxyz012");
    EXPECT_EQ(event.description[29], '\0');
    EXPECT_EQ(event.severity, 2);
}

TEST(EventMessage, LongDescriptionIsCutTo29Characters) {
    const _Event event = message("PD_" + std::string(3000, 'x') + "_INFO");
    EXPECT_EQ(descriptionOf(event), "xxxxxxxxxxxxxxxxxxxxxxxxxxxxx");
}

TEST(EventMessage, LaterShorterDescriptionEndsAtItsNul) {
    EventParser parser;
    _Event event{};
    parser.parseMSG(&event, "MSG", "PD_a long description_INFO");
    parser.parseMSG(&event, "MSG", "PD_b_INFO");
    EXPECT_EQ(descriptionOf(event), "b");
}

}  // namespace
