// The records of a virtual disk: the place of each field, and what they are made of.
#include "disk_records.h"
#include "record_field.h"

#include "disks/vd_info_data.h"
#include "disks/virtual_disk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>

namespace {

using namespace vesktest;

_vdInfoData recordOf(const Bytes& page) {
    _vdInfoData record;
    std::memcpy(&record, page.data(), sizeof record);
    return record;
}

// The two records in the order of the object.
Bytes allRecords(CVirtualDisk& disk) {
    return joined(bytesOf(disk.getVDInfoStruct()), bytesOf(disk.getVDConfigStruct()));
}

constexpr std::size_t kConfig = 312;
constexpr std::size_t kAll = 336;

void expectNoSpace(CVirtualDisk& disk) {
    EXPECT_EQ(disk.getVDIdForUsedSpacePerPDInVD(), 0);
    EXPECT_TRUE(disk.getPDIdsOfContainingPDs().empty());
    EXPECT_EQ(disk.getUsedSizePerPD(), 0U);
}

TEST(VirtualDisk, EachFieldHasItsPlaceAndIsReadAsItWasSet) {
    using D = CVirtualDisk;
    expectFields<D>(
        {
            field("ID", &D::setID, &D::getID, 0xF201, 0, {0x01, 0xF2}),
            field("Status", &D::setStatus, &D::getStatus, 0xC1, 2, {0xC1}),
            field("StripeBlockSize", &D::setStripeBlockSize, &D::getStripeBlockSize, 0xF403, 4,
                  {0x03, 0xF4}),
            field("RaidMode", &D::setRaidMode, &D::getRaidMode, 0xC2, 6, {0xC2}),
            field("HDCount", &D::setHDCount, &D::getHDCount, 0xC3, 7, {0xC3}),
            field("CacheMode", &D::setCacheMode, &D::getCacheMode, 0xC4, 8, {0xC4}),
            field("Size", &D::setSize, &D::getSize, 0xF807060504030201, 24,
                  {1, 2, 3, 4, 5, 6, 7, 0xF8}),
            textField("Name", &D::setName, &D::getName, "0123456789ABCDEF", "0123456789ABCDE", 32,
                      16),
            textField("Name of 15 characters", &D::setName, &D::getName, "0123456789ABCDE",
                      "0123456789ABCDE", 32, 16),
            field("BlockSize", &D::setBlockSize, &D::getBlockSize, 0xF4030201, 308,
                  {1, 2, 3, 0xF4}),
            field("CacheModeForVDConfig", &D::setCacheModeForVDConfig, &D::getCacheModeForVDConfig,
                  0xC5, kConfig, {0xC5}),
            field("HypperWaterMark", &D::setHypperWaterMark, &D::getHypperWaterMark, 0xC6,
                  kConfig + 1, {0xC6}),
            field("AutoRebuildOn", &D::setAutoRebuildOn, &D::getAutoRebuildOn, 0xC7, kConfig + 2,
                  {0xC7}),
            field("StatusForVDConfig", &D::setStatusForVDConfig, &D::getStatusForVDConfig, 0xC8,
                  kConfig + 3, {0xC8}),
            field("LDId", &D::setLDId, &D::getLDId, 0xF201, kConfig + 4, {0x01, 0xF2}),
            field("HyperRebuildMode", &D::setHyperRebuildMode, &D::getHyperRebuildMode, 0xC9,
                  kConfig + 6, {0xC9}),
            textField("NameForVDConfig", &D::setNameForVDConfig, &D::getNameForVDConfig,
                      "0123456789ABCDEF", "0123456789ABCDE", kConfig + 8, 16),
            textField("NameForVDConfig of 15 characters", &D::setNameForVDConfig,
                      &D::getNameForVDConfig, "0123456789ABCDE", "0123456789ABCDE", kConfig + 8,
                      16),
        },
        allRecords);
}

TEST(VirtualDisk, NamesStopAtTheirTerminatorAndAreNotTrimmed) {
    CVirtualDisk disk;
    Bytes before(16, 'x');
    Bytes text = {' ', 'A', ' ', 0, 'B', 'C'};
    for (Bytes* const now : {&before, &text}) {
        disk.setName(now->data());
        disk.setNameForVDConfig(now->data());
    }
    EXPECT_EQ(allRecords(disk),
              with(with(Bytes(kAll, 0), 32, {' ', 'A', ' '}), kConfig + 8, {' ', 'A', ' '}));
}

TEST(VirtualDisk, IsClearWhateverMemoryHeldAndHasItsRecordsInOrder) {
    alignas(CVirtualDisk) static std::uint8_t s_memory[sizeof(CVirtualDisk)];
    std::memset(s_memory, 0xEE, sizeof s_memory);
    auto* const disk = new (s_memory) CVirtualDisk;
    EXPECT_EQ(allRecords(*disk), Bytes(kAll, 0));
    expectNoSpace(*disk);
    EXPECT_EQ(static_cast<void*>(disk->getVDInfoStruct()), static_cast<void*>(disk));
    const void* const places[] = {disk, disk->getVDConfigStruct()};
    EXPECT_TRUE(std::is_sorted(std::begin(places), std::end(places)));
    disk->~CVirtualDisk();
}

TEST(VirtualDisk, CopyIsClearedAndAssignmentChangesNothing) {
    CVirtualDisk filled;
    _vdInfoData record = recordOf(volumePage());
    filled.setVDInfoAttributes(&record);
    filled.setVDConfigAttributes(&record);
    filled.setAttributesForUsedSpacePerPDInVD(&record);
    const Bytes before = allRecords(filled);
    CVirtualDisk copy(filled);
    EXPECT_EQ(allRecords(copy), Bytes(kAll, 0));
    expectNoSpace(copy);
    CVirtualDisk empty;
    EXPECT_EQ(&(filled = empty), &filled);
    filled.copyAttributes(empty);
    filled.logAttributes();
    EXPECT_EQ(allRecords(filled), before);
    EXPECT_EQ(filled.getVDIdForUsedSpacePerPDInVD(), 5);
    EXPECT_EQ(filled.getPDIdsOfContainingPDs(), (Bytes{0, 1}));
    EXPECT_EQ(filled.getUsedSizePerPD(), 500000U);
    EXPECT_EQ(&(empty = filled), &empty);
    empty.copyAttributes(filled);
    EXPECT_EQ(allRecords(empty), Bytes(kAll, 0));
    expectNoSpace(empty);
}

TEST(VirtualDisk, InformationComesFromTheController) {
    _vdInfoData record = recordOf(volumePage());
    CVirtualDisk disk;
    disk.setVDInfoAttributes(&record);
    EXPECT_EQ(allRecords(disk), joined(volumeInfo(), Bytes(24, 0)));
    expectNoSpace(disk);
}

TEST(VirtualDisk, ConfigurationShowsCacheModeZero) {
    _vdInfoData record = recordOf(volumePage());
    CVirtualDisk disk;
    disk.setVDConfigAttributes(&record);
    EXPECT_EQ(disk.getCacheModeForVDConfig(), 0);
    EXPECT_EQ(disk.getCacheMode(), 1);
    EXPECT_EQ(allRecords(disk), joined(with(Bytes(312, 0), 8, {1}), volumeConfig()));
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
        Bytes page = volumePage();
        put(page, 10, {value});
        put(page, 12, {value, value});
        _vdInfoData record = recordOf(page);
        CVirtualDisk disk;
        disk.setVDInfoAttributes(&record);
        EXPECT_EQ(disk.getStatus(), value);
        EXPECT_EQ(disk.getRaidMode(), value);
        EXPECT_EQ(disk.getHDCount(), value);
        EXPECT_EQ(disk.getCacheMode(), 1);
    }
}

}  // namespace
