// What the exported calls about physical disks log, line by line.
#include "disk_rig.h"

#include "api/command_handler.h"

#include <gtest/gtest.h>

namespace {

using vesktest::asRequest;
using vesktest::Bytes;
using vesktest::DiskRig;
using vesktest::LogLines;
using vesktest::request;

TEST(PhysicalDiskLog, InformationNamesEachDisk) {
    DiskRig rig;
    rig.expectDisk("00", vesktest::diskPage());
    rig.expectDisk("01", vesktest::secondDiskPage());
    Bytes record = request(1, 0, 2 * 248);
    ZT_PD_GetHDInfo_Ext('A', asRequest(record));
    EXPECT_EQ(
        rig.messages(),
        (LogLines{
            "libVeskNVMe SUCESS: ERR_NONE ",
            "libVeskNvme: CommandHandler::navigator(): Calling ZT_PD_GetHDInfo_Ext API ....",
            "libVeskNvme: CommandHandler::navigator(): ZT_Adapter_GetInfo : AdapterID = A",
            "libVeskNvme: CPhysicalDiskBuilder::buidInfo(): Start of PD_GetHDInfo_Ext case",
            "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): PD details: ID: 4660",
            "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): Model Number: "
            "MODEL-0123456789-0123456789-0123456789-X",
            "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): PD details: ID: 1",
            "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): Model Number: Disk B  ",
            "libVeskNvme: CPhysicalDiskBuilder::buidInfo(): End of PD_GetHDInfo_Ext case",
            "libVeskNvme: CPhysicalDiskBuilder::getSpecificObject(): Start of PD_GetHDInfo_Ext "
            "case",
            "libVeskNvme: CPhysicalDiskBuilder::getSpecificObject(): End of PD_GetHDInfo_Ext case",
            "libVeskNvme: CommandHandler::navigator(): end of ZT_PD_GetHDInfo_Ext."}));
}

TEST(PhysicalDiskLog, ConfigurationHasNoEndLineBehindItsDelivery) {
    DiskRig rig;
    rig.expectDisk("01", vesktest::secondDiskPage());
    Bytes record = request(2, 1, 8);
    ZT_PD_GetConfig(0, asRequest(record));
    EXPECT_EQ(
        rig.messages(),
        (LogLines{
            "libVeskNVMe SUCESS: ERR_NONE ",
            "libVeskNvme: CommandHandler::navigator(): Calling PD_GetConfig",
            "libVeskNvme: CPhysicalDiskBuilder::buidInfo(): Start of PD_GetConfig case",
            "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): PD details: ID: 1",
            "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): Model Number: Disk B  ",
            "libVeskNvme: CPhysicalDiskBuilder::buidInfo(): End of PD_GetConfig case",
            "libVeskNvme: CPhysicalDiskBuilder::getSpecificObject(): Start of PD_GetConfig case",
            "libVeskNvme: CommandHandler::navigator(): End of PD_GetConfig case"}));
}

TEST(PhysicalDiskLog, RaidStatusNamesIdAndStatusOnOneLine) {
    DiskRig rig;
    rig.expectDisk("01", vesktest::with(vesktest::secondDiskPage(), 10, {0xE3}));
    Bytes record = request(2, 1, 8);
    ZT_PD_GetHDRaidStatus(0, asRequest(record));
    EXPECT_EQ(
        rig.messages(),
        (LogLines{
            "libVeskNVMe SUCESS: ERR_NONE ",
            "libVeskNvme: CommandHandler::navigator(): Calling \"ZT_PD_GetHDRaidStatus API\" ....",
            "libVeskNvme: CPhysicalDiskBuilder::buidInfo(): Start of PD_GetHDRaidStatus case",
            "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): PD details: ID: 1",
            "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): Model Number: Disk B  ",
            "CPhysicalDiskBuilder::getRaidStatus(): PD details: ID: 1, Status: 227",
            "libVeskNvme: CPhysicalDiskBuilder::buidInfo(): End of PD_GetHDRaidStatus case",
            "libVeskNvme: CPhysicalDiskBuilder::getSpecificObject(): Start of PD_GetHDRaidStatus "
            "case",
            "libVeskNvme: CPhysicalDiskBuilder::getSpecificObject(): End of PD_GetHDRaidStatus "
            "case",
            "libVeskNvme: CommandHandler::navigator(): End of \"ZT_PD_GetHDRaidStatus\"."}));
}

TEST(PhysicalDiskLog, AbsentDiskHasNoRaidStatusLine) {
    DiskRig rig;
    rig.expectDisk("01", vesktest::absentPage());
    Bytes record = request(2, 1, 8);
    ZT_PD_GetHDRaidStatus(0, asRequest(record));
    EXPECT_FALSE(vesktest::containsPart(rig.messages(), "getRaidStatus(): PD details"));
}

TEST(PhysicalDiskLog, FreeSpaceIsFramedInItsDeliveryOnly) {
    DiskRig rig;
    rig.expectDisk("01", vesktest::secondDiskPage());
    Bytes record = request(2, 1, 16);
    ZT_PD_GetFreeSpaceInfo(0, asRequest(record));
    EXPECT_EQ(
        rig.messages(),
        (LogLines{
            "libVeskNVMe SUCESS: ERR_NONE ",
            "libVeskNvme: CommandHandler::navigator(): Calling \"PD_GetFreeSpaceInfo\" API ....",
            "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): PD details: ID: 1",
            "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): Model Number: Disk B  ",
            "libVeskNvme: CPhysicalDiskBuilder::getSpecificObject(): Start of PD_GetFreeSpaceInfo "
            "case",
            "libVeskNvme: CPhysicalDiskBuilder::getSpecificObject(): End of PD_GetFreeSpaceInfo "
            "case",
            "libVeskNvme: CommandHandler::navigator(): End of \"PD_GetFreeSpaceInfo\"."}));
}

TEST(PhysicalDiskLog, BadRequestTypeIsLoggedBetweenTheFrames) {
    DiskRig rig;
    Bytes record = request(3, 1, 16);
    ZT_PD_GetHDInfo_Ext('A', asRequest(record));
    EXPECT_TRUE(vesktest::inOrder(
        rig.messages(),
        {"libVeskNvme: CPhysicalDiskBuilder::buidInfo(): Start of PD_GetHDInfo_Ext case",
         "Invalid Request type for Get PD Info", "libVeskNVMe FAILED: ERR_FAIL ",
         "libVeskNvme: CPhysicalDiskBuilder::buidInfo(): End of PD_GetHDInfo_Ext case",
         "libVeskNvme: CPhysicalDiskBuilder::getSpecificObject(): Start of PD_GetHDInfo_Ext "
         "case"}));
}

TEST(PhysicalDiskLog, AdapterIdIsOneRawCharacter) {
    DiskRig rig;
    rig.expectDisk("00", vesktest::absentPage());
    Bytes record = request(2, 0, 0);
    ZT_PD_GetHDInfo_Ext('7', asRequest(record));
    EXPECT_TRUE(vesktest::contains(
        rig.messages(),
        "libVeskNvme: CommandHandler::navigator(): ZT_Adapter_GetInfo : AdapterID = 7"));
}

TEST(PhysicalDiskLog, CallsAreTracedThroughTheirBuilder) {
    DiskRig rig;
    rig.expectDisk("01", vesktest::secondDiskPage());
    Bytes record = request(2, 1, 248);
    ZT_PD_GetHDInfo_Ext(0, asRequest(record));
    EXPECT_TRUE(
        vesktest::inOrder(rig.host.lines(), {"ZT_PD_GetHDInfo_Ext() ENTRY ",
                                             "CommandHandler::navigator() ENTRY ",
                                             "CPhysicalDiskBuilder::CPhysicalDiskBuilder() ENTRY ",
                                             "CPhysicalDiskBuilder::CPhysicalDiskBuilder() EXIT ",
                                             "CPhysicalDiskBuilder::setSpecificParams() ENTRY ",
                                             "CPhysicalDiskBuilder::setSpecificParams() EXIT ",
                                             "CPhysicalDiskBuilder::buidInfo() ENTRY ",
                                             "CPhysicalDiskBuilder::getPDInfo() ENTRY ",
                                             "CPhysicalDiskBuilder::getAttributesForOnePD() ENTRY ",
                                             "CPDInfoBuilder::CPDInfoBuilder() ENTRY ",
                                             "CPDInfoBuilder::buildCommand() ENTRY ",
                                             "CPDInfoBuilder::execute() ENTRY ",
                                             "CPDInfoBuilder::~CPDInfoBuilder() EXIT ",
                                             "CPhysicalDiskBuilder::getAttributesForOnePD() EXIT ",
                                             "CPhysicalDisk::setPDInfoAttributes() ENTRY ",
                                             "CPhysicalDisk::setPDInfoAttributes() EXIT ",
                                             "CPhysicalDiskBuilder::getPDInfo() EXIT ",
                                             "CPhysicalDiskBuilder::buidInfo() EXIT ",
                                             "CPhysicalDiskBuilder::getSpecificObject() ENTRY ",
                                             "CPhysicalDiskBuilder::getSpecificObject() EXIT ",
                                             "CPhysicalDiskBuilder::~CPhysicalDiskBuilder() ENTRY ",
                                             "CPhysicalDiskBuilder::~CPhysicalDiskBuilder() EXIT ",
                                             "CommandHandler::navigator() EXIT ",
                                             "ZT_PD_GetHDInfo_Ext() EXIT "}));
}

}  // namespace
