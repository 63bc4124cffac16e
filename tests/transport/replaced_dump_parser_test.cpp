// The local command over a dump parser that throws. A program of its own, as its parser stands in
// front of the library's.
#include "connected_talker.h"
#include "pci_dump_file.h"
#include "traced_host.h"

#include "transport/pci_dump_parser.h"

#include <gtest/gtest.h>

#include <array>
#include <new>
#include <stdexcept>
#include <string>

namespace {

bool s_withoutMemory = false;

}  // namespace

RESULT stg::IZNVDeviceTalker_Helper::parsePCIHexDump(std::vector<USHORT_INT>,
                                                     std::map<STDSTR, USHORT_INT>&) {
    if (s_withoutMemory) {
        throw std::bad_alloc();
    }
    throw std::runtime_error("parser fault");
}

namespace {

using vesktest::LogLines;

using Link = std::array<std::uint8_t, 4>;

class ReplacedDumpParser : public ::testing::Test {
protected:
    RESULT execute() {
        host.files().write(vesktest::kPciConfigPath,
                           std::string(vesktest::kDumpHeader) + vesktest::kDumpRows);
        CCommandDword command;
        command.setcdw_6_7(link.data());
        host.forgetLines();
        return connected.talker().executeCMD(&command, 0);
    }

    vesktest::TracedHost host;
    vesktest::ScriptedDriver driver;
    vesktest::ConnectedTalker connected{driver};
    Link link{1, 2, 3, 4};
};

TEST_F(ReplacedDumpParser, StandardExceptionFailsTheCommand) {
    s_withoutMemory = false;
    EXPECT_EQ(execute(), 1);
    EXPECT_EQ(link, (Link{1, 2, 3, 4}));
    EXPECT_EQ(
        host.messages(),
        (LogLines{
            "CVMWareZNVDeviceTalker::getPCIeInfo: Found Zenthra NVMe controller in pci config file",
            "CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion() : Exception Error: parser fault",
            "CVMWareZNVDeviceTalker::executeCMD: Return code: 1"}));
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion()"));
    EXPECT_FALSE(vesktest::contains(host.lines(), "CVMWareZNVDeviceTalker::getPCIeInfo() EXIT "));
}

TEST_F(ReplacedDumpParser, AllocationFailureFailsTheCommand) {
    s_withoutMemory = true;
    EXPECT_EQ(execute(), 1);
    EXPECT_EQ(link, (Link{1, 2, 3, 4}));
    EXPECT_TRUE(vesktest::contains(host.messages(),
                                   "CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion(): Memory "
                                   "allocation failed: std::bad_alloc"));
}

}  // namespace
