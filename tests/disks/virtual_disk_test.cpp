// What a virtual disk's records are made of.
#include "disk_records.h"
#include "traced_host.h"

#include "disks/vd_info_data.h"
#include "disks/virtual_disk.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>

namespace {

using vesktest::Bytes;
using vesktest::bytesOf;
using vesktest::LogLines;
using vesktest::TracedHost;

_vdInfoData recordOf(const Bytes& page) {
    _vdInfoData record;
    std::memcpy(&record, page.data(), sizeof record);
    return record;
}

TEST(VirtualDisk, IsClearWhateverMemoryHeld) {
    alignas(CVirtualDisk) static std::uint8_t s_memory[sizeof(CVirtualDisk)];
    std::memset(s_memory, 0xEE, sizeof s_memory);
    auto* const disk = new (s_memory) CVirtualDisk;
    EXPECT_EQ(bytesOf(disk->getVDInfoStruct()), Bytes(312, 0));
    EXPECT_EQ(bytesOf(disk->getVDConfigStruct()), Bytes(24, 0));
    EXPECT_EQ(disk->getVDIdForUsedSpacePerPDInVD(), 0);
    EXPECT_TRUE(disk->getPDIdsOfContainingPDs().empty());
    EXPECT_EQ(disk->getUsedSizePerPD(), 0U);
    disk->~CVirtualDisk();
}

TEST(VirtualDisk, HoldsItsRecordsInOrder) {
    CVirtualDisk disk;
    EXPECT_EQ(static_cast<void*>(disk.getVDInfoStruct()), static_cast<void*>(&disk));
    EXPECT_LT(static_cast<void*>(disk.getVDInfoStruct()),
              static_cast<void*>(disk.getVDConfigStruct()));
}

TEST(VirtualDisk, CopyIsClearedAndAssignmentChangesNothing) {
    CVirtualDisk filled;
    _vdInfoData record = recordOf(vesktest::volumePage());
    filled.setVDInfoAttributes(&record);
    filled.setVDConfigAttributes(&record);
    filled.setAttributesForUsedSpacePerPDInVD(&record);
    CVirtualDisk copy(filled);
    EXPECT_EQ(bytesOf(copy.getVDInfoStruct()), Bytes(312, 0));
    EXPECT_EQ(bytesOf(copy.getVDConfigStruct()), Bytes(24, 0));
    EXPECT_EQ(copy.getVDIdForUsedSpacePerPDInVD(), 0);
    EXPECT_TRUE(copy.getPDIdsOfContainingPDs().empty());
    EXPECT_EQ(copy.getUsedSizePerPD(), 0U);
    EXPECT_EQ(bytesOf(filled.getVDInfoStruct()), vesktest::volumeInfo());

    CVirtualDisk empty;
    EXPECT_EQ(&(filled = empty), &filled);
    filled.copyAttributes(empty);
    filled.logAttributes();
    EXPECT_EQ(bytesOf(filled.getVDInfoStruct()), vesktest::volumeInfo());
    EXPECT_EQ(bytesOf(filled.getVDConfigStruct()), vesktest::volumeConfig());
    EXPECT_EQ(filled.getVDIdForUsedSpacePerPDInVD(), 5);
    EXPECT_EQ(filled.getPDIdsOfContainingPDs(), (Bytes{0, 1}));
    EXPECT_EQ(filled.getUsedSizePerPD(), 500000U);
    EXPECT_EQ(&(empty = filled), &empty);
    empty.copyAttributes(filled);
    EXPECT_EQ(bytesOf(empty.getVDInfoStruct()), Bytes(312, 0));
    EXPECT_TRUE(empty.getPDIdsOfContainingPDs().empty());
}

TEST(VirtualDisk, InformationComesFromTheController) {
    _vdInfoData record = recordOf(vesktest::volumePage());
    CVirtualDisk disk;
    disk.setVDInfoAttributes(&record);
    EXPECT_EQ(bytesOf(disk.getVDInfoStruct()), vesktest::volumeInfo());
    EXPECT_EQ(bytesOf(disk.getVDConfigStruct()), Bytes(24, 0));
    EXPECT_TRUE(disk.getPDIdsOfContainingPDs().empty());
}

TEST(VirtualDisk, ConfigurationShowsCacheModeZero) {
    _vdInfoData record = recordOf(vesktest::volumePage());
    CVirtualDisk disk;
    disk.setVDConfigAttributes(&record);
    EXPECT_EQ(disk.getCacheModeForVDConfig(), 0);
    EXPECT_EQ(disk.getCacheMode(), 1);
    EXPECT_EQ(bytesOf(disk.getVDConfigStruct()), vesktest::volumeConfig());
    Bytes info(312, 0);
    EXPECT_EQ(bytesOf(disk.getVDInfoStruct()), vesktest::put(info, 8, {1}));
}

TEST(VirtualDisk, ConfigurationIsOfConstantsButForStatusIdAndName) {
    _vdInfoData record;
    std::memset(&record, 0xFF, sizeof record);
    CVirtualDisk disk;
    disk.setVDConfigAttributes(&record);
    Bytes expected = {0, 0, 1, 0xFF, 0xFF, 0xFF, 0, 0};
    expected.resize(23, 0xFF);
    expected.push_back(0);
    EXPECT_EQ(bytesOf(disk.getVDConfigStruct()), expected);
}

TEST(VirtualDisk, StatusAndRaidModeArePassedOnAsTheyStand) {
    for (const std::uint8_t value : Bytes{0, 1, 5, 15, 0x80, 0xFF}) {
        SCOPED_TRACE(int{value});
        Bytes page = vesktest::volumePage();
        vesktest::put(page, 10, {value});
        vesktest::put(page, 12, {value, value});
        _vdInfoData record = recordOf(page);
        CVirtualDisk disk;
        disk.setVDInfoAttributes(&record);
        EXPECT_EQ(disk.getStatus(), value);
        EXPECT_EQ(disk.getRaidMode(), value);
        EXPECT_EQ(disk.getHDCount(), value);
        EXPECT_EQ(disk.getCacheMode(), 1);
    }
}

TEST(VirtualDisk, ConstructorsAndAttributesAreTraced) {
    TracedHost host;
    _vdInfoData record = recordOf(vesktest::volumePage());
    CVirtualDisk disk;
    EXPECT_TRUE(host.traced("CVirtualDisk::CVirtualDisk()"));
    host.forgetLines();
    const CVirtualDisk copy(disk);
    EXPECT_TRUE(host.traced("CVirtualDisk::CVirtualDisk()"));
    CVirtualDisk other;
    other = disk;
    EXPECT_TRUE(host.traced("CVirtualDisk::operator=()"));
    disk.setVDInfoAttributes(&record);
    EXPECT_TRUE(host.traced("CVirtualDisk::setVDInfoAttributes()"));
    disk.setVDConfigAttributes(&record);
    EXPECT_TRUE(host.traced("CVirtualDisk::setVDConfigAttributes()"));
    EXPECT_EQ(host.messages(), LogLines{});
    disk.setAttributesForUsedSpacePerPDInVD(&record);
    EXPECT_TRUE(host.traced("CVirtualDisk::setAttributesForUsedSpacePerPDInVD()"));
    EXPECT_TRUE(host.traced("CVirtualDisk::setPDIdsOfContainingPDs()"));
}

TEST(VirtualDisk, AccessorsAreNotTraced) {
    TracedHost host;
    CVirtualDisk disk;
    host.forgetLines();
    disk.setID(1);
    disk.getID();
    disk.setLDId(1);
    disk.getLDId();
    disk.setUsedSizePerPD(1);
    disk.getUsedSizePerPD();
    disk.getVDInfoStruct();
    disk.getVDConfigStruct();
    EXPECT_EQ(host.lines(), LogLines{});
}

}  // namespace
