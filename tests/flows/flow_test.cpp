// Whole lives of the library on the simulated host, through the public header: a host in C, a
// controller from start to tear-down, and the PCI dump held against a program that knows the
// standard.
#include "VeskNvme.h"
#include "c_host.h"
#include "log_file.h"
#include "sim_host.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <memory>
#include <ostream>
#include <regex>
#include <sstream>
#include <string>

namespace {

using vesktest::SimHost;

TEST(CHost, RunsTheWholeLifeOfTheLibrary) {
    SimHost host("healthy");
    host.gate().releaseAll();

    CHostResult result = {};
    ASSERT_EQ(runCHost(&result), 0);

    EXPECT_EQ(result.nullRecord, 150);
    EXPECT_EQ(result.countBefore, 0);
    EXPECT_EQ(result.initialize, 0);
    EXPECT_EQ(result.countAfter, 1);
    EXPECT_EQ(result.getInfo, 0);
    EXPECT_EQ(result.countOfInfo, 1);
    EXPECT_EQ(result.getOemData, 0);
    EXPECT_EQ(result.getConfig, 0);
    EXPECT_EQ(result.vendorId, 0x1B4B);
    EXPECT_EQ(result.firmwareMajor, 1);
    EXPECT_EQ(result.oemMajor, 1);
    EXPECT_EQ(result.oemFirstByte, 0xA5);
    EXPECT_EQ(host.driver().openHandles(), 0U);
    EXPECT_TRUE(host.driver().refusals().empty());
}

// A record in a caller's memory that holds noise, as bytes and as what it is.
struct CallersController {
    CallersController() { std::memset(static_cast<void*>(&record), 0xA5, sizeof(record)); }
    CController record;
    UCHAR_ count = 0xA5;
};

TEST(ControllerFlow, HealthyHostAnswersWithItsController) {
    SimHost host("healthy");
    ASSERT_EQ(host.start(), 1);

    CallersController info;
    ASSERT_EQ(ZT_Adapter_GetInfo(0, &info.count, &info.record), ERR_NONE);

    EXPECT_EQ(info.count, 1);
    EXPECT_EQ(info.record.getVendorID(), 0x1B4B);
    EXPECT_EQ(info.record.getDeviceID(), 0x5237);
    EXPECT_EQ(info.record.getSubVendorID(), 0x7A10);
    EXPECT_EQ(info.record.getSubDeviceID(), 0x0307);
    EXPECT_EQ(info.record.getFirmwareVersion().majorVersion, 1);
    EXPECT_EQ(info.record.getFirmwareVersion().minorVersion, 2);
    EXPECT_EQ(info.record.getFirmwareVersion().revisionNumber, 3);
    EXPECT_EQ(info.record.getFirmwareVersion().buildNumber, 1004);
    EXPECT_EQ(info.record.getLinkSpeed(), 3);
    EXPECT_EQ(info.record.getLinkWidth(), 4);
    EXPECT_EQ(info.record.getMaxSpeed(), 3);
    EXPECT_EQ(info.record.getMaxLinkWidth(), 4);
    EXPECT_EQ(info.record.getPortCount(), 2);
    EXPECT_EQ(info.record.getPDCount(), 2);
    EXPECT_EQ(info.record.getVDCount(), 1);
    EXPECT_EQ(info.record.getMaxBufSize(), 512);
    EXPECT_EQ(info.record.getSlotNo(), 0U);
    EXPECT_EQ(info.record.getBDF().bus, 0x3B);
    EXPECT_EQ(info.record.getBDF().device, 0);
    EXPECT_EQ(info.record.getBDF().function, 0);
    EXPECT_TRUE(host.driver().refusals().empty());
}

TEST(ControllerFlow, FirstAdapterOfTheVendorIsTakenAndTheNextNeverOpened) {
    SimHost host("two-adapters");
    ASSERT_EQ(host.start(), 1);

    CallersController info;
    ASSERT_EQ(ZT_Adapter_GetInfo(0, &info.count, &info.record), ERR_NONE);
    EXPECT_EQ(info.count, 1);

    const vesksim::Scenario scenario = vesksim::loadScenario("two-adapters");
    ASSERT_EQ(scenario.adapters.size(), 3U);
    for (const vesksim::ReceivedCommand& command : host.driver().commands()) {
        EXPECT_NE(command.adapter, scenario.adapters[2].name);
    }
    EXPECT_EQ(host.driver().openHandles(), 1U);
}

TEST(ControllerFlow, HostWithoutTheControllerAnswersZeros) {
    SimHost host("no-controller");
    ASSERT_EQ(host.start(), 0);
    host.driver().forgetHistory();

    CallersController info;
    EXPECT_EQ(ZT_Adapter_GetInfo(0, &info.count, &info.record), ERR_NONE);

    EXPECT_EQ(info.count, 0);
    const char zeros[sizeof(CController)] = {};
    EXPECT_EQ(std::memcmp(static_cast<void*>(&info.record), zeros, sizeof(zeros)), 0);
    EXPECT_TRUE(host.driver().commands().empty());
    EXPECT_EQ(host.driver().openHandles(), 0U);
}

TEST(ControllerFlow, AdapterThatFailsIdentifyIsNoController) {
    SimHost host("identify-fails");
    EXPECT_EQ(host.start(), 0);
    EXPECT_EQ(host.driver().openHandles(), 0U);
}

TEST(ControllerFlow, FailedCommandsDeliverZerosAndNoError) {
    SimHost host("commands-fail");
    ASSERT_EQ(host.start(), 1);

    CallersController info;
    EXPECT_EQ(ZT_Adapter_GetInfo(0, &info.count, &info.record), ERR_NONE);

    EXPECT_EQ(info.count, 1);
    EXPECT_EQ(info.record.getVendorID(), 0);
    EXPECT_EQ(info.record.getFirmwareVersion().majorVersion, 0);
    EXPECT_EQ(info.record.getLinkWidth(), 4) << "the link comes from the host's file";
    const vesktest::LogFile log(host.files());
    EXPECT_TRUE(
        vesktest::contains(log.lines(), "CVMWareZNVDeviceTalker::executeCMD: Return code: 1"));
}

TEST(ControllerFlow, OemDataAnswersFromTheLastInformation) {
    SimHost host("healthy");
    ASSERT_EQ(host.start(), 1);
    Adapter_OEM_Data oem;
    std::memset(&oem, 0xA5, sizeof(oem));

    ASSERT_EQ(ZT_Adapter_Get_OEM_Data(0, &oem), ERR_NONE);
    EXPECT_EQ(oem.firmwareVersion.buildNumber, 0) << "nothing was read yet";

    CallersController info;
    ASSERT_EQ(ZT_Adapter_GetInfo(0, &info.count, &info.record), ERR_NONE);
    host.driver().forgetHistory();
    ASSERT_EQ(ZT_Adapter_Get_OEM_Data(0, &oem), ERR_NONE);
    EXPECT_EQ(oem.firmwareVersion.buildNumber, 1004);
    EXPECT_EQ(oem.rsvd0[23], 0xA5);
    EXPECT_EQ(oem.rsvd32[39], 0);
    for (const vesksim::ReceivedCommand& command : host.driver().commands()) {
        EXPECT_EQ(command.cdw12, 0x4FEU) << "no command but those of the event thread";
    }
}

TEST(ControllerFlow, CommandsFailInPassingAndRecover) {
    SimHost host("healthy");
    ASSERT_EQ(host.start(), 1);
    vesksim::CommandOverride platformFailure;
    platformFailure.platformCode = 195887105;
    host.driver().setCommandScript(
        [platformFailure](const vesksim::ReceivedCommand&) { return platformFailure; });

    CallersController info;
    EXPECT_EQ(ZT_Adapter_GetInfo(0, &info.count, &info.record), ERR_NONE);
    EXPECT_EQ(info.record.getVendorID(), 0);

    host.driver().setCommandScript(nullptr);
    EXPECT_EQ(ZT_Adapter_GetInfo(0, &info.count, &info.record), ERR_NONE);
    EXPECT_EQ(info.record.getVendorID(), 0x1B4B);
}

TEST(ControllerFlow, CallsBeforeSetUpAndAfterTearDownFailAsCommandsDo) {
    SimHost host("healthy");
    CallersController before;
    EXPECT_EQ(ZT_Adapter_GetInfo(0, &before.count, &before.record), ERR_NONE);
    EXPECT_EQ(before.record.getVendorID(), 0);

    ASSERT_EQ(host.start(), 1);
    host.stop();
    host.driver().forgetHistory();
    CallersController after;
    EXPECT_EQ(ZT_Adapter_GetInfo(0, &after.count, &after.record), ERR_NONE);
    EXPECT_EQ(after.count, 1) << "the count is never cleared";
    EXPECT_EQ(after.record.getVendorID(), 0);
    EXPECT_EQ(after.record.getLinkWidth(), 0);
    EXPECT_TRUE(host.driver().commands().empty());
}

TEST(ControllerFlow, TearDownClosesTheConnectionAndANewStartOpensOne) {
    SimHost host("healthy");
    host.gate().releaseAll();
    ZNV_Library_Initialize();
    EXPECT_EQ(host.driver().openHandles(), 1U);
    ZNV_Library_Finalize();
    EXPECT_EQ(host.driver().openHandles(), 0U);

    ZNV_Library_Initialize();
    EXPECT_EQ(host.driver().openHandles(), 1U);
    CallersController info;
    EXPECT_EQ(ZT_Adapter_GetInfo(0, &info.count, &info.record), ERR_NONE);
    EXPECT_EQ(info.record.getVendorID(), 0x1B4B);
    ZNV_Library_Finalize();
    EXPECT_EQ(host.driver().openHandles(), 0U);
    EXPECT_TRUE(host.driver().refusals().empty());
}

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

void PrintTo(const LinkCase& link, std::ostream* stream) {
    *stream << link.name;
}

class LspciAgrees : public ::testing::TestWithParam<LinkCase> {};

TEST_P(LspciAgrees, OnSpeedAndWidth) {
    const LinkCase& expected = GetParam();
    vesksim::Scenario scenario;
    scenario.adapters[0].link.speed = expected.speed;
    scenario.adapters[0].link.maxSpeed = expected.maxSpeed;
    scenario.adapters[0].link.width = expected.width;
    scenario.adapters[0].link.maxWidth = expected.maxWidth;
    SimHost host(scenario);
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
