// Events: taken, decoded, shown.
#include "veskctl/event.h"

#include "veskctl/output.h"

#include "fake_library.h"
#include "samples.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace veskctl {

namespace {

using EventBytes = std::array<std::uint8_t, 64>;

Event taken(const EventBytes& bytes) {
    FakeLibrary library;
    library.events = {bytes};
    return takeEvents(library.functions()).events.at(0);
}

Event sample() {
    return taken(RecordBytes<64>()
                     .put(0, {0x02, 0x00, 0x36, 0x08})
                     .put(4, {0x80, 0x3B, 0xB1, 0x6A})
                     .put(8, {0x01, 0x01, 0x06})
                     .put(12, {0xFF, 0xFF, 0xFF, 0x7F})
                     .putText(34, 30, "Drive removed ")
                     .bytes());
}

TEST(Event, EveryFieldIsFoundAmongNoise) {
    EXPECT_EQ(compact(eventToJson(sample(), "esx1")), compact(R"({
        "host": "esx1", "sequence": 2147483647, "time": "2026-09-21T14:13:20Z", "time_raw": 1790000000,
        "class": "physical_disk", "class_code": 2, "code": 2102, "severity": "critical",
        "severity_code": 6, "device_id": 257, "message": "Drive removed"})"));
    EXPECT_EQ(eventToTextLine(sample(), false),
              "2026-09-21T14:13:20Z  critical  physical_disk  device 257  code 2102   "
              "Drive removed  (#2147483647)\n");
}

TEST(Event, JsonLineIsOneLineOfUtf8) {
    Event event = sample();
    event.message = "a\nb\xFF";
    EXPECT_EQ(renderJsonLine(eventToJson(event, "esx1")),
              "{\"host\":\"esx1\",\"sequence\":2147483647,\"time\":\"2026-09-21T14:13:20Z\",\"time_"
              "raw\":1790000000,"
              "\"class\":\"physical_disk\",\"class_code\":2,\"code\":2102,"
              "\"severity\":\"critical\",\"severity_code\":6,\"device_id\":257,"
              "\"message\":\"a\\nb\xEF\xBF\xBD\"}\n");
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
    const std::string message = "123456789012345678901234567890";
    EXPECT_EQ(taken(RecordBytes<64>().putText(34, 30, message).bytes()).message, message);
}

TEST(Event, ClassesBySpelling) {
    const std::vector<std::pair<unsigned, std::optional<std::string>>> classes = {
        {0, "adapter"},    {1, "virtual_disk"}, {2, "physical_disk"}, {3, std::nullopt},
        {6, std::nullopt}, {255, std::nullopt}, {65535, std::nullopt}};
    Event event;
    for (const auto& [code, name] : classes) {
        event.classCode = code;
        EXPECT_EQ(event.className(), name) << code;
    }
}

TEST(Event, SeveritiesBySpellingAndFromWarningUpInColour) {
    struct Row {
        unsigned code;
        std::optional<std::string> name;
        const char* shown;
    };
    const std::vector<Row> rows = {{0, "unknown", "  unknown   "},
                                   {1, "other", "  other     "},
                                   {2, "info", "  info      "},
                                   {3, "warning", "  \x1b[33mwarning \x1b[0m  "},
                                   {4, "minor", "  \x1b[33mminor   \x1b[0m  "},
                                   {5, "major", "  \x1b[33mmajor   \x1b[0m  "},
                                   {6, "critical", "  \x1b[33mcritical\x1b[0m  "},
                                   {7, "fatal", "  \x1b[33mfatal   \x1b[0m  "},
                                   {8, std::nullopt, "  \x1b[2m-       \x1b[0m  "},
                                   {255, std::nullopt, "  \x1b[2m-       \x1b[0m  "}};
    Event event;
    for (const Row& row : rows) {
        event.severityCode = row.code;
        EXPECT_EQ(event.severity(), row.name) << row.code;
        EXPECT_TRUE(contains(eventToTextLine(event, true), row.shown)) << row.code;
    }
}

TEST(Event, TimesOfTheWholeRange) {
    const std::vector<std::pair<std::uint32_t, std::optional<std::string>>> times = {
        {0, std::nullopt},
        {1, "1970-01-01T00:00:01Z"},
        {951782400, "2000-02-29T00:00:00Z"},
        {4294967295, "2106-02-07T06:28:15Z"}};
    Event event;
    for (const auto& [raw, text] : times) {
        event.timeRaw = raw;
        EXPECT_EQ(event.time(), text);
    }
}

class EventDeliveries : public WithFakeLibrary {
protected:
    void deliver(unsigned sequence) {
        library.events.emplace_back()[12] = static_cast<std::uint8_t>(sequence);
    }
};

TEST_F(EventDeliveries, KeepTheOrder) {
    deliver(9);
    deliver(4);
    const EventDelivery delivery = takeEvents(library.functions());
    ASSERT_EQ(delivery.events.size(), 2U);
    EXPECT_EQ(delivery.events[0].sequence, 9U);
    EXPECT_EQ(delivery.events[1].sequence, 4U);
    EXPECT_FALSE(delivery.full);
    EXPECT_FALSE(delivery.problem.has_value());
}

TEST_F(EventDeliveries, SixtyFourAreFull) {
    for (unsigned sequence = 1; sequence <= 63; ++sequence) {
        deliver(sequence);
    }
    EXPECT_FALSE(takeEvents(library.functions()).full);
    deliver(64);
    const EventDelivery delivery = takeEvents(library.functions());
    EXPECT_TRUE(delivery.full);
    ASSERT_EQ(delivery.events.size(), 64U);
    EXPECT_EQ(delivery.events[63].sequence, 64U);
}

TEST_F(EventDeliveries, AFailureKeepsTheEvents) {
    deliver(4);
    library.results["getEvents"] = 1;
    const EventDelivery delivery = takeEvents(library.functions());
    EXPECT_EQ(delivery.events.size(), 1U);
    ASSERT_TRUE(delivery.problem.has_value());
    EXPECT_EQ(told({*delivery.problem}),
              std::vector<std::string>{
                  "library_call_failed: the library's ZT_EVT_GetEvent failed with result 1 (fail); "
                  "run 'veskctl doctor', which checks the alert mapping that each delivery reads"});
}

}  // namespace

}  // namespace veskctl
