// The exported calls about virtual disks.
#include "disk_rig.h"

#include <gtest/gtest.h>

namespace {

using vesktest::answered;
using vesktest::asRequest;
using vesktest::Bytes;
using vesktest::DiskRig;
using vesktest::joined;
using vesktest::kNone;
using vesktest::LogLines;
using vesktest::request;
using vesktest::with;

TEST(VirtualDiskCalls, InformationOfAllVirtualDisks) {
    DiskRig rig;
    rig.expectVolume("00", vesktest::volumePage());
    rig.expectVolume("01", vesktest::secondVolumePage());
    Bytes record = request(1, 0xEE, 2 * 312 + 32);
    const Bytes before = record;
    EXPECT_EQ(ZT_LD_GetInfo(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {2, 0, 0x38, 0x01},
                               joined(vesktest::volumeInfo(), vesktest::secondVolumeInfo())));
}

TEST(VirtualDiskCalls, ConfigurationOfAllVirtualDisks) {
    DiskRig rig;
    rig.expectVolume("00", vesktest::volumePage());
    rig.expectVolume("01", vesktest::secondVolumePage());
    Bytes record = request(1, 0xEE, 2 * 24 + 32);
    const Bytes before = record;
    EXPECT_EQ(ZT_LD_GetConfig(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {2, 0, 24, 0},
                               joined(vesktest::volumeConfig(), vesktest::secondVolumeConfig())));
}

TEST(VirtualDiskCalls, OnlyVirtualDiskOneGivesOneRecordInFront) {
    DiskRig rig;
    rig.expectVolume("00", vesktest::absentPage());
    rig.expectVolume("01", vesktest::secondVolumePage());
    Bytes record = request(1, 0, 2 * 312);
    const Bytes before = record;
    EXPECT_EQ(ZT_LD_GetInfo(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::secondVolumeInfo()));

    rig.expectVolume("00", vesktest::absentPage());
    rig.expectVolume("01", vesktest::secondVolumePage());
    record = before;
    EXPECT_EQ(ZT_LD_GetConfig(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::secondVolumeConfig()));
}

TEST(VirtualDiskCalls, ControllerWithoutVirtualDisksAnswersNone) {
    DiskRig rig;
    for (auto* const call : {ZT_LD_GetInfo, ZT_LD_GetConfig}) {
        rig.expectVolume("00", vesktest::absentPage());
        rig.expectVolume("01", with(vesktest::absentPage(), 4, {0xFF}));
        Bytes record = request(1, 0, 2 * 312);
        const Bytes before = record;
        EXPECT_EQ(call(0, asRequest(record)), 0);
        EXPECT_EQ(record, answered(before, {0, 0, 0xFF, 0xFF}, kNone));
    }
}

TEST(VirtualDiskCalls, SingleRequestAsksForTheNamedOneOnly) {
    DiskRig rig;
    rig.expectVolume("07", vesktest::volumePage());
    Bytes record = request(2, 7, 312);
    Bytes before = record;
    EXPECT_EQ(ZT_LD_GetInfo(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::volumeInfo()));

    rig.expectVolume("FF", vesktest::volumePage());
    record = before = request(2, 0xFF, 24);
    EXPECT_EQ(ZT_LD_GetConfig(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::volumeConfig()));
}

TEST(VirtualDiskCalls, AbsentOneGivesNoRecordAndNoError) {
    DiskRig rig;
    for (auto* const call : {ZT_LD_GetInfo, ZT_LD_GetConfig}) {
        rig.expectVolume("01", vesktest::absentPage());
        Bytes record = request(2, 1, 312);
        const Bytes before = record;
        EXPECT_EQ(call(0, asRequest(record)), 0);
        EXPECT_EQ(record, answered(before, {0, 0, 0xFF, 0xFF}, kNone));
    }
}

TEST(VirtualDiskCalls, BadRequestTypeIsAFailureForBoth) {
    struct Case {
        UCHAR_ (*call)(UCHAR_, PInfo_Request);
        const char* text;
    };
    DiskRig rig;
    for (const Case& now : {Case{ZT_LD_GetInfo, "Invalid Request type for Get VD Info"},
                            Case{ZT_LD_GetConfig, "Invalid Request type for Get VD Config"}}) {
        for (const std::uint8_t type : Bytes{0, 3, 0xFF}) {
            SCOPED_TRACE(std::string(now.text) + " " + std::to_string(type));
            rig.host.forgetLines();
            Bytes record = request(type, 0, 312);
            const Bytes before = record;
            EXPECT_EQ(now.call(0, asRequest(record)), 1);
            EXPECT_EQ(record, answered(before, {0, 0, 0xFF, 0xFF}, kNone));
            EXPECT_TRUE(
                vesktest::inOrder(rig.messages(), {now.text, "libVeskNVMe FAILED: ERR_FAIL "}));
            EXPECT_EQ(vesktest::count(rig.messages(), now.text), 1U);
        }
    }
    EXPECT_EQ(rig.driver.callCount(), 0U);
}

TEST(VirtualDiskCalls, RefusedCommandCountsAsAnEmptyVirtualDisk) {
    DiskRig rig;
    rig.driver.expectCommand(vesktest::volumeInfoCommand("00"), vesktest::refusal());
    rig.expectVolume("01", vesktest::secondVolumePage());
    Bytes record = request(1, 0, 2 * 312);
    Bytes before = record;
    EXPECT_EQ(ZT_LD_GetInfo(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {2, 0, 0x38, 0x01},
                               joined(with(Bytes(312, 0), 8, {1}), vesktest::secondVolumeInfo())));

    rig.driver.expectCommand(vesktest::volumeInfoCommand("01"), vesktest::refusal());
    record = before = request(2, 1, 24);
    EXPECT_EQ(ZT_LD_GetConfig(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, with(Bytes(24, 0), 2, {1})));
}

TEST(VirtualDiskCalls, EachCallAsksTheControllerAgain) {
    DiskRig rig;
    rig.expectVolume("00", vesktest::volumePage());
    rig.expectVolume("00", vesktest::secondVolumePage());
    Bytes record = request(2, 0, 312);
    const Bytes before = record;
    EXPECT_EQ(ZT_LD_GetInfo(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::volumeInfo()));
    record = before;
    EXPECT_EQ(ZT_LD_GetInfo(99, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::secondVolumeInfo()));
}

TEST(VirtualDiskCalls, InformationIsLoggedLineByLine) {
    DiskRig rig;
    rig.expectVolume("00", vesktest::volumePage());
    rig.expectVolume("01", vesktest::secondVolumePage());
    Bytes record = request(1, 0, 2 * 312);
    ZT_LD_GetInfo(0, asRequest(record));
    EXPECT_EQ(
        rig.messages(),
        (LogLines{"libVeskNVMe SUCESS: ERR_NONE ",
                  "libVeskNvme: CommandHandler::navigator(): Start of LD_GetInfo case",
                  "libVeskNvme: CVirtualDiskBuilder::setSpecificParams(): Start of LD_GetInfo / "
                  "LD_GetConfig case",
                  "libVeskNvme: CVirtualDiskBuilder::setSpecificParams(): End of LD_GetInfo / "
                  "LD_GetConfig case",
                  "libVeskNvme: CVirtualDiskBuilder::buidInfo(): Start of LD_GetInfo case",
                  "libVeskNvme: CVirtualDiskBuilder::getAttributesForOneVD: VD details: ID: 1029",
                  "libVeskNvme: CVirtualDiskBuilder::getAttributesForOneVD: LBA size: 1000001",
                  "libVeskNvme: CVirtualDiskBuilder::getAttributesForOneVD: VD details: ID: 1",
                  "libVeskNvme: CVirtualDiskBuilder::getAttributesForOneVD: LBA size: 1000000",
                  "libVeskNvme: CVirtualDiskBuilder::buidInfo(): Start of LD_GetInfo case",
                  "libVeskNvme: CommandHandler::navigator(): End of LD_GetInfo case"}));
}

TEST(VirtualDiskCalls, ConfigurationIsLoggedLineByLine) {
    DiskRig rig;
    rig.expectVolume("01", vesktest::secondVolumePage());
    Bytes record = request(2, 1, 24);
    ZT_LD_GetConfig(0, asRequest(record));
    EXPECT_EQ(
        rig.messages(),
        (LogLines{"libVeskNVMe SUCESS: ERR_NONE ",
                  "libVeskNvme: CommandHandler::navigator(): Calling LD_GetConfig",
                  "libVeskNvme: CVirtualDiskBuilder::setSpecificParams(): Start of LD_GetInfo / "
                  "LD_GetConfig case",
                  "libVeskNvme: CVirtualDiskBuilder::setSpecificParams(): End of LD_GetInfo / "
                  "LD_GetConfig case",
                  "libVeskNvme: CVirtualDiskBuilder::buidInfo(): Start of LD_GetConfig case",
                  "libVeskNvme: CVirtualDiskBuilder::getAttributesForOneVD: VD details: ID: 1",
                  "libVeskNvme: CVirtualDiskBuilder::getAttributesForOneVD: LBA size: 1000000",
                  "libVeskNvme: CVirtualDiskBuilder::buidInfo(): Start of LD_GetConfig case",
                  "libVeskNvme: CommandHandler::navigator(): End of LD_GetConfig case"}));
}

}  // namespace
