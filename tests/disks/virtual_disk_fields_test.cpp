// The fields of a virtual disk's records: where each setter writes, what each getter reads.
#include "disk_records.h"

#include "disks/virtual_disk.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <type_traits>

namespace {

using vesktest::Bytes;
using vesktest::bytesOf;

static_assert(!std::is_polymorphic_v<CVirtualDisk>);

Bytes allRecords(CVirtualDisk& disk) {
    return vesktest::joined(bytesOf(disk.getVDInfoStruct()), bytesOf(disk.getVDConfigStruct()));
}

constexpr std::size_t kConfig = 312;
constexpr std::size_t kAll = 336;

// A text in a place of its own size, as the wire has it: no NUL behind it.
unsigned char* unterminated(const char* text) {
    static Bytes s_text;
    const std::string value = text;
    s_text.assign(value.begin(), value.end());
    s_text.shrink_to_fit();
    return s_text.data();
}

Bytes padded(const std::string& text) {
    Bytes bytes(16, 0);
    return vesktest::putText(bytes, 0, text);
}

struct Field {
    const char* name;
    std::function<void(CVirtualDisk&)> set;
    std::function<bool(CVirtualDisk&)> reads;
    std::size_t offset;
    Bytes bytes;
};

void PrintTo(const Field& field, std::ostream* stream) {
    *stream << field.name;
}

class VirtualDiskField : public ::testing::TestWithParam<Field> {};

TEST_P(VirtualDiskField, IsWrittenWhereItBelongsAndNowhereElse) {
    CVirtualDisk disk;
    GetParam().set(disk);
    Bytes expected(kAll, 0);
    EXPECT_EQ(allRecords(disk), vesktest::put(expected, GetParam().offset, GetParam().bytes));
}

TEST_P(VirtualDiskField, IsReadAsItWasSet) {
    CVirtualDisk disk;
    EXPECT_FALSE(GetParam().reads(disk));
    GetParam().set(disk);
    EXPECT_TRUE(GetParam().reads(disk));
}

using D = CVirtualDisk;

INSTANTIATE_TEST_SUITE_P(
    Info, VirtualDiskField,
    ::testing::Values(Field{"ID",
                            [](D& d) { d.setID(0xF201); },
                            [](D& d) { return d.getID() == 0xF201; },
                            0,
                            {0x01, 0xF2}},
                      Field{"Status",
                            [](D& d) { d.setStatus(0xC1); },
                            [](D& d) { return d.getStatus() == 0xC1; },
                            2,
                            {0xC1}},
                      Field{"StripeBlockSize",
                            [](D& d) { d.setStripeBlockSize(0xF403); },
                            [](D& d) { return d.getStripeBlockSize() == 0xF403; },
                            4,
                            {0x03, 0xF4}},
                      Field{"RaidMode",
                            [](D& d) { d.setRaidMode(0xC2); },
                            [](D& d) { return d.getRaidMode() == 0xC2; },
                            6,
                            {0xC2}},
                      Field{"HDCount",
                            [](D& d) { d.setHDCount(0xC3); },
                            [](D& d) { return d.getHDCount() == 0xC3; },
                            7,
                            {0xC3}},
                      Field{"CacheMode",
                            [](D& d) { d.setCacheMode(0xC4); },
                            [](D& d) { return d.getCacheMode() == 0xC4; },
                            8,
                            {0xC4}},
                      Field{"Size",
                            [](D& d) { d.setSize(0xF807060504030201); },
                            [](D& d) { return d.getSize() == 0xF807060504030201; },
                            24,
                            {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0xF8}},
                      Field{"Name", [](D& d) { d.setName(unterminated("0123456789ABCDEF")); },
                            [](D& d) { return std::string(d.getName()) == "0123456789ABCDE"; }, 32,
                            padded("0123456789ABCDE")},
                      Field{"BlockSize",
                            [](D& d) { d.setBlockSize(0xF4030201); },
                            [](D& d) { return d.getBlockSize() == 0xF4030201; },
                            308,
                            {0x01, 0x02, 0x03, 0xF4}}),
    [](const ::testing::TestParamInfo<Field>& param) { return std::string(param.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Config, VirtualDiskField,
    ::testing::Values(
        Field{"CacheMode",
              [](D& d) { d.setCacheModeForVDConfig(0xC5); },
              [](D& d) { return d.getCacheModeForVDConfig() == 0xC5; },
              kConfig,
              {0xC5}},
        Field{"HypperWaterMark",
              [](D& d) { d.setHypperWaterMark(0xC6); },
              [](D& d) { return d.getHypperWaterMark() == 0xC6; },
              kConfig + 1,
              {0xC6}},
        Field{"AutoRebuildOn",
              [](D& d) { d.setAutoRebuildOn(0xC7); },
              [](D& d) { return d.getAutoRebuildOn() == 0xC7; },
              kConfig + 2,
              {0xC7}},
        Field{"Status",
              [](D& d) { d.setStatusForVDConfig(0xC8); },
              [](D& d) { return d.getStatusForVDConfig() == 0xC8; },
              kConfig + 3,
              {0xC8}},
        Field{"LDId",
              [](D& d) { d.setLDId(0xF201); },
              [](D& d) { return d.getLDId() == 0xF201; },
              kConfig + 4,
              {0x01, 0xF2}},
        Field{"HyperRebuildMode",
              [](D& d) { d.setHyperRebuildMode(0xC9); },
              [](D& d) { return d.getHyperRebuildMode() == 0xC9; },
              kConfig + 6,
              {0xC9}},
        Field{"Name", [](D& d) { d.setNameForVDConfig(unterminated("0123456789ABCDEF")); },
              [](D& d) { return std::string(d.getNameForVDConfig()) == "0123456789ABCDE"; },
              kConfig + 8, padded("0123456789ABCDE")}),
    [](const ::testing::TestParamInfo<Field>& param) { return std::string(param.param.name); });

TEST(VirtualDisk, NamesStopAtTheirTerminatorAndAreNotTrimmed) {
    CVirtualDisk disk;
    disk.setName(unterminated("0123456789ABCDEF"));
    disk.setNameForVDConfig(unterminated("0123456789ABCDEF"));
    Bytes text = {' ', 'A', ' ', 0, 'B', 'C'};
    text.shrink_to_fit();
    disk.setName(text.data());
    disk.setNameForVDConfig(text.data());
    const Bytes info = bytesOf(disk.getVDInfoStruct());
    const Bytes config = bytesOf(disk.getVDConfigStruct());
    EXPECT_EQ(Bytes(info.begin() + 32, info.begin() + 48), padded(" A "));
    EXPECT_EQ(Bytes(config.begin() + 8, config.end()), padded(" A "));
}

TEST(VirtualDisk, NameOf15CharactersNeedsNoTerminator) {
    CVirtualDisk disk;
    disk.setName(unterminated("0123456789ABCDE"));
    EXPECT_STREQ(disk.getName(), "0123456789ABCDE");
    disk.setNameForVDConfig(unterminated("0123456789ABCDE"));
    EXPECT_STREQ(disk.getNameForVDConfig(), "0123456789ABCDE");
}

}  // namespace
