// What a physical disk's records are made of.
#include "disk_records.h"
#include "disk_rig.h"

#include "disks/pd_info_data.h"
#include "disks/physical_disk.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>

namespace {

using vesktest::Bytes;
using vesktest::bytesOf;
using vesktest::LogLines;
using vesktest::TracedHost;

// The record at the start of a page.
_PDInfoData recordOf(const Bytes& page) {
    _PDInfoData record;
    std::memcpy(&record, page.data(), sizeof record);
    return record;
}

TEST(PhysicalDisk, IsClearWhateverMemoryHeld) {
    alignas(CPhysicalDisk) static std::uint8_t s_memory[sizeof(CPhysicalDisk)];
    std::memset(s_memory, 0xEE, sizeof s_memory);
    auto* const disk = new (s_memory) CPhysicalDisk;
    EXPECT_EQ(bytesOf(disk->getPDInfoStruct()), Bytes(248, 0));
    EXPECT_EQ(bytesOf(disk->getPDRaidStatusStruct()), Bytes(8, 0));
    EXPECT_EQ(bytesOf(disk->getPDSmartInfoStruct()), Bytes(2404, 0));
    EXPECT_EQ(bytesOf(disk->getPDConfigStruct()), Bytes(8, 0));
    EXPECT_EQ(bytesOf(disk->getFreeSpaceStruct()), Bytes(16, 0));
}

TEST(PhysicalDisk, HoldsItsRecordsInOrder) {
    CPhysicalDisk disk;
    EXPECT_EQ(static_cast<void*>(disk.getPDInfoStruct()), static_cast<void*>(&disk));
    const void* const raid = disk.getPDRaidStatusStruct();
    const void* const smart = disk.getPDSmartInfoStruct();
    const void* const config = disk.getPDConfigStruct();
    const void* const space = disk.getFreeSpaceStruct();
    EXPECT_LT(static_cast<void*>(disk.getPDInfoStruct()), raid);
    EXPECT_LT(raid, smart);
    EXPECT_LT(smart, config);
    EXPECT_LT(config, space);
}

TEST(PhysicalDisk, CopyIsClearedAndAssignmentChangesNothing) {
    CPhysicalDisk filled;
    _PDInfoData record = recordOf(vesktest::diskPage());
    filled.setPDInfoAttributes(&record);
    filled.setPDConfigAttributes(&record);
    filled.setRaidStatusAttributes(&record);
    filled.setFreeSpaceAttributes(&record);
    filled.setSmartStatus(1);
    CPhysicalDisk copy(filled);
    EXPECT_EQ(bytesOf(copy.getPDInfoStruct()), Bytes(248, 0));
    EXPECT_EQ(bytesOf(copy.getPDRaidStatusStruct()), Bytes(8, 0));
    EXPECT_EQ(bytesOf(copy.getPDSmartInfoStruct()), Bytes(2404, 0));
    EXPECT_EQ(bytesOf(copy.getPDConfigStruct()), Bytes(8, 0));
    EXPECT_EQ(bytesOf(copy.getFreeSpaceStruct()), Bytes(16, 0));
    EXPECT_EQ(bytesOf(filled.getPDInfoStruct()), vesktest::diskInfo());

    CPhysicalDisk empty;
    EXPECT_EQ(&(filled = empty), &filled);
    EXPECT_EQ(bytesOf(filled.getPDInfoStruct()), vesktest::diskInfo());
    EXPECT_EQ(bytesOf(filled.getPDConfigStruct()), vesktest::diskConfig());
    EXPECT_EQ(filled.getSmartStatus(), 1);
    EXPECT_EQ(&(empty = filled), &empty);
    EXPECT_EQ(bytesOf(empty.getPDInfoStruct()), Bytes(248, 0));
    EXPECT_EQ(bytesOf(empty.getFreeSpaceStruct()), Bytes(16, 0));
}

TEST(PhysicalDisk, EachSetterFillsOneRecord) {
    _PDInfoData record = recordOf(vesktest::diskPage());
    CPhysicalDisk info;
    info.setPDInfoAttributes(&record);
    EXPECT_EQ(bytesOf(info.getPDInfoStruct()), vesktest::diskInfo());
    EXPECT_EQ(bytesOf(info.getPDConfigStruct()), Bytes(8, 0));
    CPhysicalDisk config;
    config.setPDConfigAttributes(&record);
    EXPECT_EQ(bytesOf(config.getPDConfigStruct()), vesktest::diskConfig());
    EXPECT_EQ(bytesOf(config.getPDInfoStruct()), Bytes(248, 0));
    EXPECT_EQ(bytesOf(config.getPDRaidStatusStruct()), Bytes(8, 0));
    CPhysicalDisk raid;
    raid.setRaidStatusAttributes(&record);
    EXPECT_EQ(bytesOf(raid.getPDRaidStatusStruct()), (Bytes{0x78, 0x56, 0, 0, 0x20, 0, 0, 0}));
    EXPECT_EQ(bytesOf(raid.getPDConfigStruct()), Bytes(8, 0));
    CPhysicalDisk space;
    space.setFreeSpaceAttributes(&record);
    EXPECT_EQ(bytesOf(space.getFreeSpaceStruct()),
              (Bytes{0x34, 0x12, 0, 0, 0, 2, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(bytesOf(space.getPDInfoStruct()), Bytes(248, 0));
}

TEST(PhysicalDisk, RecordsCarryTwoDifferentIds) {
    _PDInfoData record = recordOf(vesktest::diskPage());
    CPhysicalDisk disk;
    disk.setPDInfoAttributes(&record);
    disk.setFreeSpaceAttributes(&record);
    disk.setPDConfigAttributes(&record);
    disk.setRaidStatusAttributes(&record);
    EXPECT_EQ(disk.getDevID(), 0x1234U);
    EXPECT_EQ(disk.getIdForFreeSpace(), 0x1234);
    EXPECT_EQ(disk.getHDId(), 0x5678);
    EXPECT_EQ(disk.getHDIdForRaidStatus(), 0x5678);
}

TEST(PhysicalDisk, BlockSizeIsCutForFreeSpaceOnly) {
    Bytes page = vesktest::diskPage();
    vesktest::put(page, 80, {0x00, 0x00, 0x01, 0x00});
    _PDInfoData record = recordOf(page);
    CPhysicalDisk disk;
    disk.setPDInfoAttributes(&record);
    disk.setFreeSpaceAttributes(&record);
    EXPECT_EQ(disk.getBlockSize(), 65536U);
    EXPECT_EQ(disk.getBlockSizeForFreeSpace(), 0);
}

TEST(PhysicalDisk, BitZeroOfTheStatusIsOnlineAndLeavesNoFreeSpace) {
    for (const std::uint8_t status : Bytes{0x00, 0x01, 0xFE, 0xFF, 0x20, 0x21}) {
        SCOPED_TRACE(int{status});
        _PDInfoData record = recordOf(vesktest::with(vesktest::diskPage(), 10, {status}));
        CPhysicalDisk disk;
        disk.setPDConfigAttributes(&record);
        disk.setFreeSpaceAttributes(&record);
        disk.setRaidStatusAttributes(&record);
        const bool online = status == 0x01 || status == 0xFF || status == 0x21;
        EXPECT_EQ(disk.getOnline(), online ? 1 : 0);
        EXPECT_EQ(disk.getSizeForFreeSpace(), online ? 0U : 0x0807060504030201U);
        EXPECT_EQ(disk.getRaidStatus(), status);
    }
}

TEST(PhysicalDisk, ConfigurationIsOfConstantsButForOnlineAndId) {
    _PDInfoData record;
    std::memset(&record, 0xFF, sizeof record);
    CPhysicalDisk disk;
    disk.setPDConfigAttributes(&record);
    EXPECT_EQ(bytesOf(disk.getPDConfigStruct()), (Bytes{1, 1, 1, 3, 0, 0, 0xFF, 0xFF}));
}

TEST(PhysicalDisk, ConstructorsAndAttributesAreTraced) {
    TracedHost host;
    _PDInfoData record = recordOf(vesktest::diskPage());
    CPhysicalDisk disk;
    EXPECT_TRUE(host.traced("CPhysicalDisk::CPhysicalDisk()"));
    host.forgetLines();
    const CPhysicalDisk copy(disk);
    EXPECT_TRUE(host.traced("CPhysicalDisk::CPhysicalDisk()"));
    CPhysicalDisk other;
    other = disk;
    EXPECT_TRUE(host.traced("CPhysicalDisk::operator=()"));
    disk.setPDInfoAttributes(&record);
    EXPECT_TRUE(host.traced("CPhysicalDisk::setPDInfoAttributes()"));
    disk.setPDConfigAttributes(&record);
    EXPECT_TRUE(host.traced("CPhysicalDisk::setPDConfigAttributes()"));
    disk.setRaidStatusAttributes(&record);
    EXPECT_TRUE(host.traced("CPhysicalDisk::setRaidStatusAttributes()"));
    disk.setFreeSpaceAttributes(&record);
    EXPECT_TRUE(host.traced("CPhysicalDisk::setFreeSpaceAttributes()"));
    EXPECT_EQ(host.messages(), LogLines{});
}

TEST(PhysicalDisk, AccessorsAreNotTraced) {
    TracedHost host;
    CPhysicalDisk disk;
    host.forgetLines();
    disk.setDevID(1);
    disk.getDevID();
    disk.setSize(1);
    disk.getSize();
    disk.setSmartAttributeId(1);
    disk.getSmartAttributeId(1);
    disk.getPDInfoStruct();
    disk.getFreeSpaceStruct();
    EXPECT_EQ(host.lines(), LogLines{});
}

}  // namespace
