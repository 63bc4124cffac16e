// What a virtual disk takes of each of its members, and what all of them use of a physical disk:
// command 16, and the operation that sends it.
#include "disk_rig.h"
#include "memory_faults.h"

#include "api/command_handler.h"
#include "disks/physical_disk_builder.h"
#include "disks/vd_info_data.h"
#include "disks/virtual_disk_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <vector>

namespace {

using namespace vesktest;

const std::string kSpace = "CVirtualDisk::setAttributesForUsedSpacePerPDInVD(): ";
const std::string kMembers =
    "CVirtualDisk::setAttributesForUsedSpacePerPDInVD():: Member disk count: ";
const std::string kIds = "CVirtualDisk::setPDIdsOfContainingPDs(): Containing PD IDs: ";

// Noise but for what the accounting reads.
_vdInfoData volume(std::uint8_t raidMode, std::uint8_t memberCount, unsigned long size,
                   const std::vector<USHORT_INT>& members) {
    const Bytes bytes = noise(sizeof(_vdInfoData), 71);
    _vdInfoData record;
    std::memcpy(&record, bytes.data(), sizeof record);
    record.vdId = 0x0203;
    record.raidMode = raidMode;
    record.memberCount = memberCount;
    record.size = size;
    std::copy(members.begin(), members.end(), record.memberIds);
    return record;
}

class SpaceRig : public DiskRig {
public:
    // The disk of what the controller says; of what is logged, the lines of this only.
    void account(_vdInfoData record) {
        host.forgetLines();
        disk.setAttributesForUsedSpacePerPDInVD(&record);
    }

    CVirtualDisk disk;
};

// One virtual disk of what the controller says, with the size 99 before.
void expectShare(const _vdInfoData& record, unsigned long long usedSize, const Bytes& ids,
                 const LogLines& lines) {
    SpaceRig rig;
    rig.disk.setUsedSizePerPD(99);
    rig.account(record);
    EXPECT_EQ(rig.disk.getUsedSizePerPD(), usedSize);
    EXPECT_EQ(rig.disk.getVDIdForUsedSpacePerPDInVD(), 0x03);
    EXPECT_EQ(rig.disk.getPDIdsOfContainingPDs(), ids);
    EXPECT_EQ(rig.messages(), lines);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TEST(SpacePerMember, EachIdIsLoggedAndThenTaken) {
    if (!kCanFailNew) {
        GTEST_SKIP() << kWhyNewCannotFail;
    }
    const TracedHost host;
    CVirtualDisk disk;
    unsigned short ids[] = {7, 8, 9};
    {
        // The list grows to one byte, and then to two.
        const FailNew fault(AllocationSize::exactly(2));
        EXPECT_THROW(disk.setPDIdsOfContainingPDs(3, ids), std::bad_alloc);
        EXPECT_TRUE(fault.triggered());
    }
    stg::lout << '\n';
    EXPECT_EQ(disk.getPDIdsOfContainingPDs(), Bytes{7});
    EXPECT_TRUE(contains(host.lines(), kIds + "7 8 "));
}

TEST(SpacePerMember, ModeZeroIsDividedByTheMembersAndTruncated) {
    expectShare(volume(0, 2, 1000001, {0, 1}), 500000, {0, 1},
                {kSpace + "Raid Mode: 0", kSpace + "Raid Mode is 0, Size: 500000", kMembers + "2",
                 kIds + "0 1 "});
    expectShare(volume(0, 3, 0xFFFFFFFFFFFFFFFF, {1, 2, 3}), 0x5555555555555555, {1, 2, 3},
                {kSpace + "Raid Mode: 0", kSpace + "Raid Mode is 0, Size: 6148914691236517205",
                 kMembers + "3", kIds + "1 2 3 "});
    expectShare(volume(0, 3, 2, {1, 2, 3}), 0, {1, 2, 3},
                {kSpace + "Raid Mode: 0", kSpace + "Raid Mode is 0, Size: 0", kMembers + "3",
                 kIds + "1 2 3 "});
}

TEST(SpacePerMember, ModeOneIsTheWholeSizeAndNeedsNoMembers) {
    expectShare(volume(1, 2, 1000000, {0, 1}), 1000000, {0, 1},
                {kSpace + "Raid Mode: 1", kSpace + "Raid Mode is 1, Size: 1000000", kMembers + "2",
                 kIds + "0 1 "});
    expectShare(
        volume(1, 0, 77, {}), 77, {},
        {kSpace + "Raid Mode: 1", kSpace + "Raid Mode is 1, Size: 77", kMembers + "0", kIds});
}

TEST(SpacePerMember, LongIdsAreLoggedWholeAndStoredAsTheirLowByte) {
    expectShare(volume(1, 3, 1, {256, 0x1234, 0xFFFF}), 1, {0x00, 0x34, 0xFF},
                {kSpace + "Raid Mode: 1", kSpace + "Raid Mode is 1, Size: 1", kMembers + "3",
                 kIds + "256 4660 65535 "});
}

TEST(SpacePerMember, ModeFifteenIsLoggedAsModeZero) {
    expectShare(volume(15, 3, 10, {4, 5, 6}), 3, {4, 5, 6},
                {kSpace + "Raid Mode: 15", kSpace + "Raid Mode is 0, Size: 3", kMembers + "3",
                 kIds + "4 5 6 "});
}

TEST(SpacePerMember, OtherModesAreNotSupportedAndKeepMembersAndSize) {
    for (const std::uint8_t mode : Bytes{2, 5, 14, 16, 255}) {
        SCOPED_TRACE(int{mode});
        expectShare(volume(mode, 2, 1000, {1, 2}), 99, {1, 2},
                    {kSpace + "Raid Mode: " + std::to_string(mode),
                     kSpace + "Raid Mode not supported", kMembers + "2", kIds + "1 2 "});
    }
}

TEST(SpacePerMember, ModesThatDivideAreRefusedWithoutMembers) {
    for (const std::uint8_t mode : Bytes{0, 15}) {
        SCOPED_TRACE(int{mode});
        SpaceRig rig;
        rig.account(volume(mode, 0, 1000, {}));
        EXPECT_EQ(rig.disk.getUsedSizePerPD(), 0U);
        EXPECT_EQ(rig.disk.getVDIdForUsedSpacePerPDInVD(), 0x03);
        EXPECT_TRUE(rig.disk.getPDIdsOfContainingPDs().empty());
        EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
        const LogLines messages = rig.messages();
        EXPECT_TRUE(inOrder(messages, {kSpace + "Raid Mode: " + std::to_string(mode),
                                       "libVeskNVMe FAILED: ERR_FAIL ", kMembers + "0", kIds}));
        EXPECT_EQ(messages.size(), 5U) << "one line of its own beside these";
        EXPECT_FALSE(containsPart(messages, "Raid Mode is 0"));
    }
}

TEST(SpacePerMember, RecordHoldsNoMoreThan33Members) {
    for (const std::uint8_t count : Bytes{33, 34, 255}) {
        SCOPED_TRACE(int{count});
        SpaceRig rig;
        _vdInfoData record = volume(0, count, 255, {});
        for (USHORT_INT i = 0; i < 33; ++i) {
            record.memberIds[i] = static_cast<USHORT_INT>(100 + i);
        }
        rig.account(record);
        const Bytes ids = rig.disk.getPDIdsOfContainingPDs();
        ASSERT_EQ(ids.size(), 33U);
        EXPECT_EQ(ids.front(), 100);
        EXPECT_EQ(ids.back(), 132);
        EXPECT_TRUE(contains(rig.messages(), kMembers + std::to_string(count)));
    }
}

TEST(SpacePerMember, IdsAreAppended) {
    SpaceRig rig;
    unsigned short ids[] = {1, 2, 3};
    rig.host.forgetLines();
    rig.disk.setPDIdsOfContainingPDs(2, ids);
    rig.disk.setPDIdsOfContainingPDs(3, ids);
    rig.disk.setPDIdsOfContainingPDs(0, nullptr);
    EXPECT_EQ(rig.disk.getPDIdsOfContainingPDs(), (Bytes{1, 2, 1, 2, 3}));
    EXPECT_EQ(rig.messages(), (LogLines{kIds + "1 2 ", kIds + "1 2 3 ", kIds}));
}

TEST(SpacePerMember, ValuesAreGivenOutOneByOneOrWhole) {
    CVirtualDisk disk;
    unsigned short ids[] = {9, 8};
    disk.setVDIdForUsedSpacePerPDInVD(0xFE);
    disk.setUsedSizePerPD(0xF807060504030201);
    disk.setPDIdsOfContainingPDs(2, ids);
    EXPECT_EQ(disk.getVDIdForUsedSpacePerPDInVD(), 0xFE);
    EXPECT_EQ(disk.getUsedSizePerPD(), 0xF807060504030201U);
    UsedSpacePerPDInVD all = disk.getUsedSpacePerPDInVDStruct();
    EXPECT_EQ(all.vdId, 0xFE);
    EXPECT_EQ(all.pdIds, (Bytes{9, 8}));
    EXPECT_EQ(all.usedSize, 0xF807060504030201U);
    all.pdIds.clear();
    disk.getPDIdsOfContainingPDs().clear();
    EXPECT_EQ(disk.getPDIdsOfContainingPDs().size(), 2U);
}

using Entries = std::vector<UsedSpacePerPDInVD>;

// As texts: virtual disk, members, share.
std::vector<std::string> textsOf(const Entries& entries) {
    std::vector<std::string> texts;
    for (const UsedSpacePerPDInVD& entry : entries) {
        std::string text = std::to_string(entry.vdId) + ":";
        for (const UCHAR_ member : entry.pdIds) {
            text += " " + std::to_string(member);
        }
        texts.push_back(text + ": " + std::to_string(entry.usedSize));
    }
    return texts;
}

using Texts = std::vector<std::string>;

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
        expectVolume("00", volumePage());
        expectVolume("01", secondVolumePage());
    }

    CPhysicalDiskBuilder builder;
    unsigned long long used = 0;
};

TEST(UsedSpace, Command16LogsLineByLine) {
    DiskRig rig;
    rig.expectVolume("00", volumePage());
    rig.expectVolume("01", absentPage());
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
            // NOLINTNEXTLINE(bugprone-suspicious-missing-comma): one line of the log
            "libVeskNvme: CommandHandler::navigator(): End of "
            "VeskNVMe_GetUsedRaidSpacePerPDInVD"}));
}

TEST(UsedSpace, Command16GathersTheVirtualDisksThatArePresent) {
    DiskRig rig;
    rig.expectVolume("00", volumePage());
    rig.expectVolume("01", secondVolumePage());
    EXPECT_EQ(textsOf(runCommand16()), (Texts{"5: 0 1: 500000", "1: 1 2: 1000000"}));
    rig.expectVolume("00", absentPage());
    rig.expectVolume("01", secondVolumePage());
    EXPECT_EQ(textsOf(runCommand16()), Texts{"1: 1 2: 1000000"});
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
    // Zeros are a present disk, without members to divide by.
    rig.driver.expectCommand(volumeInfoCommand("00"), refusal());
    rig.expectVolume("01", secondVolumePage());
    EXPECT_EQ(textsOf(runCommand16()), (Texts{"0:: 0", "1: 1 2: 1000000"}));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
}

TEST(UsedSpace, Command16IsAppendedToWhatTheCallerHas) {
    DiskRig rig;
    rig.expectVolume("00", absentPage());
    rig.expectVolume("01", secondVolumePage());
    Entries entries(1);
    entries[0].vdId = 0x77;
    entries[0].usedSize = 7;
    CVirtualDiskBuilder builder;
    builder.buidInfo(16);
    builder.getSpecificObject(16, &entries);
    EXPECT_EQ(textsOf(entries), (Texts{"119:: 7", "1: 1 2: 1000000"}));
    EXPECT_EQ(builder.getActiveVDCount(), 1);
}

const std::string kUsed = "CPhysicalDiskBuilder::getUsedSpaceForPDinVD(): ";

// Of one disk, with these pages about virtual disks and 3 in the number before.
void expectUse(unsigned char pdId, const Bytes& first, const Bytes& second, RESULT result,
               unsigned long long used, const LogLines& lines) {
    UsedSpaceRig rig;
    rig.expectVolume("00", first);
    rig.expectVolume("01", second);
    rig.used = 3;
    EXPECT_EQ(rig.ask(pdId), result);
    EXPECT_EQ(rig.used, used);
    LogLines own;
    for (const std::string& line : rig.messages()) {
        if (line.compare(0, kUsed.size(), kUsed) == 0) {
            own.push_back(line);
        }
    }
    EXPECT_EQ(own, lines);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TEST(UsedSpace, IsTheSumOfTheSharesOfAMember) {
    const Bytes first = volumePage();
    const Bytes second = secondVolumePage();
    expectUse(1, first, second, 0, 1500003,
              {kUsed + "No of PDs in VD: 2", kUsed + "Found PD Id with used size: 500000",
               kUsed + "No of PDs in VD: 2", kUsed + "Found PD Id with used size: 1000000"});
    expectUse(0, first, second, 0, 500003,
              {kUsed + "No of PDs in VD: 2", kUsed + "Found PD Id with used size: 500000",
               kUsed + "No of PDs in VD: 2"});
    expectUse(2, first, second, 0, 1000003,
              {kUsed + "No of PDs in VD: 2", kUsed + "No of PDs in VD: 2",
               kUsed + "Found PD Id with used size: 1000000"});
}

TEST(UsedSpace, MemberOfNoneLeavesTheNumber) {
    expectUse(3, volumePage(), secondVolumePage(), 1, 3,
              {kUsed + "No of PDs in VD: 2", kUsed + "No of PDs in VD: 2"});
    expectUse(0, absentPage(), absentPage(), 1, 3, {});
}

TEST(UsedSpace, UnsupportedModeIsFoundWithASizeOfZero) {
    expectUse(1, with(volumePage(), 12, {5}), absentPage(), 0, 3,
              {kUsed + "No of PDs in VD: 2", kUsed + "Found PD Id with used size: 0"});
}

TEST(UsedSpace, IdNamedTwiceCountsTwice) {
    // The low byte of the second id is 1 too.
    expectUse(1, with(volumePage(), 24, {1, 0, 1, 1}), absentPage(), 0, 1000003,
              {kUsed + "No of PDs in VD: 2", kUsed + "Found PD Id with used size: 500000",
               kUsed + "Found PD Id with used size: 500000"});
}

TEST(UsedSpace, IsANestedDispatch) {
    UsedSpaceRig rig;
    rig.expectBoth();
    EXPECT_EQ(rig.ask(1), 0);
    EXPECT_TRUE(inOrder(
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
    Bytes record = request(2, 1, 16);
    const Bytes before = record;
    rig.builder.setSpecificParams(11, record.data());
    rig.expectDisk("01", diskPage());
    rig.builder.buidInfo(11);
    rig.expectBoth();
    EXPECT_EQ(rig.builder.getUsedSpaceForPDinVD(&rig.used), 0);
    rig.builder.getSpecificObject(11, record.data());
    EXPECT_EQ(rig.used, 1500000U);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF},
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
    EXPECT_TRUE(inOrder(rig.messages(), {"std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL "}));
    EXPECT_EQ(rig.driver.callCount(), 0U);
}

TEST(UsedSpace, GivesWhatWasGatheredBeforeAFailure) {
    UsedSpaceRig rig;
    rig.expectVolume("00", volumePage());
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
