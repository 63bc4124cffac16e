// A scenario that is not right is refused with the file, the place and the reason.
#include "private_host.h"
#include "raw_host.h"

using vesksim::Scenario;
using vesksim::ScenarioError;

namespace {

// The message of parsing a text or of loading a file or name.
template <typename Read>
std::string errorOf(Read read) {
    try {
        read();
    } catch (const ScenarioError& error) {
        return error.what();
    }
    return "no error";
}

// Scenarios, and what is said of them behind "my.json: ".
const struct {
    const char* text;
    const char* message;
} kBad[] = {
    {R"({"adapter": []})",
     "/adapter: the key is not known here. Take it out, or write one of $schema, description, "
     "noise_seed, adapter_list, adapters, host_files."},
    {R"({"adapters": [{}]})", "/adapters/0: the key \"name\" is missing. Add it."},
    {R"({"adapters": {}})",
     "/adapters: an array is wanted, and here is object. Put what belongs here between [ and ]."},
    {R"({"noise_seed": "1"})",
     "/noise_seed: a number is wanted, and here is string. Write a whole number from 0 to "
     "18446744073709551615."},
    {"{\n  \"adapters\": [,]\n}",
     "parse error at line 2, column 16: syntax error while parsing value - unexpected ','; "
     "expected '[', '{', or a literal. Correct the JSON there."},
    {R"({"adapters": [{"name": "a", "name": "b"}]})",
     "/adapters/0/name: the key stands here twice. Take one of the two out."},
    {R"({"adap\u001b[31mters\u007f\u0080\u009f\u00a0": []})",
     "/adap\\u001b[31mters\\u007f\\u0080\\u009f\u00a0: the key is not known here. Take it out, or "
     "write one of $schema, description, noise_seed, adapter_list, adapters, host_files."},
    {R"({"adapters": [{"name": "\u001b[2J"}]})",
     "/adapters/0/name: \"\\u001b[2J\" cannot be a name. Write 1 to 31 ASCII characters without "
     "blanks."},
    {R"({"adapters": [{"name": "a"}, {"name": "a", "pci_address": "0000:01:00.0"}]})",
     "/adapters/1/name: the same value stands in an entry before this one. Give each entry its "
     "own."},
};

// What an adapter says besides its name, and what is said behind "my.json: /adapters/0".
const struct {
    const char* text;
    const char* message;
} kBadInAdapter[] = {
    {R"("disks": [{"id": 0}, {"id": 1, "modle": ""}])",
     "/disks/1/modle: the key is not known here. Take it out, or write one of id, device_id, "
     "hd_id, status, model, serial, firmware, block_size, size, smart."},
    {R"("port_count": 256)",
     "/port_count: 256 is not in the range of this number. Write a whole number from 0 to 255."},
    {R"("port_count": -1)",
     "/port_count: -1 is not in the range of this number. Write a whole number from 0 to 255."},
    {R"("port_count": 1.5)",
     "/port_count: 1.5 is not in the range of this number. Write a whole number from 0 to 255."},
    {R"("disks": [{"id": 0, "firmware": "123456789"}])",
     "/disks/0/firmware: the text has 9 bytes and the field 8. Shorten it."},
    {R"("disks": [{"id": 0, "model": {"hex": "4"}}])",
     "/disks/0/model/hex: these are no bytes. Write two hexadecimal digits for each byte."},
    {R"("events": ["a\nb"])", "/events/0: a line feed inside a line. Make two lines of it."},
    {R"("event_schedule": [{"at": 1, "event": {"event_id": 1, "description": "\n"}}])",
     "/event_schedule/0/event: a line feed inside a line. Make two lines of it."},
    {R"("events": [{"description": "x"}])", "/events/0: the key \"event_id\" is missing. Add it."},
    {R"("events": [1])",
     "/events/0: a text is wanted, and here is number. Write a text in double quotes."},
    {R"("event_schedule": [{"at": -1, "event": ""}])",
     "/event_schedule/0/at: -1 is not in the range of this number. Write a number from 0 to "
     "1000000000."},
    {R"("random_events": {"mean_interval_seconds": 0.001})",
     "/random_events/mean_interval_seconds: 0.001 is not an interval for events. Write a number "
     "from 0.01 to 1000000, or 0 for none."},
    {R"("random_events": {"unmapped_percent": 101})",
     "/random_events/unmapped_percent: 101 is no percentage. Write a number from 0 to 100."},
};

TEST(ScenarioErrors, SayWhereAndWhy) {
    const auto messageOf = [](const std::string& text) {
        return errorOf([&text] { vesksim::parseScenario(text, "my.json"); });
    };
    for (const auto& bad : kBad) {
        EXPECT_EQ(messageOf(bad.text), std::string("my.json: ") + bad.message);
    }
    for (const auto& bad : kBadInAdapter) {
        EXPECT_EQ(messageOf(R"({"adapters": [{"name": "a", )" + std::string(bad.text) + "}]}"),
                  std::string("my.json: /adapters/0") + bad.message);
    }
}

TEST(ScenarioErrors, SixteenFullPagesOfEventsFitAndNoByteMore) {
    const std::string full(4055, 'x');
    Scenario scenario = simtest::withEvents(std::vector<vesksim::EventEntry>(16, full));
    EXPECT_NO_THROW(vesksim::checkScenario(scenario, "s"));
    scenario.adapters[0].events.emplace_back("x");
    EXPECT_THROW(vesksim::checkScenario(scenario, "s"), ScenarioError);
    EXPECT_THROW(vesksim::checkScenario(simtest::withEvents({full + "x"}), "s"), ScenarioError);
}

TEST(ScenarioErrors, NameTheFile) {
    const vesktest::PrivateHost files;
    files.write("/scratch/bad.json", "[]");
    const std::string bad = files.path("/scratch/bad.json");
    const auto messageOf = [](const std::string& fileOrName) {
        return errorOf([&fileOrName] { vesksim::loadScenario(fileOrName); });
    };
    EXPECT_EQ(messageOf(bad), bad + ": the top level: an object is wanted, and here is array. Put "
                                    "what belongs here between { and }.");
    for (const std::string file : {"/no/such/file", "no-such-file.json", "/", "/dev/zero"}) {
        EXPECT_EQ(messageOf(file), file + ": the file cannot be read. Look whether it is a file, "
                                          "exists and may be read.");
    }
    EXPECT_EQ(messageOf("no-such-scenario"),
              "scenario \"no-such-scenario\": there is none of that name. Take one of busy-log, "
              "commands-fail, crlf-mark, cut-lines, degraded, disks-missing, empty-mapping, "
              "event-storm, falls-silent, foreign-disk, garbage-log, healthy, identify-fails, "
              "mixed-volumes, no-controller, no-volumes, sequence-reset, two-adapters, worn, or "
              "name a file with its path or with .json at its end.");
}

using LoadedHost = simtest::RawHost;

TEST_F(LoadedHost, StaysAsItWasWhenAScenarioIsBad) {
    Scenario bad;
    bad.adapters[0].name = "with blank";
    EXPECT_THROW(host().load(bad), ScenarioError);
    EXPECT_THROW(host().update(bad), ScenarioError);
    EXPECT_EQ(host().scenario().adapters[0].name, "vmhba2");
}

}  // namespace
