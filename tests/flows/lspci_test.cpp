// The PCI dump that the library parses, held against a program that knows the standard.
#include "VeskNvme.h"
#include "sim_host.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <memory>
#include <regex>
#include <sstream>
#include <string>

namespace {

struct PipeCloser {
    void operator()(std::FILE* pipe) const { pclose(pipe); }
};

std::string outputOf(const std::string& command) {
    const std::unique_ptr<std::FILE, PipeCloser> pipe(popen(command.c_str(), "r"));
    std::string output;
    char piece[4096];
    while (pipe && std::fgets(piece, sizeof(piece), pipe.get()) != nullptr) {
        output += piece;
    }
    return output;
}

// The host's dump in the form that lspci -F reads: an address line, rows with their offset in
// front.
std::string inLspciForm(const std::string& hostDump) {
    std::istringstream lines(hostDump);
    std::ostringstream form;
    std::string line;
    std::getline(lines, line);
    form << "0000:3b:00.0 controller\n";
    for (int offset = 0; offset < 256 && std::getline(lines, line); offset += 16) {
        form << std::hex << std::setw(2) << std::setfill('0') << offset << ": " << line << '\n';
    }
    return form.str();
}

// Speed in GT/s and lanes of a line such as "LnkSta: Speed 8GT/s, Width x4".
struct Link {
    std::string speed;
    int width = -1;
};

Link linkOf(const std::string& output, const std::string& line) {
    std::smatch match;
    Link link;
    if (std::regex_search(output, match,
                          std::regex(line + ":.*Speed ([0-9.]+)GT/s.*Width x([0-9]+)"))) {
        link.speed = match[1];
        link.width = std::stoi(match[2]);
    }
    return link;
}

struct LinkCase {
    const char* name;
    UCHAR_ speed;
    UCHAR_ maxSpeed;
    UCHAR_ width;
    UCHAR_ maxWidth;
    const char* speedText;
    const char* maxSpeedText;
};

class LspciAgrees : public ::testing::TestWithParam<LinkCase> {};

TEST_P(LspciAgrees, OnSpeedAndWidth) {
    const LinkCase& expected = GetParam();
    vesksim::Scenario scenario;
    scenario.adapters[0].link.speed = expected.speed;
    scenario.adapters[0].link.maxSpeed = expected.maxSpeed;
    scenario.adapters[0].link.width = expected.width;
    scenario.adapters[0].link.maxWidth = expected.maxWidth;
    vesktest::SimHost host(scenario);
    ASSERT_EQ(host.start(), 1);

    const std::string dump = host.files().path("/dump");
    std::ofstream(dump) << inLspciForm(host.files().read(vesktest::kPciConfigPath));
    const std::string output = outputOf("lspci -F '" + dump + "' -vv 2>/dev/null");
    ASSERT_FALSE(output.empty()) << "is pciutils installed?";
    const Link current = linkOf(output, "LnkSta");
    const Link most = linkOf(output, "LnkCap");

    UCHAR_ count = 0;
    CController record;
    ASSERT_EQ(ZT_Adapter_GetInfo(0, &count, &record), ERR_NONE);
    EXPECT_EQ(current.speed, expected.speedText);
    EXPECT_EQ(most.speed, expected.maxSpeedText);
    EXPECT_EQ(record.getLinkSpeed(), expected.speed);
    EXPECT_EQ(record.getMaxSpeed(), expected.maxSpeed);
    EXPECT_EQ(record.getLinkWidth(), current.width);
    EXPECT_EQ(record.getMaxLinkWidth(), most.width);
}

INSTANTIATE_TEST_SUITE_P(Links, LspciAgrees,
                         ::testing::Values(LinkCase{"AtItsMaximum", 3, 3, 4, 4, "8", "8"},
                                           LinkCase{"OneSlowLane", 1, 3, 1, 4, "2.5", "8"},
                                           LinkCase{"HalfSpeed", 2, 4, 2, 8, "5", "16"},
                                           LinkCase{"EightLanes", 4, 5, 8, 8, "16", "32"}),
                         [](const auto& link) { return std::string(link.param.name); });

}  // namespace
