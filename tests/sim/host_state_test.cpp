#include "sim/host/host_state.h"

#include "private_host.h"
#include "raw_host.h"

#include <filesystem>
#include <functional>
#include <stdexcept>

using simtest::Bytes;
using simtest::Lines;
using vesksim::loadState;
using vesksim::saveState;
using vesksim::Scenario;
using vesksim::StateError;

namespace {

constexpr const char* kState = "/controller_state.json";

class HostState : public simtest::RawHost {
protected:
    // A program that starts with the scenario, its clock at 0.
    void start(const Scenario& scenario) {
        load(scenario);
        loadState(root());
    }
    void start(const std::string& name) { start(vesksim::loadScenario(name)); }
    void save() const { saveState(root()); }
    void locate(std::uint32_t cdw14) { EXPECT_EQ(send(simtest::locate(cdw14)).status, 1); }
    std::string root() const { return m_files.path("/"); }
    std::string errorOfLoading() const {
        try {
            loadState(root());
        } catch (const StateError& error) {
            return error.what();
        }
        return "no error";
    }

    vesktest::PrivateHost m_files;
};

Scenario growing() {
    return simtest::withEvents({"[SEQ]4"}, {{10, "[SEQ]10"}, {20, "[SEQ]20"}, {30, "[SEQ]30"}});
}

TEST_F(HostState, WithoutAFileAFreshHostStarts) {
    start(Scenario());
    EXPECT_EQ(blinking(), std::vector<unsigned>{});
    EXPECT_EQ(lines().size(), 4U);
}

TEST_F(HostState, LightsAndTheLogGoOnWhereTheyWere) {
    start(growing());
    locate(0x00020001);
    moveTo(15);
    save();

    start(growing());
    EXPECT_EQ(blinking(), std::vector<unsigned>{1});
    EXPECT_EQ(lines(), (Lines{"[SEQ]4", "[SEQ]10"}));
    moveTo(4.9);
    EXPECT_EQ(lines().size(), 2U);
    moveTo(5);
    EXPECT_EQ(lines(), (Lines{"[SEQ]4", "[SEQ]10", "[SEQ]20"}));
    save();

    start(growing());
    moveTo(10);
    EXPECT_EQ(lines().size(), 4U);
}

TEST_F(HostState, BrokenOffRunsMakeTheSameLogAsOneLongRun) {
    const Scenario scenario = vesksim::loadScenario("event-storm");
    start(scenario);
    moveTo(120);
    const Bytes atOnce = area();
    for (int run = 0; run < 4; ++run) {
        start(scenario);
        moveTo(30);
        save();
    }
    start(scenario);
    EXPECT_EQ(area(), atOnce);
}

TEST_F(HostState, EveryByteOfTheLogIsKept) {
    for (const std::string name : {"garbage-log", "cut-lines", "busy-log"}) {
        std::filesystem::remove(root() + kState);
        start(name);
        const Bytes before = area();
        save();
        start(name);
        EXPECT_EQ(area(), before) << name;
    }
}

TEST_F(HostState, WithoutAClockOfOnesOwnTheTimeBetweenRunsCounts) {
    start(growing());
    save();
    std::string text = m_files.read(kState);
    const std::size_t at = text.find("\"saved_at\": ");
    ASSERT_NE(at, std::string::npos);
    text.replace(at + 12, 10, "1000000000");
    m_files.write(kState, text);

    host().load(growing());
    loadState(root());
    EXPECT_EQ(lines().size(), 4U);
}

TEST_F(HostState, ALogOfAnotherScenarioIsLeftOut) {
    start(growing());
    locate(0x00020000);
    save();
    start(Scenario());
    EXPECT_EQ(lines().size(), 4U);
    EXPECT_EQ(lines()[0].substr(0, 6), "[SEQ]1");
    EXPECT_EQ(blinking(), std::vector<unsigned>{0});
}

TEST_F(HostState, LightsOfAbsentDisksStayDark) {
    start(Scenario());
    locate(0x00020000);
    locate(0x00020001);
    save();
    start("degraded");
    EXPECT_EQ(blinking(), std::vector<unsigned>{0});
}

TEST_F(HostState, OfAdaptersThatAreNotThereIsKeptInTheFile) {
    start(Scenario());
    locate(0x00020001);
    save();
    start("no-controller");
    save();
    start(Scenario());
    EXPECT_EQ(blinking(), std::vector<unsigned>{1});
}

TEST_F(HostState, NeedsAFolderThatIsNotTheMachinesRoot) {
    EXPECT_THROW(loadState(""), std::invalid_argument);
    EXPECT_THROW(loadState("/"), std::invalid_argument);
    EXPECT_THROW(saveState("/./"), std::invalid_argument);
    EXPECT_THROW(saveState(root() + "no/such"), std::system_error);
}

using Spoil = std::function<std::string(std::string)>;

// Replaces what stands behind a key, up to the comma or the end of the line.
Spoil with(const std::string& key, const std::string& value) {
    return [=](std::string text) {
        const std::size_t at = text.find("\"" + key + "\": ") + key.size() + 4;
        return text.replace(at, text.find_first_of(",\n", at) - at, value);
    };
}

Spoil replacedBy(const std::string& text) {
    return [=](const std::string&) {
        return text;
    };
}

const struct {
    const char* name;
    Spoil spoil;
    const char* message;  // between the file's name and the advice
} kDamages[] = {
    {"Empty", replacedBy(""),
     "parse error at line 1, column 1: syntax error while parsing value - unexpected "
     "end of input; expected '[', '{', or a literal. Correct the JSON there."},
    {"Cut off", [](const std::string& text) { return text.substr(0, 30); },
     "parse error at line 3, column 13: syntax error while parsing object separator - "
     "unexpected end of input; expected ':'. Correct the JSON there."},
    {"Foreign", replacedBy("{\"format\": \"other\"}"),
     "the top level: this file was not written by us. Name another folder."},
    {"No object", replacedBy("[1, 2]"),
     "the top level: this file was not written by us. Name another folder."},
    {"Later version", with("version", "2"),
     "/version: the file has version 2. This program reads version 1."},
    {"Position", with("position", "65537"),
     "/adapters/vmhba2/event_log/position: 65537 is not in the range of this number. "
     "Write a whole number from 40 to 65536."},
    {"Wrong type", with("next_sequence", "\"5\""),
     "/adapters/vmhba2/event_log/next_sequence: a number is wanted, and here is "
     "string. Write a whole number from 0 to 4294967295."},
    {"Light", [](std::string text) { return text.replace(text.find("1\n"), 1, "4"); },
     "/adapters/vmhba2/locating_disks/0: 4 is not in the range of this number. Write a"
     " whole number from 0 to 3."},
    {"Unknown key", with("seconds", "0.0, \"more\": 1"),
     "/adapters/vmhba2/event_log/more: the key is not known here. Take it out, or "
     "write one of source, seconds, position, next_sequence, scheduled_done, "
     "random_made, next_random_at, pages."},
    {"Fewer pages", with("pages", "[], \"was\": ["),
     "/adapters/vmhba2/event_log/pages: the pages have 0 bytes together. Have 65536."},
    {"Foreign character",
     [](std::string text) { return text.insert(text.find("[SEQ]1"), "\\u0100"); },
     "/adapters/vmhba2/event_log/pages/0: a character that stands for no byte. Keep to"
     " U+0000 to U+00FF."},
};

TEST_F(HostState, ThatIsDamagedIsReportedAndLeftInPlace) {
    start(Scenario());
    locate(0x00020001);
    save();
    const std::string good = m_files.read(kState);
    for (const auto& row : kDamages) {
        SCOPED_TRACE(row.name);
        const std::string damaged = row.spoil(good);
        m_files.write(kState, damaged);
        host().load({});
        EXPECT_EQ(errorOfLoading(), root() + "controller_state.json: " + row.message +
                                        " Or move the file away to start with a fresh state.");
        EXPECT_EQ(blinking(), std::vector<unsigned>{}) << "the host is as it was";
        EXPECT_THROW(save(), StateError);
        EXPECT_EQ(m_files.read(kState), damaged);
    }
}

TEST_F(HostState, AFolderInThePlaceOfTheFileIsReported) {
    start(Scenario());
    m_files.makeFolder(kState);
    EXPECT_EQ(errorOfLoading(), root() + "controller_state.json: the file cannot be read; move the "
                                         "file away to start with a fresh state.");
    EXPECT_THROW(saveState(root()), StateError);
}

}  // namespace
