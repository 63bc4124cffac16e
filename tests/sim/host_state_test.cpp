#include "sim/host/host_state.h"

#include "private_host.h"
#include "raw_host.h"

#include "sim/host/simulated_host.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <ostream>
#include <stdexcept>

using simtest::Bytes;
using simtest::Connection;
using vesksim::loadState;
using vesksim::saveState;
using vesksim::Scenario;
using vesksim::SimulatedHost;
using vesksim::StateError;

namespace {

constexpr const char* kState = "/controller_state.json";

class HostState : public ::testing::Test {
protected:
    ~HostState() override { SimulatedHost::instance().load({}); }

    // A program that starts with the scenario, its clock at 0.
    void start(const Scenario& scenario) {
        m_seconds = 0;
        SimulatedHost::instance().load(scenario);
        SimulatedHost::instance().setClock([this] { return m_seconds; });
        loadState(root());
    }
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
    double m_seconds = 0;
};

std::vector<std::string> lines() {
    Connection connection;
    return connection.readableLines();
}

std::vector<unsigned> blinking() {
    return SimulatedHost::instance().locatingDisks("vmhba2");
}

void locate(std::uint32_t cdw14) {
    Connection connection;
    EXPECT_EQ(connection.send(simtest::locate(cdw14)).status, 1);
}

Scenario growing() {
    Scenario scenario;
    scenario.adapters[0].events = {"[SEQ]4"};
    scenario.adapters[0].eventSchedule = {{10, "[SEQ]10"}, {20, "[SEQ]20"}, {30, "[SEQ]30"}};
    return scenario;
}

TEST_F(HostState, WithoutAFileAFreshHostStarts) {
    start({});
    EXPECT_EQ(blinking(), std::vector<unsigned>{});
    EXPECT_EQ(lines().size(), 4U);
}

TEST_F(HostState, LightsAndTheLogGoOnWhereTheyWere) {
    start(growing());
    locate(0x00020001);
    m_seconds = 15;
    saveState(root());

    start(growing());
    EXPECT_EQ(blinking(), std::vector<unsigned>{1});
    EXPECT_EQ(lines(), (std::vector<std::string>{"[SEQ]4", "[SEQ]10"}));
    m_seconds = 4.9;
    EXPECT_EQ(lines().size(), 2U);
    m_seconds = 5;
    EXPECT_EQ(lines(), (std::vector<std::string>{"[SEQ]4", "[SEQ]10", "[SEQ]20"}));
    saveState(root());

    start(growing());
    m_seconds = 10;
    EXPECT_EQ(lines().size(), 4U);
}

TEST_F(HostState, BrokenOffRunsMakeTheSameLogAsOneLongRun) {
    const Scenario scenario = vesksim::loadScenario("event-storm");
    start(scenario);
    m_seconds = 120;
    Bytes atOnce;
    {
        Connection connection;
        atOnce = connection.area();
    }
    SimulatedHost::instance().load(scenario);
    for (int run = 0; run < 4; ++run) {
        start(scenario);
        m_seconds = 30;
        saveState(root());
    }
    start(scenario);
    Connection connection;
    EXPECT_EQ(connection.area(), atOnce);
}

TEST_F(HostState, EveryByteOfTheLogIsKept) {
    for (const std::string name : {"garbage-log", "cut-lines", "busy-log"}) {
        std::filesystem::remove(root() + kState);
        start(vesksim::loadScenario(name));
        Bytes before;
        {
            Connection connection;
            before = connection.area();
        }
        saveState(root());
        start(vesksim::loadScenario(name));
        Connection connection;
        EXPECT_EQ(connection.area(), before) << name;
    }
}

TEST_F(HostState, WithoutAClockOfOnesOwnTheTimeBetweenRunsCounts) {
    start(growing());
    saveState(root());
    std::string text = m_files.read(kState);
    const std::size_t at = text.find("\"saved_at\": ");
    ASSERT_NE(at, std::string::npos);
    text.replace(at + 12, 10, "1000000000");
    m_files.write(kState, text);

    SimulatedHost::instance().load(growing());
    loadState(root());
    EXPECT_EQ(lines().size(), 4U);
}

TEST_F(HostState, ALogOfAnotherScenarioIsLeftOut) {
    start(growing());
    locate(0x00020000);
    saveState(root());
    start({});
    EXPECT_EQ(lines().size(), 4U);
    EXPECT_EQ(lines()[0].substr(0, 6), "[SEQ]1");
    EXPECT_EQ(blinking(), std::vector<unsigned>{0});
}

TEST_F(HostState, LightsOfAbsentDisksStayDark) {
    start({});
    locate(0x00020000);
    locate(0x00020001);
    saveState(root());
    start(vesksim::loadScenario("degraded"));
    EXPECT_EQ(blinking(), std::vector<unsigned>{0});
}

TEST_F(HostState, OfAdaptersThatAreNotThereIsKeptInTheFile) {
    start({});
    locate(0x00020001);
    saveState(root());
    start(vesksim::loadScenario("no-controller"));
    saveState(root());
    start({});
    EXPECT_EQ(blinking(), std::vector<unsigned>{1});
}

TEST_F(HostState, NeedsAFolderThatIsNotTheMachinesRoot) {
    EXPECT_THROW(loadState(""), std::invalid_argument);
    EXPECT_THROW(loadState("/"), std::invalid_argument);
    EXPECT_THROW(saveState("/./"), std::invalid_argument);
    EXPECT_THROW(saveState(root() + "no/such"), std::system_error);
}

struct Damage {
    const char* name;
    std::function<std::string(std::string)> spoil;
    const char* message;  // between the file's name and the advice
};

void PrintTo(const Damage& damage, std::ostream* stream) {
    *stream << damage.name;
}

// Replaces what stands behind a key, up to the comma or the end of the line.
std::function<std::string(std::string)> with(const std::string& key, const std::string& value) {
    return [=](std::string text) {
        const std::size_t at = text.find("\"" + key + "\": ") + key.size() + 4;
        return text.replace(at, text.find_first_of(",\n", at) - at, value);
    };
}

class DamagedState : public HostState, public ::testing::WithParamInterface<Damage> {};

TEST_P(DamagedState, IsReportedAndLeftInPlace) {
    start({});
    locate(0x00020001);
    saveState(root());
    const std::string damaged = GetParam().spoil(m_files.read(kState));
    m_files.write(kState, damaged);

    SimulatedHost::instance().load({});
    EXPECT_EQ(errorOfLoading(), root() + "controller_state.json: " + GetParam().message +
                                    " Or move the file away to start with a fresh state.");
    EXPECT_EQ(blinking(), std::vector<unsigned>{}) << "the host is as it was";
    EXPECT_THROW(saveState(root()), StateError);
    EXPECT_EQ(m_files.read(kState), damaged);
}

INSTANTIATE_TEST_SUITE_P(
    Sim, DamagedState,
    ::testing::Values(
        Damage{"Empty", [](const std::string&) { return std::string(); },
               "parse error at line 1, column 1: syntax error while parsing value - unexpected "
               "end of input; expected '[', '{', or a literal. Correct the JSON there."},
        Damage{"CutOff", [](const std::string& text) { return text.substr(0, 30); },
               "parse error at line 3, column 13: syntax error while parsing object separator - "
               "unexpected end of input; expected ':'. Correct the JSON there."},
        Damage{"Foreign", [](const std::string&) { return std::string("{\"format\": \"other\"}"); },
               "the top level: this file was not written by us. Name another folder."},
        Damage{"NoObject", [](const std::string&) { return std::string("[1, 2]"); },
               "the top level: this file was not written by us. Name another folder."},
        Damage{"LaterVersion", with("version", "2"),
               "/version: the file has version 2. This program reads version 1."},
        Damage{"Position", with("position", "65537"),
               "/adapters/vmhba2/event_log/position: 65537 is not in the range of this number. "
               "Write a whole number from 40 to 65536."},
        Damage{"WrongType", with("next_sequence", "\"5\""),
               "/adapters/vmhba2/event_log/next_sequence: a number is wanted, and here is "
               "string. Write a whole number from 0 to 4294967295."},
        Damage{"Light", [](std::string text) { return text.replace(text.find("1\n"), 1, "4"); },
               "/adapters/vmhba2/locating_disks/0: 4 is not in the range of this number. Write a"
               " whole number from 0 to 3."},
        Damage{"UnknownKey", with("seconds", "0.0, \"more\": 1"),
               "/adapters/vmhba2/event_log/more: the key is not known here. Take it out, or "
               "write one of source, seconds, position, next_sequence, scheduled_done, "
               "random_made, next_random_at, pages."},
        Damage{"FewerPages", with("pages", "[], \"was\": ["),
               "/adapters/vmhba2/event_log/pages: the pages have 0 bytes together. Have 65536."},
        Damage{"ForeignCharacter",
               [](std::string text) { return text.insert(text.find("[SEQ]1"), "\\u0100"); },
               "/adapters/vmhba2/event_log/pages/0: a character that stands for no byte. Keep to"
               " U+0000 to U+00FF."}),
    [](const ::testing::TestParamInfo<Damage>& param) { return param.param.name; });

TEST_F(HostState, AFolderInThePlaceOfTheFileIsReported) {
    start({});
    m_files.makeFolder(kState);
    EXPECT_EQ(errorOfLoading(), root() + "controller_state.json: the file cannot be read; move the "
                                         "file away to start with a fresh state.");
    EXPECT_THROW(saveState(root()), StateError);
}

}  // namespace
