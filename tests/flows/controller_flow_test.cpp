#include "VeskNvme.h"
#include "log_file.h"
#include "sim_host.h"

#include <gtest/gtest.h>

#include <cstring>

using vesktest::SimHost;

namespace {

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

}  // namespace
