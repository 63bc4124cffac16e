// How much of a physical disk virtual disks use: command 16, and the operation that sends it.
#include "disk_rig.h"
#include "memory_faults.h"

#include "api/command_handler.h"
#include "disks/physical_disk_builder.h"
#include "disks/virtual_disk_builder.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using vesktest::AllocationSize;
using vesktest::Bytes;
using vesktest::DiskRig;
using vesktest::FailMalloc;
using vesktest::LogLines;
using vesktest::with;

using Entries = std::vector<UsedSpacePerPDInVD>;

Entries runCommand16() {
    Entries entries;
    ZTCommand command{};
    command.commandId = 16;
    command.arg1 = &entries;
    EXPECT_EQ(CommandHandler::getUniqueInstance()->navigator(command), 0);
    return entries;
}

class UsedSpaceRig : public DiskRig {
public:
    // Of the disk with this id; the builder is made before, so that its lines are no matter.
    RESULT ask(unsigned char pdId) {
        builder.setPDId(pdId);
        host.forgetLines();
        return builder.getUsedSpaceForPDinVD(&used);
    }

    void expectBoth() {
        expectVolume("00", vesktest::volumePage());
        expectVolume("01", vesktest::secondVolumePage());
    }

    CPhysicalDiskBuilder builder;
    unsigned long long used = 0;
};

TEST(UsedSpace, Command16GathersBothVirtualDisks) {
    DiskRig rig;
    rig.expectVolume("00", vesktest::volumePage());
    rig.expectVolume("01", vesktest::secondVolumePage());
    const Entries entries = runCommand16();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].vdId, 0x05);
    EXPECT_EQ(entries[0].pdIds, (Bytes{0, 1}));
    EXPECT_EQ(entries[0].usedSize, 500000U);
    EXPECT_EQ(entries[1].vdId, 0x01);
    EXPECT_EQ(entries[1].pdIds, (Bytes{1, 2}));
    EXPECT_EQ(entries[1].usedSize, 1000000U);
}

TEST(UsedSpace, Command16LogsLineByLine) {
    DiskRig rig;
    rig.expectVolume("00", vesktest::volumePage());
    rig.expectVolume("01", vesktest::absentPage());
    runCommand16();
    LogLines messages = rig.messages();
    ASSERT_EQ(messages.size(), 10U);
    // What is said of the absent disk are bytes that nobody defined.
    messages.erase(messages.begin() + 7, messages.begin() + 9);
    EXPECT_EQ(
        messages,
        (LogLines{
            "libVeskNvme: CommandHandler::navigator(): Calling GET_UsedRaidSpacePerPDInVD ....",
            "libVeskNvme: CVirtualDiskBuilder::getAttributesForOneVD: VD details: ID: 1029",
            "libVeskNvme: CVirtualDiskBuilder::getAttributesForOneVD: LBA size: 1000001",
            "CVirtualDisk::setAttributesForUsedSpacePerPDInVD(): Raid Mode: 0",
            "CVirtualDisk::setAttributesForUsedSpacePerPDInVD(): Raid Mode is 0, Size: 500000",
            "CVirtualDisk::setAttributesForUsedSpacePerPDInVD():: Member disk count: 2",
            "CVirtualDisk::setPDIdsOfContainingPDs(): Containing PD IDs: 0 1 ",
            "libVeskNvme: CommandHandler::navigator(): End of "
            "VeskNVMe_GetUsedRaidSpacePerPDInVD"}));
}

TEST(UsedSpace, Command16LeavesOutWhatIsAbsentAndAppends) {
    DiskRig rig;
    rig.expectVolume("00", vesktest::absentPage());
    rig.expectVolume("01", vesktest::secondVolumePage());
    Entries entries(1);
    entries[0].vdId = 0x77;
    CVirtualDiskBuilder builder;
    builder.buidInfo(16);
    builder.getSpecificObject(16, &entries);
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].vdId, 0x77);
    EXPECT_EQ(entries[1].vdId, 0x01);
    EXPECT_EQ(builder.getActiveVDCount(), 1);
}

TEST(UsedSpace, RefusedCommandIsAVirtualDiskWithoutMembers) {
    DiskRig rig;
    rig.driver.expectCommand(vesktest::volumeInfoCommand("00"), vesktest::refusal());
    rig.expectVolume("01", vesktest::secondVolumePage());
    const Entries entries = runCommand16();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].vdId, 0);
    EXPECT_TRUE(entries[0].pdIds.empty());
    EXPECT_EQ(entries[0].usedSize, 0U);
    EXPECT_EQ(entries[1].usedSize, 1000000U);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
}

TEST(UsedSpace, MemberOfBothHasBothShares) {
    UsedSpaceRig rig;
    rig.expectBoth();
    rig.used = 3;
    EXPECT_EQ(rig.ask(1), 0);
    EXPECT_EQ(rig.used, 1500003U);
    const std::string used = "CPhysicalDiskBuilder::getUsedSpaceForPDinVD(): ";
    LogLines own;
    for (const std::string& line : rig.messages()) {
        if (line.compare(0, used.size(), used) == 0) {
            own.push_back(line);
        }
    }
    EXPECT_EQ(
        own, (LogLines{used + "No of PDs in VD: 2", used + "Found PD Id with used size: 500000",
                       used + "No of PDs in VD: 2", used + "Found PD Id with used size: 1000000"}));
}

TEST(UsedSpace, MemberOfOneHasItsShare) {
    UsedSpaceRig rig;
    rig.expectBoth();
    EXPECT_EQ(rig.ask(0), 0);
    EXPECT_EQ(rig.used, 500000U);
    rig.expectBoth();
    rig.used = 0;
    EXPECT_EQ(rig.ask(2), 0);
    EXPECT_EQ(rig.used, 1000000U);
    EXPECT_EQ(rig.driver.callCount(), 4U);
}

TEST(UsedSpace, MemberOfNoneLeavesTheNumber) {
    UsedSpaceRig rig;
    rig.expectBoth();
    rig.used = 12345;
    EXPECT_EQ(rig.ask(3), 1);
    EXPECT_EQ(rig.used, 12345U);
    EXPECT_FALSE(vesktest::containsPart(rig.messages(), "Found PD Id"));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TEST(UsedSpace, WithoutVirtualDisksThereIsNone) {
    UsedSpaceRig rig;
    rig.expectVolume("00", vesktest::absentPage());
    rig.expectVolume("01", vesktest::absentPage());
    rig.used = 12345;
    EXPECT_EQ(rig.ask(0), 1);
    EXPECT_EQ(rig.used, 12345U);
    EXPECT_FALSE(vesktest::containsPart(rig.messages(), "No of PDs in VD"));
}

TEST(UsedSpace, UnsupportedModeIsFoundWithASizeOfZero) {
    UsedSpaceRig rig;
    rig.expectVolume("00", with(vesktest::volumePage(), 12, {5}));
    rig.expectVolume("01", vesktest::absentPage());
    EXPECT_EQ(rig.ask(1), 0);
    EXPECT_EQ(rig.used, 0U);
    EXPECT_TRUE(vesktest::contains(
        rig.messages(),
        "CVirtualDisk::setAttributesForUsedSpacePerPDInVD(): Raid Mode not supported"));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TEST(UsedSpace, IdNamedTwiceCountsTwice) {
    UsedSpaceRig rig;
    rig.expectVolume("00", with(vesktest::volumePage(), 24, {1, 0, 1, 1}));
    rig.expectVolume("01", vesktest::absentPage());
    EXPECT_EQ(rig.ask(1), 0);
    EXPECT_EQ(rig.used, 1000000U) << "the low byte of the second id is 1 too";
}

TEST(UsedSpace, IsANestedDispatch) {
    UsedSpaceRig rig;
    rig.expectBoth();
    EXPECT_EQ(rig.ask(1), 0);
    EXPECT_TRUE(vesktest::inOrder(
        rig.host.lines(),
        {"CPhysicalDiskBuilder::getUsedSpaceForPDinVD() ENTRY ",
         "CommandHandler::navigator() ENTRY ", "CVirtualDiskBuilder::CVirtualDiskBuilder() ENTRY ",
         "CVirtualDiskBuilder::getUsedRaidSpacePerPDInVD() ENTRY ",
         "CVirtualDiskBuilder::getUsedRaidSpacePerPDInVD() EXIT ",
         "CVirtualDiskBuilder::~CVirtualDiskBuilder() EXIT ", "CommandHandler::navigator() EXIT ",
         "CPhysicalDiskBuilder::getUsedSpaceForPDinVD(): No of PDs in VD: 2",
         "CPhysicalDiskBuilder::getUsedSpaceForPDinVD() EXIT "}));
    EXPECT_EQ(rig.builder.getActivePDCount(), 0);
    EXPECT_EQ(rig.builder.getPDId(), 1);
}

TEST(UsedSpace, WorksInTheMiddleOfAnotherCommand) {
    UsedSpaceRig rig;
    Bytes record = vesktest::request(2, 1, 16);
    const Bytes before = record;
    rig.builder.setSpecificParams(11, record.data());
    rig.expectDisk("01", vesktest::diskPage());
    rig.builder.buidInfo(11);
    rig.expectBoth();
    EXPECT_EQ(rig.builder.getUsedSpaceForPDinVD(&rig.used), 0);
    rig.builder.getSpecificObject(11, record.data());
    EXPECT_EQ(rig.used, 1500000U);
    EXPECT_EQ(record, vesktest::answered(before, {1, 0, 0xFF, 0xFF},
                                         {0x34, 0x12, 0, 0, 0, 2, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(UsedSpace, WithoutAWorkingRecordThereIsNone) {
    UsedSpaceRig rig;
    {
        const FailMalloc fault(AllocationSize::exactly(192));
        EXPECT_EQ(rig.ask(1), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(rig.used, 0U);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_TRUE(
        vesktest::inOrder(rig.messages(), {"std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL "}));
    EXPECT_EQ(rig.driver.callCount(), 0U);
}

TEST(UsedSpace, GivesWhatWasGatheredBeforeAFailure) {
    UsedSpaceRig rig;
    rig.expectVolume("00", vesktest::volumePage());
    rig.builder.setPDId(1);
    {
        const FailMalloc fault(AllocationSize::exactly(4096), 2);
        EXPECT_EQ(rig.builder.getUsedSpaceForPDinVD(&rig.used), 0);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(rig.used, 500000U);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
}

}  // namespace
