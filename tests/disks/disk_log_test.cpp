// What the disk part logs: the lines of each exported call, and which operations are traced.
#include "disk_rig.h"

#include "disks/pd_info_data.h"
#include "disks/physical_disk_builder.h"
#include "disks/smart_log_entry.h"
#include "disks/vd_info_data.h"
#include "disks/virtual_disk_builder.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using namespace vesktest;

const std::string kSuccess = "libVeskNVMe SUCESS: ERR_NONE ";
const std::string kCommand = "libVeskNvme: CommandHandler::navigator(): ";

namespace physical {
const std::string kBuilt = "libVeskNvme: CPhysicalDiskBuilder::buidInfo(): ";
const std::string kGiven = "libVeskNvme: CPhysicalDiskBuilder::getSpecificObject(): ";
const std::string kOne = "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): ";
const std::string kPage = "libVeskNvme: CPhysicalDiskBuilder::getSmartAttributesForOnePD(): ";
}  // namespace physical

namespace virtuals {
const std::string kSet = "libVeskNvme: CVirtualDiskBuilder::setSpecificParams(): ";
const std::string kBuilt = "libVeskNvme: CVirtualDiskBuilder::buidInfo(): ";
const std::string kOne = "libVeskNvme: CVirtualDiskBuilder::getAttributesForOneVD: ";
}  // namespace virtuals

struct LoggedCall {
    const char* name;
    std::function<void(DiskRig&)> run;
    LogLines lines;
};

void expectLogs(const std::vector<LoggedCall>& calls) {
    for (const LoggedCall& now : calls) {
        SCOPED_TRACE(now.name);
        DiskRig rig;
        now.run(rig);
        EXPECT_EQ(rig.messages(), now.lines);
    }
}

void ask(UCHAR_ (*call)(UCHAR_, PInfo_Request), std::uint8_t type, std::uint8_t id,
         UCHAR_ adapterId = 'A') {
    Bytes record = request(type, id, 2 * 312);
    call(adapterId, asRequest(record));
}

TEST(PhysicalDiskBuilder, FrameLinesAreUneven) {
    using namespace physical;
    expectLogs({
        {"information of all",
         [](DiskRig& rig) {
             rig.expectDisk("00", diskPage());
             rig.expectDisk("01", secondDiskPage());
             ask(ZT_PD_GetHDInfo_Ext, 1, 0);
         },
         {kSuccess, kCommand + "Calling ZT_PD_GetHDInfo_Ext API ....",
          kCommand + "ZT_Adapter_GetInfo : AdapterID = A",
          kBuilt + "Start of PD_GetHDInfo_Ext case", kOne + "PD details: ID: 4660",
          kOne + "Model Number: MODEL-0123456789-0123456789-0123456789-X",
          kOne + "PD details: ID: 1", kOne + "Model Number: Disk B  ",
          kBuilt + "End of PD_GetHDInfo_Ext case", kGiven + "Start of PD_GetHDInfo_Ext case",
          kGiven + "End of PD_GetHDInfo_Ext case", kCommand + "end of ZT_PD_GetHDInfo_Ext."}},
        {"information, refused",
         [](DiskRig&) { ask(ZT_PD_GetHDInfo_Ext, 3, 1, '7'); },
         {kSuccess, kCommand + "Calling ZT_PD_GetHDInfo_Ext API ....",
          kCommand + "ZT_Adapter_GetInfo : AdapterID = 7",
          kBuilt + "Start of PD_GetHDInfo_Ext case", "Invalid Request type for Get PD Info",
          "libVeskNVMe FAILED: ERR_FAIL ", kBuilt + "End of PD_GetHDInfo_Ext case",
          kGiven + "Start of PD_GetHDInfo_Ext case", kGiven + "End of PD_GetHDInfo_Ext case",
          kCommand + "end of ZT_PD_GetHDInfo_Ext."}},
        {"configuration, which has no end behind its delivery",
         [](DiskRig& rig) {
             rig.expectDisk("01", secondDiskPage());
             ask(ZT_PD_GetConfig, 2, 1);
         },
         {kSuccess, kCommand + "Calling PD_GetConfig", kBuilt + "Start of PD_GetConfig case",
          kOne + "PD details: ID: 1", kOne + "Model Number: Disk B  ",
          kBuilt + "End of PD_GetConfig case", kGiven + "Start of PD_GetConfig case",
          kCommand + "End of PD_GetConfig case"}},
        {"health, which ends with a second start",
         [](DiskRig& rig) {
             rig.expectDisk("01", secondDiskPage());
             rig.expectHealth("01", healthPage());
             CPhysicalDiskBuilder builder(9U);
             builder.setPDId(1);
             builder.buidInfo(9);
             SMART_INFO_ARRAY record = {};
             builder.getSpecificObject(9, &record);
         },
         {kBuilt + "Start of PD_GET_SMART_INFO case", kOne + "PD details: ID: 1",
          kOne + "Model Number: Disk B  ", "CPDPTLogBuilder: CDW10 = 8323074",
          kPage + "PD details: AvailableSpare: 100, AvailableSpareThreshold: 10, Temperature: 27 "
                  "RRWE: 3",
          "PercentageUsed= 3", "AvailableSpare= 100", "AvailableSpareThreshold= 10",
          kBuilt + "Start of PD_GET_SMART_INFO case", kGiven + "Start of PD_GET_SMART_INFO case",
          kGiven + "End of PD_GET_SMART_INFO case"}},
        {"raid status",
         [](DiskRig& rig) {
             rig.expectDisk("01", with(secondDiskPage(), 10, {0xE3}));
             ask(ZT_PD_GetHDRaidStatus, 2, 1);
         },
         {kSuccess, kCommand + "Calling \"ZT_PD_GetHDRaidStatus API\" ....",
          kBuilt + "Start of PD_GetHDRaidStatus case", kOne + "PD details: ID: 1",
          kOne + "Model Number: Disk B  ",
          "CPhysicalDiskBuilder::getRaidStatus(): PD details: ID: 1, Status: 227",
          kBuilt + "End of PD_GetHDRaidStatus case", kGiven + "Start of PD_GetHDRaidStatus case",
          kGiven + "End of PD_GetHDRaidStatus case",
          kCommand + "End of \"ZT_PD_GetHDRaidStatus\"."}},
        {"free space, framed in its delivery only",
         [](DiskRig& rig) {
             rig.expectDisk("01", secondDiskPage());
             ask(ZT_PD_GetFreeSpaceInfo, 2, 1);
         },
         {kSuccess, kCommand + "Calling \"PD_GetFreeSpaceInfo\" API ....",
          kOne + "PD details: ID: 1", kOne + "Model Number: Disk B  ",
          kGiven + "Start of PD_GetFreeSpaceInfo case", kGiven + "End of PD_GetFreeSpaceInfo case",
          kCommand + "End of \"PD_GetFreeSpaceInfo\"."}},
    });
}

TEST(CommandHandler, HealthClosesWithItsOpeningLine) {
    const std::string call = "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO: ";
    const std::string frame = kCommand + "Start of PD_GET_SMART_INFO case";
    DiskRig rig;
    rig.expectDisk("01", secondDiskPage());
    rig.expectHealth("01", healthPage());
    SMART_INFO_ARRAY record = {};
    EXPECT_EQ(ZT_PD_GET_SMART_INFO(0, 1, 0, &record), 0);
    const LogLines lines = rig.messages();
    ASSERT_EQ(lines.size(), 19U);
    EXPECT_EQ(LogLines(lines.begin(), lines.begin() + 2), (LogLines{kSuccess, frame}));
    EXPECT_EQ(LogLines(lines.begin() + 13, lines.end()),
              (LogLines{frame, call + "AttributeName: Percent Drive Life Remaining",
                        call + "CurrentValue: 3", call + "AttributeName: Available Spare",
                        call + "CurrentValue: 100", call + "ThresholdValue: 10"}));
}

TEST(PhysicalDiskLog, AbsentDiskHasNoRaidStatusLine) {
    DiskRig rig;
    rig.expectDisk("01", absentPage());
    ask(ZT_PD_GetHDRaidStatus, 2, 1);
    EXPECT_FALSE(containsPart(rig.messages(), "getRaidStatus(): PD details"));
}

TEST(VirtualDiskBuilder, CommandsCloseWithASecondStartLine) {
    using namespace virtuals;
    expectLogs({
        {"information of all",
         [](DiskRig& rig) {
             rig.expectVolume("00", volumePage());
             rig.expectVolume("01", secondVolumePage());
             ask(ZT_LD_GetInfo, 1, 0);
         },
         {kSuccess, kCommand + "Start of LD_GetInfo case",
          kSet + "Start of LD_GetInfo / LD_GetConfig case",
          kSet + "End of LD_GetInfo / LD_GetConfig case", kBuilt + "Start of LD_GetInfo case",
          kOne + "VD details: ID: 1029", kOne + "LBA size: 1000001", kOne + "VD details: ID: 1",
          kOne + "LBA size: 1000000", kBuilt + "Start of LD_GetInfo case",
          kCommand + "End of LD_GetInfo case"}},
        {"configuration of one",
         [](DiskRig& rig) {
             rig.expectVolume("01", secondVolumePage());
             ask(ZT_LD_GetConfig, 2, 1);
         },
         {kSuccess, kCommand + "Calling LD_GetConfig",
          kSet + "Start of LD_GetInfo / LD_GetConfig case",
          kSet + "End of LD_GetInfo / LD_GetConfig case", kBuilt + "Start of LD_GetConfig case",
          kOne + "VD details: ID: 1", kOne + "LBA size: 1000000",
          kBuilt + "Start of LD_GetConfig case", kCommand + "End of LD_GetConfig case"}},
    });
}

TEST(PhysicalDiskLog, CallIsTracedThroughItsBuilder) {
    DiskRig rig;
    rig.expectDisk("01", secondDiskPage());
    ask(ZT_PD_GetHDInfo_Ext, 2, 1);
    EXPECT_TRUE(inOrder(
        rig.host.lines(),
        {"ZT_PD_GetHDInfo_Ext() ENTRY ", "CommandHandler::navigator() ENTRY ",
         "CPhysicalDiskBuilder::CPhysicalDiskBuilder() EXIT ",
         "CPhysicalDiskBuilder::setSpecificParams() EXIT ",
         "CPhysicalDiskBuilder::buidInfo() ENTRY ", "CPhysicalDiskBuilder::getPDInfo() ENTRY ",
         "CPhysicalDiskBuilder::getAttributesForOnePD() ENTRY ",
         "CPDInfoBuilder::CPDInfoBuilder() ENTRY ", "CPDInfoBuilder::~CPDInfoBuilder() EXIT ",
         "CPhysicalDiskBuilder::getAttributesForOnePD() EXIT ",
         "CPhysicalDisk::setPDInfoAttributes() EXIT ", "CPhysicalDiskBuilder::getPDInfo() EXIT ",
         "CPhysicalDiskBuilder::buidInfo() EXIT ",
         "CPhysicalDiskBuilder::getSpecificObject() EXIT ",
         "CPhysicalDiskBuilder::~CPhysicalDiskBuilder() EXIT ", "CommandHandler::navigator() EXIT ",
         "ZT_PD_GetHDInfo_Ext() EXIT "}));
}

// Looks at the lines since the last look: one operation's, whose entry and exit enclose the others.
// Without a talker, so that no command gets anywhere.
class DiskTrace : public ::testing::Test {
protected:
    DiskTrace() { host.forgetLines(); }

    void expectWhole(const std::string& operation) {
        const LogLines lines = host.lines();
        ASSERT_FALSE(lines.empty()) << operation;
        EXPECT_EQ(lines.front(), operation + "() ENTRY ");
        EXPECT_EQ(lines.back(), operation + "() EXIT ");
        host.forgetLines();
    }

    _PDInfoData pdPage = {};
    _SMART_HEALTH_INFORMATION_LOG_ENTRY healthBytes = {};
    _vdInfoData vdPage = {};
    TracedHost host;
};

TEST_F(DiskTrace, OperationsOfAPhysicalDiskEncloseTheirLines) {
    CPhysicalDisk disk;
    expectWhole("CPhysicalDisk::CPhysicalDisk");
    CPhysicalDisk copy(disk);
    expectWhole("CPhysicalDisk::CPhysicalDisk");
    copy = disk;
    expectWhole("CPhysicalDisk::operator=");
    disk.setPDInfoAttributes(&pdPage);
    expectWhole("CPhysicalDisk::setPDInfoAttributes");
    disk.setPDConfigAttributes(&pdPage);
    expectWhole("CPhysicalDisk::setPDConfigAttributes");
    disk.setRaidStatusAttributes(&pdPage);
    expectWhole("CPhysicalDisk::setRaidStatusAttributes");
    disk.setFreeSpaceAttributes(&pdPage);
    expectWhole("CPhysicalDisk::setFreeSpaceAttributes");
    disk.setSmartInfoAttributes(&pdPage, &healthBytes);
    expectWhole("CPhysicalDisk::setSmartInfoAttributes");
}

TEST_F(DiskTrace, OperationsOfAVirtualDiskEncloseTheirLines) {
    CVirtualDisk disk;
    expectWhole("CVirtualDisk::CVirtualDisk");
    CVirtualDisk copy(disk);
    expectWhole("CVirtualDisk::CVirtualDisk");
    copy = disk;
    expectWhole("CVirtualDisk::operator=");
    disk.setVDInfoAttributes(&vdPage);
    expectWhole("CVirtualDisk::setVDInfoAttributes");
    disk.setVDConfigAttributes(&vdPage);
    expectWhole("CVirtualDisk::setVDConfigAttributes");
    disk.setAttributesForUsedSpacePerPDInVD(&vdPage);
    expectWhole("CVirtualDisk::setAttributesForUsedSpacePerPDInVD");
    disk.setPDIdsOfContainingPDs(0, nullptr);
    expectWhole("CVirtualDisk::setPDIdsOfContainingPDs");
}

TEST_F(DiskTrace, OperationsOfThePhysicalDiskBuilderEncloseTheirLines) {
    unsigned long long used = 0;
    {
        CPhysicalDiskBuilder builder;
        host.forgetLines();
        builder.setSpecificParams(0, nullptr);
        expectWhole("CPhysicalDiskBuilder::setSpecificParams");
        builder.buidInfo(0);
        expectWhole("CPhysicalDiskBuilder::buidInfo");
        builder.getSpecificObject(0, nullptr);
        expectWhole("CPhysicalDiskBuilder::getSpecificObject");
        builder.getPDInfo();
        expectWhole("CPhysicalDiskBuilder::getPDInfo");
        builder.getPDConfig();
        expectWhole("CPhysicalDiskBuilder::getPDConfig");
        builder.getRaidStatus();
        expectWhole("CPhysicalDiskBuilder::getRaidStatus");
        builder.getFreeSpaceInfo();
        expectWhole("CPhysicalDiskBuilder::getFreeSpaceInfo");
        builder.getSmartInfo();
        expectWhole("CPhysicalDiskBuilder::getSmartInfo");
        builder.getAttributesForOnePD(&pdPage);
        expectWhole("CPhysicalDiskBuilder::getAttributesForOnePD");
        builder.getSmartAttributesForOnePD(&healthBytes);
        expectWhole("CPhysicalDiskBuilder::getSmartAttributesForOnePD");
        builder.getUsedSpaceForPDinVD(&used);
        expectWhole("CPhysicalDiskBuilder::getUsedSpaceForPDinVD");
    }
    expectWhole("CPhysicalDiskBuilder::~CPhysicalDiskBuilder");
}

TEST_F(DiskTrace, OperationsOfTheVirtualDiskBuilderEncloseTheirLines) {
    {
        CVirtualDiskBuilder builder;
        host.forgetLines();
        builder.setSpecificParams(0, nullptr);
        expectWhole("CVirtualDiskBuilder::setSpecificParams");
        builder.buidInfo(0);
        expectWhole("CVirtualDiskBuilder::buidInfo");
        builder.getSpecificObject(0, nullptr);
        expectWhole("CVirtualDiskBuilder::getSpecificObject");
        builder.getVDInfo();
        expectWhole("CVirtualDiskBuilder::getVDInfo");
        builder.getVDConfig();
        expectWhole("CVirtualDiskBuilder::getVDConfig");
        builder.getUsedRaidSpacePerPDInVD();
        expectWhole("CVirtualDiskBuilder::getUsedRaidSpacePerPDInVD");
        builder.getAttributesForOneVD(&vdPage);
        expectWhole("CVirtualDiskBuilder::getAttributesForOneVD");
    }
    expectWhole("CVirtualDiskBuilder::~CVirtualDiskBuilder");
}

TEST_F(DiskTrace, ConstructorsOfBuildersEncloseThoseOfTheirDisks) {
    const LogLines disk = {"CPhysicalDisk::CPhysicalDisk() ENTRY ",
                           "CPhysicalDisk::CPhysicalDisk() EXIT "};
    const CPhysicalDiskBuilder one(11U);
    EXPECT_EQ(count(host.lines(), disk[0]), 1U);
    EXPECT_TRUE(
        inOrder(host.lines(), {"CPhysicalDiskBuilder::CPhysicalDiskBuilder() ENTRY ", disk[0],
                               disk[1], "CPhysicalDiskBuilder::CPhysicalDiskBuilder() EXIT "}));
    host.forgetLines();
    const CPhysicalDiskBuilder two;
    EXPECT_TRUE(inOrder(host.lines(),
                        {"CPhysicalDiskBuilder::CPhysicalDiskBuilder() ENTRY ", disk[0], disk[1],
                         disk[0], disk[1], "CPhysicalDiskBuilder::CPhysicalDiskBuilder() EXIT "}));
    const CVirtualDiskBuilder volumes;
    EXPECT_TRUE(inOrder(host.lines(), {"CVirtualDiskBuilder::CVirtualDiskBuilder() ENTRY ",
                                       "CVirtualDisk::CVirtualDisk() ENTRY ",
                                       "CVirtualDisk::CVirtualDisk() EXIT ",
                                       "CVirtualDiskBuilder::CVirtualDiskBuilder() EXIT "}));
}

TEST_F(DiskTrace, AccessorsOfDisksAreNotTraced) {
    CPhysicalDisk disk;
    CVirtualDisk volume;
    host.forgetLines();
    disk.setDevID(disk.getDevID());
    disk.setSize(disk.getSize());
    disk.setSmartAttributeId(1);
    disk.setRaidStatus(disk.getSmartAttributeId(1));
    disk.getPDInfoStruct();
    disk.getFreeSpaceStruct();
    volume.setID(volume.getID());
    volume.setLDId(volume.getLDId());
    volume.setUsedSizePerPD(volume.getUsedSizePerPD());
    volume.getVDInfoStruct();
    volume.getVDConfigStruct();
    EXPECT_EQ(host.lines(), LogLines{});
}

}  // namespace
