// The exported calls about physical disks.
#include "disk_rig.h"
#include "memory_faults.h"

#include <gtest/gtest.h>

namespace {

using vesktest::answered;
using vesktest::asRequest;
using vesktest::Bytes;
using vesktest::DiskRig;
using vesktest::joined;
using vesktest::kNone;
using vesktest::request;
using vesktest::with;

TEST(PhysicalDiskCalls, InformationOfAllDisksIsPackedInRisingOrder) {
    DiskRig rig;
    rig.expectDisk("00", vesktest::diskPage());
    rig.expectDisk("01", vesktest::secondDiskPage());
    Bytes record = request(1, 0xEE, 2 * 248 + 32);
    const Bytes before = record;
    EXPECT_EQ(ZT_PD_GetHDInfo_Ext(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {2, 0, 248, 0},
                               joined(vesktest::diskInfo(), vesktest::secondDiskInfo())));
}

TEST(PhysicalDiskCalls, ConfigurationOfAllDisksIsPackedInRisingOrder) {
    DiskRig rig;
    rig.expectDisk("00", vesktest::diskPage());
    rig.expectDisk("01", vesktest::secondDiskPage());
    Bytes record = request(1, 0xEE, 2 * 8 + 32);
    const Bytes before = record;
    EXPECT_EQ(ZT_PD_GetConfig(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {2, 0, 8, 0},
                               joined(vesktest::diskConfig(), vesktest::secondDiskConfig())));
}

TEST(PhysicalDiskCalls, OnlyDiskOneGivesOneRecordInFront) {
    DiskRig rig;
    rig.expectDisk("00", vesktest::absentPage());
    rig.expectDisk("01", vesktest::secondDiskPage());
    Bytes record = request(1, 0, 2 * 248);
    const Bytes before = record;
    EXPECT_EQ(ZT_PD_GetHDInfo_Ext(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::secondDiskInfo()));

    rig.expectDisk("00", vesktest::absentPage());
    rig.expectDisk("01", vesktest::secondDiskPage());
    record = before;
    EXPECT_EQ(ZT_PD_GetConfig(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::secondDiskConfig()));
}

TEST(PhysicalDiskCalls, OnlyDiskZeroGivesOneRecord) {
    DiskRig rig;
    rig.expectDisk("00", vesktest::diskPage());
    rig.expectDisk("01", vesktest::absentPage());
    Bytes record = request(1, 0, 2 * 248);
    const Bytes before = record;
    EXPECT_EQ(ZT_PD_GetHDInfo_Ext(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::diskInfo()));
}

TEST(PhysicalDiskCalls, NoDiskAtAllIsNoFailure) {
    DiskRig rig;
    rig.expectDisk("00", vesktest::absentPage());
    rig.expectDisk("01", with(vesktest::absentPage(), 4, {0xFF}));
    Bytes record = request(1, 0, 2 * 248);
    const Bytes before = record;
    EXPECT_EQ(ZT_PD_GetHDInfo_Ext(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {0, 0, 0xFF, 0xFF}, kNone));
}

TEST(PhysicalDiskCalls, SingleRequestAsksForTheNamedDiskOnly) {
    DiskRig rig;
    rig.expectDisk("07", vesktest::diskPage());
    Bytes record = request(2, 7, 248);
    Bytes before = record;
    EXPECT_EQ(ZT_PD_GetHDInfo_Ext(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::diskInfo()));

    rig.expectDisk("FF", vesktest::diskPage());
    record = before = request(2, 0xFF, 8);
    EXPECT_EQ(ZT_PD_GetConfig(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::diskConfig()));
}

TEST(PhysicalDiskCalls, RaidStatusOfOneDiskIsTheWholeStatusByte) {
    DiskRig rig;
    rig.expectDisk("01", with(vesktest::diskPage(), 10, {0xE3}));
    Bytes record = request(2, 1, 8 + 16);
    const Bytes before = record;
    EXPECT_EQ(ZT_PD_GetHDRaidStatus(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, {0x78, 0x56, 0, 0, 0xE3, 0, 0, 0}));
}

TEST(PhysicalDiskCalls, FreeSpaceIsTheWholeDisk) {
    DiskRig rig;
    rig.expectDisk("00", with(vesktest::diskPage(), 96, {0x80, 0x84, 0x1E, 0, 0, 0, 0, 0}));
    Bytes record = request(2, 0, 16 + 16);
    const Bytes before = record;
    EXPECT_EQ(ZT_PD_GetFreeSpaceInfo(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF},
                               {0x34, 0x12, 0, 0, 0x00, 0x02, 0, 0,  //
                                0x80, 0x84, 0x1E, 0, 0, 0, 0, 0}));
}

TEST(PhysicalDiskCalls, OnlineDiskHasItsIdAndBlockSizeAndNoFreeSpace) {
    DiskRig rig;
    rig.expectDisk("01", vesktest::secondDiskPage());
    Bytes record = request(2, 1, 16 + 16);
    const Bytes before = record;
    EXPECT_EQ(ZT_PD_GetFreeSpaceInfo(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF},
                               {0x01, 0x00, 0, 0, 0x00, 0x10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(PhysicalDiskCalls, AbsentDiskGivesNoRecordAndNoError) {
    UCHAR_(*const calls[])
    (UCHAR_, PInfo_Request) = {ZT_PD_GetHDInfo_Ext, ZT_PD_GetConfig, ZT_PD_GetHDRaidStatus,
                               ZT_PD_GetFreeSpaceInfo};
    DiskRig rig;
    for (auto* const call : calls) {
        rig.expectDisk("01", vesktest::absentPage());
        Bytes record = request(2, 1, 248);
        const Bytes before = record;
        EXPECT_EQ(call(0, asRequest(record)), 0);
        EXPECT_EQ(record, answered(before, {0, 0, 0xFF, 0xFF}, kNone));
    }
}

TEST(PhysicalDiskCalls, BadRequestTypeHasTwoCodes) {
    struct Case {
        UCHAR_ (*call)(UCHAR_, PInfo_Request);
        std::vector<std::uint8_t> types;
        int code;
        const char* text;
        const char* codeLine;
    };
    const Case cases[] = {
        {ZT_PD_GetHDInfo_Ext,
         {0, 3, 0xFF},
         1,
         "Invalid Request type for Get PD Info",
         "libVeskNVMe FAILED: ERR_FAIL "},
        {ZT_PD_GetConfig,
         {0, 3, 0xFF},
         1,
         "Invalid Request type for Get PD Config",
         "libVeskNVMe FAILED: ERR_FAIL "},
        {ZT_PD_GetHDRaidStatus,
         {0, 1, 3, 0xFF},
         6,
         "Invalid Request Type for Get Raid Status",
         "libVeskNVMe FAILED: ERR_INVALID_REQUEST "},
        {ZT_PD_GetFreeSpaceInfo,
         {0, 1, 3, 0xFF},
         6,
         "Invalid Request Type for getFreeSpaceInfo",
         "libVeskNVMe FAILED: ERR_INVALID_REQUEST "},
    };
    DiskRig rig;
    for (const Case& now : cases) {
        for (const std::uint8_t type : now.types) {
            SCOPED_TRACE(std::string(now.text) + " " + std::to_string(type));
            rig.host.forgetLines();
            Bytes record = request(type, 0, 248);
            const Bytes before = record;
            EXPECT_EQ(now.call(0, asRequest(record)), now.code);
            EXPECT_EQ(record, answered(before, {0, 0, 0xFF, 0xFF}, kNone));
            EXPECT_TRUE(vesktest::inOrder(rig.messages(), {now.text, now.codeLine}));
            EXPECT_EQ(vesktest::count(rig.messages(), now.text), 1U);
        }
    }
    EXPECT_EQ(rig.driver.callCount(), 0U);
}

TEST(PhysicalDiskCalls, RefusedCommandCountsAsAnEmptyDisk) {
    DiskRig rig;
    rig.driver.expectCommand(vesktest::diskInfoCommand("00"), vesktest::refusal());
    rig.expectDisk("01", vesktest::secondDiskPage());
    Bytes record = request(1, 0, 2 * 248);
    Bytes before = record;
    EXPECT_EQ(ZT_PD_GetHDInfo_Ext(0, asRequest(record)), 0);
    Bytes empty(248, 0);
    empty[66] = 0x40;
    empty[184] = 0x01;
    EXPECT_EQ(record, answered(before, {2, 0, 248, 0}, joined(empty, vesktest::secondDiskInfo())));

    rig.driver.expectCommand(vesktest::diskInfoCommand("01"), vesktest::refusal());
    record = before = request(2, 1, 8);
    EXPECT_EQ(ZT_PD_GetConfig(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, {1, 1, 0, 3, 0, 0, 0, 0}));

    rig.driver.expectCommand(vesktest::diskInfoCommand("01"), vesktest::refusal());
    record = before = request(2, 1, 8);
    EXPECT_EQ(ZT_PD_GetHDRaidStatus(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, Bytes(8, 0)));

    rig.driver.expectCommand(vesktest::diskInfoCommand("01"), vesktest::refusal());
    record = before = request(2, 1, 16);
    EXPECT_EQ(ZT_PD_GetFreeSpaceInfo(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, Bytes(16, 0)));
}

TEST(PhysicalDiskCalls, EachCallAsksTheControllerAgain) {
    DiskRig rig;
    for (int i = 0; i < 3; ++i) {
        rig.expectDisk("00", i == 1 ? vesktest::secondDiskPage() : vesktest::diskPage());
        Bytes record = request(2, 0, 248);
        const Bytes before = record;
        EXPECT_EQ(ZT_PD_GetHDInfo_Ext(0, asRequest(record)), 0);
        EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF},
                                   i == 1 ? vesktest::secondDiskInfo() : vesktest::diskInfo()));
    }
}

TEST(PhysicalDiskCalls, AdapterIdSelectsNothing) {
    DiskRig rig;
    rig.expectDisk("00", vesktest::diskPage());
    Bytes record = request(2, 0, 8);
    const Bytes before = record;
    EXPECT_EQ(ZT_PD_GetConfig(200, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::diskConfig()));
}

}  // namespace
