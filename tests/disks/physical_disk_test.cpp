// The records of a physical disk: the place of each field, and what they are made of.
#include "disk_records.h"
#include "record_field.h"

#include "disks/pd_info_data.h"
#include "disks/physical_disk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>
#include <string>

namespace {

using namespace vesktest;

// The record at the start of a page.
_PDInfoData recordOf(const Bytes& page) {
    _PDInfoData record;
    std::memcpy(&record, page.data(), sizeof record);
    return record;
}

// The five records in the order of the object.
Bytes allRecords(CPhysicalDisk& disk) {
    Bytes bytes = bytesOf(disk.getPDInfoStruct());
    bytes = joined(bytes, bytesOf(disk.getPDRaidStatusStruct()));
    bytes = joined(bytes, bytesOf(disk.getPDSmartInfoStruct()));
    bytes = joined(bytes, bytesOf(disk.getPDConfigStruct()));
    return joined(bytes, bytesOf(disk.getFreeSpaceStruct()));
}

constexpr std::size_t kRaidStatus = 248;
constexpr std::size_t kSmart = 256;
constexpr std::size_t kConfig = 2660;
constexpr std::size_t kFreeSpace = 2668;
constexpr std::size_t kAll = 2684;

TEST(PhysicalDisk, EachFieldHasItsPlaceAndIsReadAsItWasSet) {
    using D = CPhysicalDisk;
    expectFields<D>(
        {
            field("DevID", &D::setDevID, &D::getDevID, 0xE1D2, 36, {0xD2, 0xE1}),
            field("HDType", &D::setHDType, &D::getHDType, 0xC1, 66, {0xC1}),
            field("FeatureSupport", &D::setFeatureSupport, &D::getFeatureSupport, 0xF4030201, 72,
                  {1, 2, 3, 0xF4}),
            textField("ModelNum", &D::setModelNum, &D::getModelNum,
                      "0123456789012345678901234567890123456789",
                      "012345678901234567890123456789012345678", 76, 40),
            textField("SerialNumber", &D::setSerialNumber, &D::getSerialNumber,
                      "01234567890123456789", "0123456789012345678", 116, 20),
            textField("FWVersion", &D::setFWVersion, &D::getFWVersion, "01234567", "0123456", 136,
                      8),
            field("Size", &D::setSize, &D::getSize, 0xF807060504030201, 144,
                  {1, 2, 3, 4, 5, 6, 7, 0xF8}),
            field("BlockSize", &D::setBlockSize, &D::getBlockSize, 0xF4030201, 164,
                  {1, 2, 3, 0xF4}),
            field("HD_SSD_Type", &D::setHD_SSD_Type, &D::getHD_SSD_Type, 0xC2, 184, {0xC2}),
            field("HDIdForRaidStatus", &D::setHDIdForRaidStatus, &D::getHDIdForRaidStatus, 0xF201,
                  kRaidStatus, {1, 0xF2}),
            field("RaidStatus", &D::setRaidStatus, &D::getRaidStatus, 0xC3, kRaidStatus + 4,
                  {0xC3}),
            field("SmartStatus", &D::setSmartStatus, &D::getSmartStatus, 0xCA, kSmart, {0xCA}),
            field("WriteCacheOn", &D::setWriteCacheOn, &D::getWriteCacheOn, 0xC4, kConfig, {0xC4}),
            field("SmartOn", &D::setSmartOn, &D::getSmartOn, 0xC5, kConfig + 1, {0xC5}),
            field("Online", &D::setOnline, &D::getOnline, 0xC6, kConfig + 2, {0xC6}),
            field("DriveSpeed", &D::setDriveSpeed, &D::getDriveSpeed, 0xC7, kConfig + 3, {0xC7}),
            field("Crypto", &D::setCrypto, &D::getCrypto, 0xC8, kConfig + 4, {0xC8}),
            field("AESPercentage", &D::setAESPercentage, &D::getAESPercentage, 0xC9, kConfig + 5,
                  {0xC9}),
            field("HDId", &D::setHDId, &D::getHDId, 0xF201, kConfig + 6, {1, 0xF2}),
            field("IdForFreeSpace", &D::setIdForFreeSpace, &D::getIdForFreeSpace, 0xF201,
                  kFreeSpace, {1, 0xF2}),
            field("BlockSizeForFreeSpace", &D::setBlockSizeForFreeSpace,
                  &D::getBlockSizeForFreeSpace, 0xF403, kFreeSpace + 4, {3, 0xF4}),
            field("SizeForFreeSpace", &D::setSizeForFreeSpace, &D::getSizeForFreeSpace,
                  0xF807060504030201, kFreeSpace + 8, {1, 2, 3, 4, 5, 6, 7, 0xF8}),
        },
        allRecords);
}

TEST(PhysicalDisk, DeviceIdKeepsItsLowHalf) {
    CPhysicalDisk disk;
    disk.setDevID(0xF00FE1D2);
    EXPECT_EQ(disk.getDevID(), 0xE1D2U);
    EXPECT_EQ(allRecords(disk), with(Bytes(kAll, 0), 36, {0xD2, 0xE1}));
}

TEST(PhysicalDisk, SasAddressIsAConstantOfSevenCharacters) {
    CPhysicalDisk disk;
    disk.setSASAddress();
    EXPECT_STREQ(disk.getSASAddress(), "0xfffff");
    EXPECT_EQ(allRecords(disk), with(Bytes(kAll, 0), 48, {'0', 'x', 'f', 'f', 'f', 'f', 'f'}));
    disk.getSASAddress()[7] = 'z';
    disk.setSASAddress();
    EXPECT_STREQ(disk.getSASAddress(), "0xfffffz");
}

TEST(PhysicalDisk, SmartRowsHaveAnIdANameAndTwoValues) {
    CPhysicalDisk disk;
    disk.setSmartAttributeId(29);
    disk.setSmartAttributeCurrentValue(2, 0xCB);
    disk.setSmartAttributeThresholdValue(29, 0xCC);
    Bytes expected(kAll, 0);
    put(expected, kSmart + 2324, {29});
    put(expected, kSmart + 231, {0xCB});
    put(expected, kSmart + 2399, {0xCC});
    EXPECT_EQ(allRecords(disk), expected);
    EXPECT_EQ(disk.getSmartAttributeId(29), 29);
    EXPECT_EQ(disk.getSmartAttributeCurrentValue(2), 0xCB);
    EXPECT_EQ(disk.getSmartAttributeThresholdValue(29), 0xCC);
}

TEST(PhysicalDisk, SmartNameIsABlockOf64BytesAndATerminator) {
    CPhysicalDisk disk;
    disk.getPDSmartInfoStruct()->attributes[3].nameEnd = 0xEE;
    Bytes name = noise(64, 42);
    name[5] = 0;
    disk.setSmartAttributeName(3, name.data());
    EXPECT_EQ(allRecords(disk), with(Bytes(kAll, 0), kSmart + 245, name));
    name[5] = 1;
    disk.setSmartAttributeName(3, name.data());
    EXPECT_EQ(std::string(disk.getSmartAttributeName(3)), std::string(name.begin(), name.end()));
}

TEST(PhysicalDisk, TextsStopAtTheirTerminatorAndAreNotTrimmed) {
    CPhysicalDisk disk;
    Bytes before(40, 'x');
    Bytes text = {' ', 'A', ' ', 0, 'B', 'C'};
    for (Bytes* const now : {&before, &text}) {
        disk.setModelNum(now->data());
        disk.setSerialNumber(now->data());
        disk.setFWVersion(now->data());
    }
    Bytes expected(kAll, 0);
    put(expected, 76, {' ', 'A', ' '});
    put(expected, 116, {' ', 'A', ' '});
    put(expected, 136, {' ', 'A', ' '});
    EXPECT_EQ(allRecords(disk), expected);
}

TEST(PhysicalDisk, IsClearWhateverMemoryHeldAndHasItsRecordsInOrder) {
    alignas(CPhysicalDisk) static std::uint8_t s_memory[sizeof(CPhysicalDisk)];
    std::memset(s_memory, 0xEE, sizeof s_memory);
    auto* const disk = new (s_memory) CPhysicalDisk;
    EXPECT_EQ(allRecords(*disk), Bytes(kAll, 0));
    EXPECT_EQ(static_cast<void*>(disk->getPDInfoStruct()), static_cast<void*>(disk));
    const void* const places[] = {disk, disk->getPDRaidStatusStruct(), disk->getPDSmartInfoStruct(),
                                  disk->getPDConfigStruct(), disk->getFreeSpaceStruct()};
    EXPECT_TRUE(std::is_sorted(std::begin(places), std::end(places)));
}

TEST(PhysicalDisk, CopyIsClearedAndAssignmentChangesNothing) {
    CPhysicalDisk filled;
    _PDInfoData record = recordOf(diskPage());
    filled.setPDInfoAttributes(&record);
    filled.setPDConfigAttributes(&record);
    filled.setRaidStatusAttributes(&record);
    filled.setFreeSpaceAttributes(&record);
    filled.setSmartStatus(1);
    const Bytes before = allRecords(filled);
    CPhysicalDisk copy(filled);
    EXPECT_EQ(allRecords(copy), Bytes(kAll, 0));
    CPhysicalDisk empty;
    EXPECT_EQ(&(filled = empty), &filled);
    EXPECT_EQ(allRecords(filled), before);
    EXPECT_EQ(&(empty = filled), &empty);
    EXPECT_EQ(allRecords(empty), Bytes(kAll, 0));
}

TEST(PhysicalDisk, EachSetterFillsOneRecord) {
    using D = CPhysicalDisk;
    struct Setter {
        VOID_ (D::*fill)(_PDInfoData*);
        std::size_t offset;
        Bytes bytes;
    };
    const Setter setters[] = {
        {&D::setPDInfoAttributes, 0, diskInfo()},
        {&D::setRaidStatusAttributes, kRaidStatus, {0x78, 0x56, 0, 0, 0x20, 0, 0, 0}},
        {&D::setPDConfigAttributes, kConfig, diskConfig()},
        {&D::setFreeSpaceAttributes,
         kFreeSpace,
         {0x34, 0x12, 0, 0, 0, 2, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8}},
    };
    for (const Setter& now : setters) {
        SCOPED_TRACE(now.offset);
        _PDInfoData record = recordOf(diskPage());
        CPhysicalDisk disk;
        (disk.*now.fill)(&record);
        EXPECT_EQ(allRecords(disk), with(Bytes(kAll, 0), now.offset, now.bytes));
    }
}

TEST(PhysicalDisk, RecordsCarryTwoDifferentIds) {
    _PDInfoData record = recordOf(diskPage());
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
    Bytes page = diskPage();
    put(page, 80, {0x00, 0x00, 0x01, 0x00});
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
        _PDInfoData record = recordOf(with(diskPage(), 10, {status}));
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

}  // namespace
