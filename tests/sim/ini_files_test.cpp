// The INI files of the simulated host and those for an installation keep to what the reader can
// read and the writer of the mark can rewrite.
#include "ini_rules.h"

#include "sim/host/host_folder.h"
#include "sim/events/random_events.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

using simtest::IniFile;
using simtest::readIni;

namespace {

using Rows = std::vector<std::pair<std::string, std::string>>;

std::string readTemplate(const std::string& name) {
    std::ifstream stream(std::string(VESK_INI_TEMPLATES) + "/" + name);
    EXPECT_TRUE(stream.is_open()) << name;
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::vector<std::string> names(const IniFile& file) {
    std::vector<std::string> result;
    for (const simtest::IniSection& section : file.sections) {
        result.push_back(section.name);
    }
    return result;
}

void expectMapping(const std::string& text) {
    const IniFile file = readIni(text);
    EXPECT_EQ(file.broken, std::vector<std::string>{});
    ASSERT_EQ(names(file), (std::vector<std::string>{"Adapter", "VirtualDevice", "PhysicalDevice",
                                                     "EventSequenceNumber"}));
    EXPECT_EQ(file.sections[3].rows, (Rows{{"SequenceNumber", "0"}}));
    const std::string end = "\n[EventSequenceNumber]\nSequenceNumber=0\n";
    ASSERT_GT(text.size(), end.size());
    EXPECT_EQ(text.substr(text.size() - end.size()), end);
}

void expectConfig(const std::string& text, const std::string& debug) {
    const IniFile file = readIni(text);
    EXPECT_EQ(file.broken, std::vector<std::string>{});
    ASSERT_EQ(names(file), (std::vector<std::string>{"Logging", "Polling"}));
    EXPECT_EQ(file.sections[0].rows, (Rows{{"Debug", debug}}));
    EXPECT_EQ(file.sections[1].rows, (Rows{{"pollingIntervalInSeconds", "50"}}));
}

TEST(IniFiles, OfTheSimulatedHost) {
    expectMapping(vesksim::alertMappingIniText());
    expectConfig(vesksim::configIniText(), "On");
}

TEST(IniFiles, OfAnInstallation) {
    expectMapping(readTemplate("libVeskNVMeAlertMapping.ini"));
    expectConfig(readTemplate("libVeskNVMeConfig.ini"), "Off");
}

TEST(IniFiles, MappingOfAnInstallationHasExamplesButNoRows) {
    const std::string text = readTemplate("libVeskNVMeAlertMapping.ini");
    const IniFile file = readIni(text);
    ASSERT_EQ(file.sections.size(), 4U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_TRUE(file.sections[i].rows.empty());
    }
    // With the examples as rows it is a good file, too.
    std::string used = text;
    for (const std::string row : {"1=2001", "10=2010", "201=2201", "101=2101", "102=65535"}) {
        const std::size_t at = used.find("\n;" + row + "\n");
        ASSERT_NE(at, std::string::npos) << row;
        used.erase(at + 1, 1);
    }
    expectMapping(used);
    EXPECT_EQ(readIni(used).sections[0].rows, (Rows{{"1", "2001"}, {"10", "2010"}}));
}

TEST(IniFiles, OfTheSimulatedHostReportTheMappedKindsAndNoOthers) {
    const IniFile file = readIni(vesksim::alertMappingIniText());
    ASSERT_EQ(file.sections.size(), 4U);
    // The value that the library finds: by the beginning of rows, 65535 without one.
    const auto look = [&file](const vesksim::EventKind& kind) -> std::string {
        const std::string eventClass = kind.eventClass;
        const bool adapter = eventClass == "NVMe" || eventClass == "ADAPTER";
        if (!adapter && eventClass != "VD" && eventClass != "PD") {
            return "65535";
        }
        const std::string key = std::to_string(kind.eventId);
        for (const auto& row : file.sections[adapter ? 0 : eventClass == "VD" ? 1 : 2].rows) {
            if (row.first.compare(0, key.size(), key) == 0) {
                return (row.first + "=" + row.second).substr(key.size() + 1);
            }
        }
        return "65535";
    };
    for (const vesksim::EventKind& kind : vesksim::mappedKinds()) {
        const std::string code = std::to_string(2000 + kind.eventId);
        EXPECT_EQ(look(kind), code) << kind.description;
    }
    for (const vesksim::EventKind& kind : vesksim::unmappedKinds()) {
        EXPECT_EQ(look(kind), "65535") << kind.description;
    }
}

TEST(IniFiles, RulesAreNoticedWhenBroken) {
    EXPECT_EQ(readIni("[A]\n10=1\n1=2\n").broken,
              std::vector<std::string>{"1 is found in the row of 10"});
    EXPECT_EQ(readIni("[A]\n1=1\n1=2\n").broken,
              std::vector<std::string>{"1 is found in the row of 1"});
    EXPECT_EQ(readIni("[A]\n1 =1\n").broken, std::vector<std::string>{"no row: 1 =1"});
    EXPECT_EQ(readIni("[A]\n1=\n").broken, std::vector<std::string>{"no row: 1="});
    EXPECT_EQ(readIni("[A]\n[A]\n").broken, std::vector<std::string>{"no section of its own: [A]"});
    EXPECT_EQ(readIni("a=1\n").broken, std::vector<std::string>{"before the first section: a=1"});
    EXPECT_EQ(readIni("[A]\n1=1\n10=2\n").broken, std::vector<std::string>{});
}

}  // namespace
