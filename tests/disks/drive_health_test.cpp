// The health of a physical disk.
#include "disk_rig.h"

#include "disks/pd_info_data.h"
#include "disks/physical_disk_builder.h"
#include "disks/smart_log_entry.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using vesktest::Bytes;
using vesktest::bytesOf;
using vesktest::DiskRig;
using vesktest::LogLines;
using vesktest::noise;
using vesktest::with;

constexpr const char* kPageLine =
    "libVeskNvme: CPhysicalDiskBuilder::getSmartAttributesForOnePD(): PD details: ";
constexpr const char* kCallLine = "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO: ";

UCHAR_ askHealth(UCHAR_ pdId, Bytes& bytes) {
    void* const record = bytes.data();
    return ZT_PD_GET_SMART_INFO(0, pdId, 0, static_cast<PSMART_INFO_ARRAY>(record));
}

TEST(CommandHandler, HealthClosesWithItsOpeningLine) {
    DiskRig rig;
    rig.expectDisk("01", vesktest::secondDiskPage());
    rig.expectHealth("01", vesktest::healthPage());
    Bytes record = noise(2404, 51);
    EXPECT_EQ(askHealth(1, record), 0);
    const std::string call = kCallLine;
    EXPECT_EQ(
        rig.messages(),
        (LogLines{
            "libVeskNVMe SUCESS: ERR_NONE ",
            "libVeskNvme: CommandHandler::navigator(): Start of PD_GET_SMART_INFO case",
            "libVeskNvme: CPhysicalDiskBuilder::buidInfo(): Start of PD_GET_SMART_INFO case",
            "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): PD details: ID: 1",
            "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): Model Number: Disk B  ",
            "CPDPTLogBuilder: CDW10 = 8323074",
            "libVeskNvme: CPhysicalDiskBuilder::getSmartAttributesForOnePD(): PD details: "
            "AvailableSpare: 100, AvailableSpareThreshold: 10, Temperature: 27 RRWE: 3",
            "PercentageUsed= 3", "AvailableSpare= 100", "AvailableSpareThreshold= 10",
            "libVeskNvme: CPhysicalDiskBuilder::buidInfo(): Start of PD_GET_SMART_INFO case",
            "libVeskNvme: CPhysicalDiskBuilder::getSpecificObject(): Start of PD_GET_SMART_INFO "
            "case",
            "libVeskNvme: CPhysicalDiskBuilder::getSpecificObject(): End of PD_GET_SMART_INFO case",
            "libVeskNvme: CommandHandler::navigator(): Start of PD_GET_SMART_INFO case",
            call + "AttributeName: Percent Drive Life Remaining", call + "CurrentValue: 3",
            call + "AttributeName: Available Spare", call + "CurrentValue: 100",
            call + "ThresholdValue: 10"}));
}

TEST(DriveHealth, IsDeliveredToTheByte) {
    DiskRig rig;
    rig.expectDisk("00", vesktest::diskPage());
    rig.expectHealth("00", vesktest::healthPage());
    Bytes record = noise(2404, 52);
    EXPECT_EQ(askHealth(0, record), 0);
    EXPECT_EQ(record, vesktest::healthRecord());
}

TEST(DriveHealth, LifeRemainingCarriesThePercentageUsed) {
    for (const std::uint8_t used : Bytes{0, 3, 99, 100, 101, 255}) {
        SCOPED_TRACE(int{used});
        DiskRig rig;
        rig.expectDisk("00", vesktest::diskPage());
        rig.expectHealth("00", with(vesktest::healthPage(), 5, {used}));
        Bytes record = noise(2404, 53);
        EXPECT_EQ(askHealth(0, record), 0);
        EXPECT_EQ(record, with(vesktest::healthRecord(), 71, {used}));
        EXPECT_TRUE(vesktest::contains(rig.messages(), "PercentageUsed= " + std::to_string(used)));
    }
}

TEST(DriveHealth, StatusIsBitFiveOfTheDiskAndNotTheCriticalWarning) {
    struct Case {
        std::uint8_t pdStatus;
        std::uint8_t criticalWarning;
        std::uint8_t expected;
    };
    for (const Case& now : {Case{0x21, 0x00, 0x01}, Case{0x01, 0xFF, 0x4F}, Case{0x20, 0x00, 0x01},
                            Case{0xDF, 0x01, 0x4F}, Case{0xFF, 0x00, 0x01}, Case{0, 0, 0x4F}}) {
        SCOPED_TRACE(int{now.pdStatus});
        DiskRig rig;
        rig.expectDisk("00", with(vesktest::diskPage(), 10, {now.pdStatus}));
        rig.expectHealth("00", with(vesktest::healthPage(), 0, {now.criticalWarning}));
        Bytes record = noise(2404, 54);
        EXPECT_EQ(askHealth(0, record), 0);
        EXPECT_EQ(record, with(vesktest::healthRecord(), 0, {now.expected}));
    }
}

TEST(DriveHealth, AbsentDiskLeavesTheRecordAfterTwoCommands) {
    DiskRig rig;
    rig.expectDisk("07", vesktest::absentPage());
    rig.expectHealth("07", vesktest::healthPage());
    Bytes record = noise(2404, 55);
    vesktest::putText(record, 5, std::string("Old name\0", 9));
    vesktest::putText(record, 85, std::string("Old spare\0", 10));
    vesktest::put(record, 71, {0x81});
    vesktest::put(record, 151, {0x82});
    vesktest::put(record, 159, {0x83});
    const Bytes before = record;
    EXPECT_EQ(askHealth(7, record), 0);
    EXPECT_EQ(record, before);
    EXPECT_EQ(rig.driver.callCount(), 2U);
    const std::string call = kCallLine;
    EXPECT_TRUE(vesktest::inOrder(
        rig.messages(), {std::string(kPageLine) + "AvailableSpare: 100, AvailableSpareThreshold: "
                                                  "10, Temperature: 27 RRWE: 3",
                         call + "AttributeName: Old name", call + "CurrentValue: 129",
                         call + "AttributeName: Old spare", call + "CurrentValue: 130",
                         call + "ThresholdValue: 131"}));
    EXPECT_FALSE(vesktest::containsPart(rig.messages(), "PercentageUsed= "));
}

TEST(DriveHealth, RecordWithoutATerminatorAnywhereIsLoggedWithinItself) {
    DiskRig rig;
    rig.expectDisk("00", vesktest::absentPage());
    rig.expectHealth("00", vesktest::healthPage());
    Bytes record(2404, 'n');
    record.shrink_to_fit();
    EXPECT_EQ(askHealth(0, record), 0);
    EXPECT_EQ(record, Bytes(2404, 'n'));
    EXPECT_TRUE(
        vesktest::containsPart(rig.messages(), std::string(kCallLine) + "AttributeName: nnnnnnnn"));
}

TEST(DriveHealth, TemperatureIsLoggedInDegreesCelsius) {
    struct Case {
        Bytes kelvins;
        const char* text;
    };
    for (const Case& now : {Case{{0x2C, 0x01}, ", Temperature: 27 RRWE: 3"},
                            Case{{0, 0}, ", Temperature: -273 RRWE: 3"},
                            Case{{0x11, 0x01}, ", Temperature: 0 RRWE: 3"},
                            Case{{0x10, 0x01}, ", Temperature: -1 RRWE: 3"},
                            Case{{0xFF, 0xFF}, ", Temperature: 65262 RRWE: 3"}}) {
        SCOPED_TRACE(now.text);
        DiskRig rig;
        rig.expectDisk("00", vesktest::diskPage());
        rig.expectHealth("00", with(vesktest::healthPage(), 1, now.kelvins));
        Bytes record = noise(2404, 56);
        EXPECT_EQ(askHealth(0, record), 0);
        EXPECT_TRUE(vesktest::contains(
            rig.messages(), std::string(kPageLine) +
                                "AvailableSpare: 100, AvailableSpareThreshold: 10" + now.text));
        EXPECT_EQ(record, vesktest::healthRecord());
    }
}

TEST(DriveHealth, RefusedPageGivesAttributesOfZero) {
    DiskRig rig;
    rig.expectDisk("00", vesktest::diskPage());
    rig.driver.expectCommand(vesktest::healthCommand("00"), vesktest::refusal());
    Bytes record = noise(2404, 57);
    EXPECT_EQ(askHealth(0, record), 0);
    Bytes expected = with(vesktest::healthRecord(), 71, {0});
    vesktest::put(expected, 151, {0});
    vesktest::put(expected, 159, {0});
    EXPECT_EQ(record, expected);
}

TEST(DriveHealth, RefusedDiskRecordCountsAsAPresentDisk) {
    DiskRig rig;
    rig.driver.expectCommand(vesktest::diskInfoCommand("00"), vesktest::refusal());
    rig.expectHealth("00", vesktest::healthPage());
    Bytes record = noise(2404, 58);
    EXPECT_EQ(askHealth(0, record), 0);
    EXPECT_EQ(record, with(vesktest::healthRecord(), 0, {0x4F}));
}

TEST(DriveHealth, AnyDiskIdGoesToTheControllerAndTheOtherArgumentsNowhere) {
    DiskRig rig;
    rig.expectDisk("FE", vesktest::diskPage());
    rig.expectHealth("FE", vesktest::healthPage());
    SMART_INFO_ARRAY record;
    std::memset(&record, 0xEE, sizeof record);
    EXPECT_EQ(ZT_PD_GET_SMART_INFO(77, 0xFE, 88, &record), 0);
    EXPECT_EQ(bytesOf(&record), vesktest::healthRecord());
}

TEST(DriveHealth, AttributesAreSetInTheirOrder) {
    DiskRig rig;
    const Bytes diskBytes = vesktest::diskPage();
    const Bytes pageBytes = vesktest::healthPage();
    _PDInfoData disk;
    std::memcpy(&disk, diskBytes.data(), sizeof disk);
    _SMART_HEALTH_INFORMATION_LOG_ENTRY page;
    std::memcpy(&page, pageBytes.data(), sizeof page);
    CPhysicalDisk target;
    rig.host.forgetLines();
    target.setSmartInfoAttributes(&disk, &page);
    EXPECT_EQ(bytesOf(target.getPDSmartInfoStruct()), vesktest::healthRecord());
    EXPECT_EQ(rig.messages(), (LogLines{"PercentageUsed= 3", "AvailableSpare= 100",
                                        "AvailableSpareThreshold= 10"}));
    EXPECT_TRUE(rig.host.traced("CPhysicalDisk::setSmartInfoAttributes()"));
    EXPECT_EQ(bytesOf(target.getPDInfoStruct()), Bytes(248, 0));
}

TEST(DriveHealth, PageIsReadWhole) {
    DiskRig rig;
    const Bytes page = noise(512, 59);
    rig.expectHealth("09", page);
    CPhysicalDiskBuilder builder(9U);
    builder.setPDId(9);
    _SMART_HEALTH_INFORMATION_LOG_ENTRY out;
    std::memset(&out, 0xEE, sizeof out);
    builder.getSmartAttributesForOnePD(&out);
    EXPECT_EQ(bytesOf(&out), page);
    EXPECT_TRUE(rig.host.traced("CPhysicalDiskBuilder::getSmartAttributesForOnePD()"));
}

TEST(DriveHealth, GatheringIsTraced) {
    DiskRig rig;
    rig.expectDisk("FF", vesktest::absentPage());
    rig.expectHealth("FF", vesktest::healthPage());
    CPhysicalDiskBuilder builder(9U);
    builder.getSmartInfo();
    EXPECT_EQ(builder.getActivePDCount(), 0);
    EXPECT_TRUE(rig.host.traced("CPhysicalDiskBuilder::getSmartInfo()"));
    EXPECT_TRUE(vesktest::inOrder(rig.host.lines(),
                                  {"CPDInfoBuilder::~CPDInfoBuilder() EXIT ",
                                   "CPhysicalDiskBuilder::getSmartAttributesForOnePD() ENTRY ",
                                   "CPDPTLogBuilder::CPDPTLogBuilder() ENTRY ",
                                   "CPDPTLogBuilder::~CPDPTLogBuilder() EXIT ",
                                   "CPhysicalDiskBuilder::getSmartAttributesForOnePD() EXIT "}));
}

}  // namespace
