// The INI files of the simulated host and those for an installation keep to what the library's
// simple reader can read and the writer of the mark can rewrite: no blanks, a code that is the
// beginning of another one before it, and the mark behind the last equals sign.
#include "sim/events/random_events.h"
#include "sim/host/host_folder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

// What is no comment.
Lines linesOf(const std::string& text) {
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line[0] != ';') {
            lines.push_back(line);
        }
    }
    return lines;
}

std::string readTemplate(const std::string& name) {
    std::ifstream stream(std::string(VESK_INI_TEMPLATES) + "/" + name);
    EXPECT_TRUE(stream.is_open()) << name;
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void expectMarkAtTheEnd(const std::string& text) {
    const std::string end = "\n[EventSequenceNumber]\nSequenceNumber=0\n";
    ASSERT_GT(text.size(), end.size());
    EXPECT_EQ(text.substr(text.size() - end.size()), end);
}

TEST(IniFiles, OfSettings) {
    EXPECT_EQ(linesOf(vesksim::configIniText()),
              (Lines{"[Logging]", "Debug=On", "[Polling]", "pollingIntervalInSeconds=50"}));
    EXPECT_EQ(linesOf(readTemplate("libVeskNVMeConfig.ini")),
              (Lines{"[Logging]", "Debug=Off", "[Polling]", "pollingIntervalInSeconds=50"}));
}

TEST(IniFiles, MappingOfAnInstallationHasExamplesButNoRows) {
    std::string text = readTemplate("libVeskNVMeAlertMapping.ini");
    expectMarkAtTheEnd(text);
    EXPECT_EQ(linesOf(text), (Lines{"[Adapter]", "[VirtualDevice]", "[PhysicalDevice]",
                                    "[EventSequenceNumber]", "SequenceNumber=0"}));
    for (std::size_t at = 0; (at = text.find("\n;", at)) != std::string::npos; ++at) {
        if (text[at + 2] >= '1' && text[at + 2] <= '9') {
            text.erase(at + 1, 1);
        }
    }
    EXPECT_EQ(linesOf(text), (Lines{"[Adapter]", "1=2001", "10=2010", "[VirtualDevice]", "201=2201",
                                    "202=2202", "[PhysicalDevice]", "101=2101", "102=65535",
                                    "[EventSequenceNumber]", "SequenceNumber=0"}));
}

TEST(IniFiles, MappingOfTheSimulatedHostReportsTheMappedKindsAndNoOthers) {
    const std::string text = vesksim::alertMappingIniText();
    expectMarkAtTheEnd(text);
    EXPECT_EQ(
        linesOf(text),
        (Lines{"[Adapter]", "1=2001", "2=2002", "3=2003", "10=2010", "11=2011", "[VirtualDevice]",
               "201=2201", "202=2202", "203=2203", "204=2204", "[PhysicalDevice]", "101=2101",
               "102=2102", "103=2103", "104=2104", "[EventSequenceNumber]", "SequenceNumber=0"}));
    const auto kinds = [](const std::vector<vesksim::EventKind>& all) {
        Lines names;
        for (const vesksim::EventKind& kind : all) {
            names.push_back(kind.eventClass + (" " + std::to_string(kind.eventId)));
        }
        return names;
    };
    EXPECT_EQ(kinds(vesksim::mappedKinds()),
              (Lines{"NVMe 1", "NVMe 2", "NVMe 3", "ADAPTER 10", "ADAPTER 11", "PD 101", "PD 102",
                     "PD 103", "PD 104", "VD 201", "VD 202", "VD 203", "VD 204"}));
    // No row of their section begins with these.
    EXPECT_EQ(kinds(vesksim::unmappedKinds()),
              (Lines{"NVMe 7", "PD 150", "VD 250", "PM 301", "BSL 401"}));
}

}  // namespace
