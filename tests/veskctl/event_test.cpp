// One event: decoded, shown.
#include "veskctl/event_view.h"

#include "record_bytes.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using nlohmann::ordered_json;
using veskctl::decodeEvent;
using veskctl::Event;
using veskctl::eventToJson;
using veskctl::eventToJsonLine;
using veskctl::eventToTextLine;

Event sampleEvent() {
    RecordBytes<64> bytes;
    bytes.put(0, {0x02, 0x00, 0x36, 0x08})
        .put(4, {0x80, 0x3B, 0xB1, 0x6A})
        .put(8, {0x01, 0x01, 0x06})
        .put(12, {0xFF, 0xFF, 0xFF, 0x7F})
        .putText(34, 30, "Drive removed ");
    return decodeEvent(bytes.data());
}

TEST(Event, Json) {
    EXPECT_EQ(eventToJson(sampleEvent()), ordered_json::parse(R"({
        "sequence": 2147483647, "time": "2026-09-21T14:13:20Z", "time_raw": 1790000000,
        "class": "physical_disk", "class_code": 2, "code": 2102, "severity": "critical",
        "severity_code": 6, "device_id": 257, "message": "Drive removed"})"));
}

TEST(Event, JsonLineIsOneLine) {
    Event event = sampleEvent();
    event.message = "a\nb\xFF";
    EXPECT_EQ(eventToJsonLine(event),
              "{\"sequence\":2147483647,\"time\":\"2026-09-21T14:13:20Z\",\"time_raw\":1790000000,"
              "\"class\":\"physical_disk\",\"class_code\":2,\"code\":2102,"
              "\"severity\":\"critical\",\"severity_code\":6,\"device_id\":257,"
              "\"message\":\"a\\nb\xEF\xBF\xBD\"}\n");
}

TEST(Event, TextLine) {
    EXPECT_EQ(eventToTextLine(sampleEvent(), false),
              "2026-09-21T14:13:20Z  critical  physical_disk  device 257  code 2102   "
              "Drive removed  (#2147483647)\n");
    EXPECT_NE(eventToTextLine(sampleEvent(), true).find("\x1b[33mcritical\x1b[0m"),
              std::string::npos);
}

TEST(Event, TextLineOfNothingKnown) {
    Event event;
    event.classCode = 255;
    event.severityCode = 255;
    event.message = "\x1b[2J";
    EXPECT_EQ(
        eventToTextLine(event, false),
        "time not reported     -         class 255      device 0    code 0      ?[2J  (#0)\n");
}

TEST(Event, MessageMayFillItsFieldWithoutAnEnd) {
    RecordBytes<64> bytes;
    bytes.putText(34, 30, "123456789012345678901234567890");
    EXPECT_EQ(decodeEvent(bytes.data()).message, "123456789012345678901234567890");
}

TEST(Event, ClassesBySpelling) {
    Event event;
    EXPECT_EQ(event.className(), "adapter");
    event.classCode = 1;
    EXPECT_EQ(event.className(), "virtual_disk");
    event.classCode = 2;
    EXPECT_EQ(event.className(), "physical_disk");
    for (const unsigned code : {3U, 6U, 255U, 65535U}) {
        event.classCode = code;
        EXPECT_EQ(event.className(), std::nullopt) << code;
    }
}

TEST(Event, SeveritiesBySpelling) {
    const char* const names[] = {"unknown", "other", "info",     "warning",
                                 "minor",   "major", "critical", "fatal"};
    Event event;
    for (unsigned code = 0; code < 8; ++code) {
        event.severityCode = code;
        EXPECT_EQ(event.severity(), names[code]);
    }
    event.severityCode = 8;
    EXPECT_EQ(event.severity(), std::nullopt);
    event.severityCode = 255;
    EXPECT_EQ(event.severity(), std::nullopt);
}

TEST(Event, TimesOfTheWholeRange) {
    Event event;
    EXPECT_EQ(event.time(), std::nullopt);
    event.timeRaw = 1;
    EXPECT_EQ(event.time(), "1970-01-01T00:00:01Z");
    event.timeRaw = 951782400;
    EXPECT_EQ(event.time(), "2000-02-29T00:00:00Z");
    event.timeRaw = 4294967295;
    EXPECT_EQ(event.time(), "2106-02-07T06:28:15Z");
}

}  // namespace
