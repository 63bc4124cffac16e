// What a virtual disk takes of each of its members.
#include "disk_records.h"
#include "disk_rig.h"
#include "memory_faults.h"

#include "disks/vd_info_data.h"
#include "disks/virtual_disk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace {

using vesktest::Bytes;
using vesktest::DiskRig;
using vesktest::LogLines;

const std::string kSpace = "CVirtualDisk::setAttributesForUsedSpacePerPDInVD(): ";
const std::string kMembers =
    "CVirtualDisk::setAttributesForUsedSpacePerPDInVD():: Member disk count: ";
const std::string kIds = "CVirtualDisk::setPDIdsOfContainingPDs(): Containing PD IDs: ";

// Noise but for what the accounting reads.
_vdInfoData volume(std::uint8_t raidMode, std::uint8_t memberCount, unsigned long size,
                   std::initializer_list<USHORT_INT> members) {
    const Bytes bytes = vesktest::noise(sizeof(_vdInfoData), 71);
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

TEST(SpacePerMember, EachIdIsLoggedAndThenTaken) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    const vesktest::TracedHost host;
    CVirtualDisk disk;
    unsigned short ids[] = {7, 8, 9};
    {
        // The list grows to one byte, and then to two.
        const vesktest::FailNew fault(vesktest::AllocationSize::exactly(2));
        EXPECT_THROW(disk.setPDIdsOfContainingPDs(3, ids), std::bad_alloc);
        EXPECT_TRUE(fault.triggered());
    }
    stg::lout << '\n';
    EXPECT_EQ(disk.getPDIdsOfContainingPDs(), Bytes{7});
    EXPECT_TRUE(vesktest::contains(host.lines(), kIds + "7 8 "));
}

TEST(SpacePerMember, ModeZeroIsDividedByTheMembersAndTruncated) {
    SpaceRig rig;
    rig.account(volume(0, 2, 1000001, {0, 1}));
    EXPECT_EQ(rig.disk.getUsedSizePerPD(), 500000U);
    EXPECT_EQ(rig.disk.getVDIdForUsedSpacePerPDInVD(), 0x03);
    EXPECT_EQ(rig.disk.getPDIdsOfContainingPDs(), (Bytes{0, 1}));
    EXPECT_EQ(rig.messages(),
              (LogLines{kSpace + "Raid Mode: 0", kSpace + "Raid Mode is 0, Size: 500000",
                        kMembers + "2", kIds + "0 1 "}));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TEST(SpacePerMember, ModeFifteenIsLoggedAsModeZero) {
    SpaceRig rig;
    rig.account(volume(15, 3, 10, {4, 5, 6}));
    EXPECT_EQ(rig.disk.getUsedSizePerPD(), 3U);
    EXPECT_EQ(rig.messages(),
              (LogLines{kSpace + "Raid Mode: 15", kSpace + "Raid Mode is 0, Size: 3",
                        kMembers + "3", kIds + "4 5 6 "}));
}

TEST(SpacePerMember, ModeOneIsTheWholeSize) {
    SpaceRig rig;
    rig.account(volume(1, 2, 1000000, {0, 1}));
    EXPECT_EQ(rig.disk.getUsedSizePerPD(), 1000000U);
    EXPECT_EQ(rig.messages(),
              (LogLines{kSpace + "Raid Mode: 1", kSpace + "Raid Mode is 1, Size: 1000000",
                        kMembers + "2", kIds + "0 1 "}));
}

TEST(SpacePerMember, ModeOneNeedsNoMembers) {
    SpaceRig rig;
    rig.account(volume(1, 0, 77, {}));
    EXPECT_EQ(rig.disk.getUsedSizePerPD(), 77U);
    EXPECT_TRUE(rig.disk.getPDIdsOfContainingPDs().empty());
    EXPECT_EQ(rig.messages(),
              (LogLines{kSpace + "Raid Mode: 1", kSpace + "Raid Mode is 1, Size: 77",
                        kMembers + "0", kIds}));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TEST(SpacePerMember, OtherModesAreNotSupportedAndKeepTheirMembers) {
    for (const std::uint8_t mode : Bytes{2, 5, 14, 16, 255}) {
        SCOPED_TRACE(int{mode});
        SpaceRig rig;
        rig.account(volume(mode, 2, 1000, {1, 2}));
        EXPECT_EQ(rig.disk.getUsedSizePerPD(), 0U);
        EXPECT_EQ(rig.disk.getPDIdsOfContainingPDs(), (Bytes{1, 2}));
        EXPECT_EQ(rig.messages(),
                  (LogLines{kSpace + "Raid Mode: " + std::to_string(mode),
                            kSpace + "Raid Mode not supported", kMembers + "2", kIds + "1 2 "}));
        EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
    }
}

TEST(SpacePerMember, UnsupportedModeLeavesTheSizeAsItWas) {
    SpaceRig rig;
    rig.disk.setUsedSizePerPD(99);
    rig.account(volume(5, 1, 1000, {1}));
    EXPECT_EQ(rig.disk.getUsedSizePerPD(), 99U);
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
        EXPECT_TRUE(
            vesktest::inOrder(messages, {kSpace + "Raid Mode: " + std::to_string(mode),
                                         "libVeskNVMe FAILED: ERR_FAIL ", kMembers + "0", kIds}));
        EXPECT_EQ(messages.size(), 5U) << "one line of its own beside these";
        EXPECT_FALSE(vesktest::containsPart(messages, "Raid Mode is 0"));
    }
}

TEST(SpacePerMember, SizeIsDividedIn64Bits) {
    SpaceRig rig;
    rig.account(volume(0, 3, 0xFFFFFFFFFFFFFFFF, {1, 2, 3}));
    EXPECT_EQ(rig.disk.getUsedSizePerPD(), 0x5555555555555555U);
    EXPECT_TRUE(
        vesktest::contains(rig.messages(), kSpace + "Raid Mode is 0, Size: 6148914691236517205"));
}

TEST(SpacePerMember, SizeSmallerThanTheMembersGivesNothing) {
    SpaceRig rig;
    rig.account(volume(0, 3, 2, {1, 2, 3}));
    EXPECT_EQ(rig.disk.getUsedSizePerPD(), 0U);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TEST(SpacePerMember, LongIdsAreLoggedWholeAndStoredAsTheirLowByte) {
    SpaceRig rig;
    rig.account(volume(1, 3, 1, {256, 0x1234, 0xFFFF}));
    EXPECT_EQ(rig.disk.getPDIdsOfContainingPDs(), (Bytes{0x00, 0x34, 0xFF}));
    EXPECT_EQ(rig.messages().back(), kIds + "256 4660 65535 ");
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
        EXPECT_TRUE(vesktest::contains(rig.messages(), kMembers + std::to_string(count)));
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

}  // namespace
