// The fields of a physical disk's records: where each setter writes, what each getter reads.
#include "disk_records.h"

#include "disks/physical_disk.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <type_traits>

namespace {

using vesktest::Bytes;
using vesktest::bytesOf;

static_assert(!std::is_polymorphic_v<CPhysicalDisk>);

// The five records in the order of the object.
Bytes allRecords(CPhysicalDisk& disk) {
    Bytes bytes = bytesOf(disk.getPDInfoStruct());
    bytes = vesktest::joined(bytes, bytesOf(disk.getPDRaidStatusStruct()));
    bytes = vesktest::joined(bytes, bytesOf(disk.getPDSmartInfoStruct()));
    bytes = vesktest::joined(bytes, bytesOf(disk.getPDConfigStruct()));
    return vesktest::joined(bytes, bytesOf(disk.getFreeSpaceStruct()));
}

constexpr std::size_t kRaidStatus = 248;
constexpr std::size_t kSmart = 256;
constexpr std::size_t kConfig = 2660;
constexpr std::size_t kFreeSpace = 2668;
constexpr std::size_t kAll = 2684;

// A text in a place of its own size, as the wire has it: no NUL behind it.
unsigned char* unterminated(const char* text) {
    static Bytes s_text;
    const std::string value = text;
    s_text.assign(value.begin(), value.end());
    s_text.shrink_to_fit();
    return s_text.data();
}

Bytes padded(const std::string& text, std::size_t size) {
    Bytes bytes(size, 0);
    return vesktest::putText(bytes, 0, text);
}

struct Field {
    const char* name;
    std::function<void(CPhysicalDisk&)> set;
    std::function<bool(CPhysicalDisk&)> reads;
    std::size_t offset;
    Bytes bytes;
};

void PrintTo(const Field& field, std::ostream* stream) {
    *stream << field.name;
}

class PhysicalDiskField : public ::testing::TestWithParam<Field> {};

TEST_P(PhysicalDiskField, IsWrittenWhereItBelongsAndNowhereElse) {
    CPhysicalDisk disk;
    GetParam().set(disk);
    Bytes expected(kAll, 0);
    EXPECT_EQ(allRecords(disk), vesktest::put(expected, GetParam().offset, GetParam().bytes));
}

TEST_P(PhysicalDiskField, IsReadAsItWasSet) {
    CPhysicalDisk disk;
    EXPECT_FALSE(GetParam().reads(disk));
    GetParam().set(disk);
    EXPECT_TRUE(GetParam().reads(disk));
}

using D = CPhysicalDisk;

INSTANTIATE_TEST_SUITE_P(
    Info, PhysicalDiskField,
    ::testing::Values(
        Field{"DevID",
              [](D& d) { d.setDevID(0xF00FE1D2); },
              [](D& d) { return d.getDevID() == 0xE1D2; },
              36,
              {0xD2, 0xE1}},
        Field{"SASAddress",
              [](D& d) { d.setSASAddress(); },
              [](D& d) { return std::string(d.getSASAddress()) == "0xfffff"; },
              48,
              {'0', 'x', 'f', 'f', 'f', 'f', 'f'}},
        Field{"HDType",
              [](D& d) { d.setHDType(0xC1); },
              [](D& d) { return d.getHDType() == 0xC1; },
              66,
              {0xC1}},
        Field{"FeatureSupport",
              [](D& d) { d.setFeatureSupport(0xF4030201); },
              [](D& d) { return d.getFeatureSupport() == 0xF4030201; },
              72,
              {0x01, 0x02, 0x03, 0xF4}},
        Field{"ModelNum",
              [](D& d) { d.setModelNum(unterminated("0123456789012345678901234567890123456789")); },
              [](D& d) {
                  return std::string(d.getModelNum()) == "012345678901234567890123456789012345678";
              },
              76, padded("012345678901234567890123456789012345678", 40)},
        Field{"SerialNumber", [](D& d) { d.setSerialNumber(unterminated("01234567890123456789")); },
              [](D& d) { return std::string(d.getSerialNumber()) == "0123456789012345678"; }, 116,
              padded("0123456789012345678", 20)},
        Field{"FWVersion", [](D& d) { d.setFWVersion(unterminated("01234567")); },
              [](D& d) { return std::string(d.getFWVersion()) == "0123456"; }, 136,
              padded("0123456", 8)},
        Field{"Size",
              [](D& d) { d.setSize(0xF807060504030201); },
              [](D& d) { return d.getSize() == 0xF807060504030201; },
              144,
              {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0xF8}},
        Field{"BlockSize",
              [](D& d) { d.setBlockSize(0xF4030201); },
              [](D& d) { return d.getBlockSize() == 0xF4030201; },
              164,
              {0x01, 0x02, 0x03, 0xF4}},
        Field{"HD_SSD_Type",
              [](D& d) { d.setHD_SSD_Type(0xC2); },
              [](D& d) { return d.getHD_SSD_Type() == 0xC2; },
              184,
              {0xC2}}),
    [](const ::testing::TestParamInfo<Field>& param) { return std::string(param.param.name); });

INSTANTIATE_TEST_SUITE_P(
    RaidStatus, PhysicalDiskField,
    ::testing::Values(Field{"HDId",
                            [](D& d) { d.setHDIdForRaidStatus(0xF201); },
                            [](D& d) { return d.getHDIdForRaidStatus() == 0xF201; },
                            kRaidStatus,
                            {0x01, 0xF2}},
                      Field{"Status",
                            [](D& d) { d.setRaidStatus(0xC3); },
                            [](D& d) { return d.getRaidStatus() == 0xC3; },
                            kRaidStatus + 4,
                            {0xC3}}),
    [](const ::testing::TestParamInfo<Field>& param) { return std::string(param.param.name); });

INSTANTIATE_TEST_SUITE_P(Config, PhysicalDiskField,
                         ::testing::Values(Field{"WriteCacheOn",
                                                 [](D& d) { d.setWriteCacheOn(0xC4); },
                                                 [](D& d) { return d.getWriteCacheOn() == 0xC4; },
                                                 kConfig,
                                                 {0xC4}},
                                           Field{"SmartOn",
                                                 [](D& d) { d.setSmartOn(0xC5); },
                                                 [](D& d) { return d.getSmartOn() == 0xC5; },
                                                 kConfig + 1,
                                                 {0xC5}},
                                           Field{"Online",
                                                 [](D& d) { d.setOnline(0xC6); },
                                                 [](D& d) { return d.getOnline() == 0xC6; },
                                                 kConfig + 2,
                                                 {0xC6}},
                                           Field{"DriveSpeed",
                                                 [](D& d) { d.setDriveSpeed(0xC7); },
                                                 [](D& d) { return d.getDriveSpeed() == 0xC7; },
                                                 kConfig + 3,
                                                 {0xC7}},
                                           Field{"Crypto",
                                                 [](D& d) { d.setCrypto(0xC8); },
                                                 [](D& d) { return d.getCrypto() == 0xC8; },
                                                 kConfig + 4,
                                                 {0xC8}},
                                           Field{"AESPercentage",
                                                 [](D& d) { d.setAESPercentage(0xC9); },
                                                 [](D& d) { return d.getAESPercentage() == 0xC9; },
                                                 kConfig + 5,
                                                 {0xC9}},
                                           Field{"HDId",
                                                 [](D& d) { d.setHDId(0xF201); },
                                                 [](D& d) { return d.getHDId() == 0xF201; },
                                                 kConfig + 6,
                                                 {0x01, 0xF2}}),
                         [](const ::testing::TestParamInfo<Field>& param) {
                             return std::string(param.param.name);
                         });

INSTANTIATE_TEST_SUITE_P(
    FreeSpace, PhysicalDiskField,
    ::testing::Values(Field{"Id",
                            [](D& d) { d.setIdForFreeSpace(0xF201); },
                            [](D& d) { return d.getIdForFreeSpace() == 0xF201; },
                            kFreeSpace,
                            {0x01, 0xF2}},
                      Field{"BlockSize",
                            [](D& d) { d.setBlockSizeForFreeSpace(0xF403); },
                            [](D& d) { return d.getBlockSizeForFreeSpace() == 0xF403; },
                            kFreeSpace + 4,
                            {0x03, 0xF4}},
                      Field{"Size",
                            [](D& d) { d.setSizeForFreeSpace(0xF807060504030201); },
                            [](D& d) { return d.getSizeForFreeSpace() == 0xF807060504030201; },
                            kFreeSpace + 8,
                            {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0xF8}}),
    [](const ::testing::TestParamInfo<Field>& param) { return std::string(param.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Smart, PhysicalDiskField,
    ::testing::Values(Field{"Status",
                            [](D& d) { d.setSmartStatus(0xCA); },
                            [](D& d) { return d.getSmartStatus() == 0xCA; },
                            kSmart,
                            {0xCA}},
                      Field{"IdOfRow29",
                            [](D& d) { d.setSmartAttributeId(29); },
                            [](D& d) { return d.getSmartAttributeId(29) == 29; },
                            kSmart + 2324,
                            {29}},
                      Field{"NameOfRow1",
                            [](D& d) {
                                Bytes name(64, 'n');
                                d.setSmartAttributeName(1, name.data());
                            },
                            [](D& d) {
                                return std::string(d.getSmartAttributeName(1)) ==
                                       std::string(64, 'n');
                            },
                            kSmart + 85, Bytes(64, 'n')},
                      Field{"CurrentValueOfRow2",
                            [](D& d) { d.setSmartAttributeCurrentValue(2, 0xCB); },
                            [](D& d) { return d.getSmartAttributeCurrentValue(2) == 0xCB; },
                            kSmart + 231,
                            {0xCB}},
                      Field{"ThresholdValueOfRow29",
                            [](D& d) { d.setSmartAttributeThresholdValue(29, 0xCC); },
                            [](D& d) { return d.getSmartAttributeThresholdValue(29) == 0xCC; },
                            kSmart + 2399,
                            {0xCC}}),
    [](const ::testing::TestParamInfo<Field>& param) { return std::string(param.param.name); });

TEST(PhysicalDisk, SmartNameIsABlockOf64BytesAndATerminator) {
    CPhysicalDisk disk;
    disk.getPDSmartInfoStruct()->attributes[3].nameEnd = 0xEE;
    Bytes name = vesktest::noise(64, 42);
    name[5] = 0;
    disk.setSmartAttributeName(3, name.data());
    const Bytes record = bytesOf(disk.getPDSmartInfoStruct());
    EXPECT_EQ(Bytes(record.begin() + 245, record.begin() + 309), name);
    EXPECT_EQ(record[309], 0);
}

TEST(PhysicalDisk, TextsStopAtTheirTerminatorAndAreNotTrimmed) {
    CPhysicalDisk disk;
    disk.setModelNum(unterminated("0123456789012345678901234567890123456789"));
    disk.setSerialNumber(unterminated("01234567890123456789"));
    disk.setFWVersion(unterminated("01234567"));
    Bytes text = {' ', 'A', ' ', 0, 'B', 'C'};
    disk.setModelNum(text.data());
    disk.setSerialNumber(text.data());
    disk.setFWVersion(text.data());
    const Bytes record = bytesOf(disk.getPDInfoStruct());
    EXPECT_EQ(
        Bytes(record.begin() + 76, record.begin() + 144),
        vesktest::joined(padded(" A ", 40), vesktest::joined(padded(" A ", 20), padded(" A ", 8))));
}

}  // namespace
