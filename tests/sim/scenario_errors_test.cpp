// A scenario that is not right is refused with the file, the place and the reason.
#include "private_host.h"

#include "sim/scenario/scenario.h"
#include "sim/host/simulated_host.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace {

struct BadScenario {
    const char* name;
    const char* text;
    const char* message;
};

void PrintTo(const BadScenario& bad, std::ostream* stream) {
    *stream << bad.name;
}

std::string messageOf(const std::string& text) {
    try {
        vesksim::parseScenario(text, "my.json");
    } catch (const vesksim::ScenarioError& error) {
        return error.what();
    }
    return "no error";
}

class Bad : public ::testing::TestWithParam<BadScenario> {};

TEST_P(Bad, ScenarioIsRefused) {
    EXPECT_EQ(messageOf(GetParam().text), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Sim, Bad,
    ::testing::Values(
        BadScenario{"UnknownKeyAtTheTop", R"({"adapter": []})",
                    "my.json: /adapter: the key is not known here. Take it out, or write one of "
                    "$schema, description, noise_seed, adapter_list, adapters, host_files."},
        BadScenario{
            "UnknownKeyOfADisk",
            R"({"adapters": [{"name": "a", "disks": [{"id": 0}, {"id": 1, "modle": ""}]}]})",
            "my.json: /adapters/0/disks/1/modle: the key is not known here. Take it out, "
            "or write one of id, device_id, hd_id, status, model, serial, firmware, "
            "block_size, size, smart."},
        BadScenario{"MissingKey", R"({"adapters": [{}]})",
                    "my.json: /adapters/0: the key \"name\" is missing. Add it."},
        BadScenario{"WrongType", R"({"adapters": {}})",
                    "my.json: /adapters: an array is wanted, and here is object. Put what belongs "
                    "here between [ and ]."},
        BadScenario{"WrongTypeOfNumber", R"({"noise_seed": "1"})",
                    "my.json: /noise_seed: a number is wanted, and here is string. Write a whole "
                    "number from 0 to 18446744073709551615."},
        BadScenario{"NumberTooGreat", R"({"adapters": [{"name": "a", "port_count": 256}]})",
                    "my.json: /adapters/0/port_count: 256 is not in the range of this number. "
                    "Write a whole number from 0 to 255."},
        BadScenario{"NegativeNumber", R"({"adapters": [{"name": "a", "port_count": -1}]})",
                    "my.json: /adapters/0/port_count: -1 is not in the range of this number. "
                    "Write a whole number from 0 to 255."},
        BadScenario{"Fraction", R"({"adapters": [{"name": "a", "port_count": 1.5}]})",
                    "my.json: /adapters/0/port_count: 1.5 is not in the range of this number. "
                    "Write a whole number from 0 to 255."},
        BadScenario{"Syntax", "{\n  \"adapters\": [,]\n}",
                    "my.json: parse error at line 2, column 16: syntax error while parsing value "
                    "- unexpected ','; expected '[', '{', or a literal. Correct the JSON there."},
        BadScenario{"KeyTwice", R"({"adapters": [{"name": "a", "name": "b"}]})",
                    "my.json: /adapters/0/name: the key stands here twice. Take one of the two "
                    "out."},
        BadScenario{
            "NameTwice",
            R"({"adapters": [{"name": "a"}, {"name": "a", "pci_address": "0000:01:00.0"}]})",
            "my.json: /adapters/1/name: the same value stands in an entry before this one. "
            "Give each entry its own."},
        BadScenario{
            "TextTooLong",
            R"({"adapters": [{"name": "a", "disks": [{"id": 0, "firmware": "123456789"}]}]})",
            "my.json: /adapters/0/disks/0/firmware: the text has 9 bytes and the field 8. "
            "Shorten it."},
        BadScenario{"HalfAByte",
                    R"({"adapters": [{"name": "a", "disks": [{"id": 0, "model": {"hex": "4"}}]}]})",
                    "my.json: /adapters/0/disks/0/model/hex: these are no bytes. Write two "
                    "hexadecimal digits for each byte."},
        BadScenario{"LineFeedInAnEvent", R"({"adapters": [{"name": "a", "events": ["a\nb"]}]})",
                    "my.json: /adapters/0/events/0: a line feed inside a line. Make two lines of "
                    "it."},
        BadScenario{"LineFeedInADescription",
                    R"({"adapters": [{"name": "a", "event_schedule":
                        [{"at": 1, "event": {"event_id": 1, "description": "\n"}}]}]})",
                    "my.json: /adapters/0/event_schedule/0/event: a line feed inside a line. Make "
                    "two lines of it."},
        BadScenario{"EventWithoutCode",
                    R"({"adapters": [{"name": "a", "events": [{"description": "x"}]}]})",
                    "my.json: /adapters/0/events/0: the key \"event_id\" is missing. Add it."},
        BadScenario{"EventOfANumber", R"({"adapters": [{"name": "a", "events": [1]}]})",
                    "my.json: /adapters/0/events/0: a text is wanted, and here is number. Write a "
                    "text in double quotes."},
        BadScenario{"NegativeTime",
                    R"({"adapters": [{"name": "a", "event_schedule": [{"at": -1, "event": ""}]}]})",
                    "my.json: /adapters/0/event_schedule/0/at: -1 is not in the range of this "
                    "number. Write a number from 0 to 1000000000."},
        BadScenario{"IntervalTooShort",
                    R"({"adapters": [{"name": "a", "random_events":
                        {"mean_interval_seconds": 0.001}}]})",
                    "my.json: /adapters/0/random_events/mean_interval_seconds: 0.001 is not an "
                    "interval for events. Write a number from 0.01 to 1000000, or 0 for none."},
        BadScenario{"Percentage",
                    R"({"adapters": [{"name": "a", "random_events": {"unmapped_percent": 101}}]})",
                    "my.json: /adapters/0/random_events/unmapped_percent: 101 is no percentage. "
                    "Write a number from 0 to 100."}),
    [](const ::testing::TestParamInfo<BadScenario>& param) { return param.param.name; });

TEST(ScenarioErrors, LinesOfEventsHave4055BytesAtMost) {
    vesksim::Scenario scenario;
    scenario.adapters[0].events = {std::string(4055, 'x')};
    EXPECT_NO_THROW(vesksim::checkScenario(scenario, "s"));
    scenario.adapters[0].events = {std::string(4056, 'x')};
    EXPECT_THROW(vesksim::checkScenario(scenario, "s"), vesksim::ScenarioError);
}

TEST(ScenarioErrors, SixteenFullPagesOfEventsFitAndOneLineMoreDoesNot) {
    vesksim::Scenario scenario;
    scenario.adapters[0].events.assign(16, std::string(4055, 'x'));
    EXPECT_NO_THROW(vesksim::checkScenario(scenario, "s"));
    scenario.adapters[0].events.emplace_back("x");
    EXPECT_THROW(vesksim::checkScenario(scenario, "s"), vesksim::ScenarioError);
}

TEST(ScenarioErrors, NameTheFile) {
    const vesktest::PrivateHost host;
    host.write("/scratch/bad.json", "[]");
    try {
        vesksim::loadScenario(host.path("/scratch/bad.json"));
        FAIL() << "no error";
    } catch (const vesksim::ScenarioError& error) {
        EXPECT_EQ(error.what(), host.path("/scratch/bad.json") +
                                    ": the top level: an object is wanted, and here is array. Put "
                                    "what belongs here between { and }.");
    }
    EXPECT_THROW(vesksim::loadScenario("/no/such/file.json"), vesksim::ScenarioError);
    EXPECT_THROW(vesksim::loadScenario("no-such-scenario"), vesksim::ScenarioError);
}

TEST(ScenarioErrors, LeaveTheHostAsItWas) {
    vesksim::SimulatedHost& host = vesksim::SimulatedHost::instance();
    host.load({});
    vesksim::Scenario bad;
    bad.adapters[0].name = "with blank";
    EXPECT_THROW(host.load(bad), vesksim::ScenarioError);
    EXPECT_THROW(host.update(bad), vesksim::ScenarioError);
    EXPECT_EQ(host.scenario().adapters[0].name, "vmhba2");
}

}  // namespace
