// The health of a physical disk, and failures on the way to it.
#include "disk_rig.h"
#include "memory_faults.h"

#include "disks/pd_info_data.h"
#include "disks/physical_disk_builder.h"
#include "disks/smart_log_entry.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>

namespace {

using namespace vesktest;

constexpr const char* kPageLine =
    "libVeskNvme: CPhysicalDiskBuilder::getSmartAttributesForOnePD(): PD details: ";
constexpr const char* kCallLine = "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO: ";

UCHAR_ askHealth(UCHAR_ pdId, Bytes& bytes) {
    void* const record = bytes.data();
    return ZT_PD_GET_SMART_INFO(0, pdId, 0, static_cast<PSMART_INFO_ARRAY>(record));
}

// The table of a present disk whose page is zeros.
Bytes healthWithoutPage() {
    return with(with(with(healthRecord(), 71, {0}), 151, {0}), 159, {0});
}

class HealthRig : public DiskRig {
public:
    void expectPages(const Bytes& disk, const Bytes& page) {
        expectDisk("01", disk);
        expectHealth("01", page);
    }
    // For disk 1, on a record that was used before.
    void expectRecord(const Bytes& expected, int result = 0) {
        Bytes record = used;
        EXPECT_EQ(askHealth(1, record), result);
        EXPECT_EQ(record, expected);
    }

    const Bytes used = noise(2404, 52);
};

TEST(DriveHealth, LifeRemainingCarriesThePercentageUsed) {
    for (const std::uint8_t used : Bytes{0, 3, 99, 100, 101, 255}) {
        SCOPED_TRACE(int{used});
        HealthRig rig;
        rig.expectPages(diskPage(), with(healthPage(), 5, {used}));
        rig.expectRecord(with(healthRecord(), 71, {used}));
        EXPECT_TRUE(contains(rig.messages(), "PercentageUsed= " + std::to_string(used)));
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
        HealthRig rig;
        rig.expectPages(with(diskPage(), 10, {now.pdStatus}),
                        with(healthPage(), 0, {now.criticalWarning}));
        rig.expectRecord(with(healthRecord(), 0, {now.expected}));
    }
}

TEST(DriveHealth, AbsentDiskLeavesTheRecordAfterTwoCommands) {
    DiskRig rig;
    rig.expectDisk("07", absentPage());
    rig.expectHealth("07", healthPage());
    Bytes record = noise(2404, 55);
    putText(record, 5, std::string("Old name\0", 9));
    putText(record, 85, std::string("Old spare\0", 10));
    put(record, 71, {0x81});
    put(record, 151, {0x82});
    put(record, 159, {0x83});
    const Bytes before = record;
    EXPECT_EQ(askHealth(7, record), 0);
    EXPECT_EQ(record, before);
    EXPECT_EQ(rig.driver.callCount(), 2U);
    const std::string call = kCallLine;
    EXPECT_TRUE(inOrder(rig.messages(),
                        {std::string(kPageLine) + "AvailableSpare: 100, AvailableSpareThreshold: "
                                                  "10, Temperature: 27 RRWE: 3",
                         call + "AttributeName: Old name", call + "CurrentValue: 129",
                         call + "AttributeName: Old spare", call + "CurrentValue: 130",
                         call + "ThresholdValue: 131"}));
    EXPECT_FALSE(containsPart(rig.messages(), "PercentageUsed= "));
}

TEST(DriveHealth, RecordWithoutATerminatorAnywhereIsLoggedWithinItself) {
    DiskRig rig;
    rig.expectDisk("00", absentPage());
    rig.expectHealth("00", healthPage());
    Bytes record(2404, 'n');
    record.shrink_to_fit();
    EXPECT_EQ(askHealth(0, record), 0);
    EXPECT_EQ(record, Bytes(2404, 'n'));
    EXPECT_TRUE(containsPart(rig.messages(), std::string(kCallLine) + "AttributeName: nnnnnnnn"));
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
        HealthRig rig;
        rig.expectPages(diskPage(), with(healthPage(), 1, now.kelvins));
        rig.expectRecord(healthRecord());
        EXPECT_TRUE(contains(rig.messages(),
                             std::string(kPageLine) +
                                 "AvailableSpare: 100, AvailableSpareThreshold: 10" + now.text));
    }
}

TEST(DriveHealth, RefusedCommandsReadAsZeros) {
    HealthRig rig;
    rig.expectDisk("01", diskPage());
    rig.driver.expectCommand(healthCommand("01"), refusal());
    rig.expectRecord(healthWithoutPage());
    // Zeros are a present disk.
    rig.driver.expectCommand(diskInfoCommand("01"), refusal());
    rig.expectHealth("01", healthPage());
    rig.expectRecord(with(healthRecord(), 0, {0x4F}));
}

TEST(DriveHealth, AnyDiskIdGoesToTheControllerAndTheOtherArgumentsNowhere) {
    DiskRig rig;
    rig.expectDisk("FE", diskPage());
    rig.expectHealth("FE", healthPage());
    SMART_INFO_ARRAY record;
    std::memset(&record, 0xEE, sizeof record);
    EXPECT_EQ(ZT_PD_GET_SMART_INFO(77, 0xFE, 88, &record), 0);
    EXPECT_EQ(bytesOf(&record), healthRecord());
}

TEST(DriveHealth, AttributesAreSetInTheirOrder) {
    DiskRig rig;
    const Bytes diskBytes = diskPage();
    const Bytes pageBytes = healthPage();
    _PDInfoData disk;
    std::memcpy(&disk, diskBytes.data(), sizeof disk);
    _SMART_HEALTH_INFORMATION_LOG_ENTRY page;
    std::memcpy(&page, pageBytes.data(), sizeof page);
    CPhysicalDisk target;
    rig.host.forgetLines();
    target.setSmartInfoAttributes(&disk, &page);
    EXPECT_EQ(bytesOf(target.getPDSmartInfoStruct()), healthRecord());
    EXPECT_EQ(rig.messages(), (LogLines{"PercentageUsed= 3", "AvailableSpare= 100",
                                        "AvailableSpareThreshold= 10"}));
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
}

TEST(DriveHealth, EachCommandEndsBeforeTheNextBegins) {
    DiskRig rig;
    rig.expectDisk("FF", absentPage());
    rig.expectHealth("FF", healthPage());
    CPhysicalDiskBuilder builder(9U);
    builder.getSmartInfo();
    EXPECT_EQ(builder.getActivePDCount(), 0);
    EXPECT_TRUE(
        inOrder(rig.host.lines(), {"CPDInfoBuilder::~CPDInfoBuilder() EXIT ",
                                   "CPhysicalDiskBuilder::getSmartAttributesForOnePD() ENTRY ",
                                   "CPDPTLogBuilder::CPDPTLogBuilder() ENTRY ",
                                   "CPDPTLogBuilder::~CPDPTLogBuilder() EXIT ",
                                   "CPhysicalDiskBuilder::getSmartAttributesForOnePD() EXIT "}));
}

struct MissingMemory {
    const char* what;
    std::size_t size;
    unsigned nth;
    bool asksForDisk;
    bool asksForPage;
    bool answers;  // with a page of zeros
    const char* line;
};

TEST(DriveHealthFailure, WithoutMemoryTheStepsBehindAreLeftOut) {
    const MissingMemory cases[] = {
        {"the disk's record", 112, 1, false, false, false, "Failed to allocate pd info"},
        {"the page's record", 512, 1, true, false, false, "Failed to allocate smart info"},
        {"the disk's buffer: it is absent", 4096, 1, false, true, false, "std::bad_alloc"},
        {"the page's buffer", 512, 2, true, false, true, "std::bad_alloc"},
    };
    for (const MissingMemory& now : cases) {
        SCOPED_TRACE(now.what);
        HealthRig rig;
        if (now.asksForDisk) {
            rig.expectDisk("01", diskPage());
        }
        if (now.asksForPage) {
            rig.expectHealth("01", healthPage());
        }
        {
            const FailMalloc fault(AllocationSize::exactly(now.size), now.nth);
            rig.expectRecord(now.answers ? healthWithoutPage() : rig.used, 1);
            EXPECT_TRUE(fault.triggered());
        }
        EXPECT_TRUE(inOrder(rig.messages(), {now.line, "libVeskNVMe FAILED: ERR_FAIL "}));
    }
}

TEST(DriveHealthFailure, UnknownExceptionBelowThePageIsGeneric) {
    HealthRig rig;
    rig.expectDisk("01", diskPage());
    Reply reply;
    reply.hook = [] {
        throw 42;
    };
    rig.driver.expectCommand(healthCommand("01"), reply);
    rig.expectRecord(healthWithoutPage(), 1);
    EXPECT_TRUE(
        inOrder(rig.host.lines(), {"Generic exception", "libVeskNVMe FAILED: ERR_FAIL ",
                                   "CPDPTLogBuilder::~CPDPTLogBuilder() ENTRY ",
                                   "CPDPTLogBuilder::~CPDPTLogBuilder() EXIT ",
                                   "CPhysicalDiskBuilder::getSmartAttributesForOnePD() EXIT "}));
}

TEST(DriveHealthFailure, StandardExceptionOfTheDriverIsTheTalkersAffair) {
    HealthRig rig;
    rig.expectDisk("01", diskPage());
    Reply reply;
    reply.hook = [] {
        throw std::runtime_error("driver fault");
    };
    rig.driver.expectCommand(healthCommand("01"), reply);
    rig.expectRecord(healthWithoutPage());
}

TEST(DriveHealthFailure, BuilderThatCannotBeMadeLeavesTheRecord) {
    if (!kCanFailNew) {
        GTEST_SKIP() << kWhyNewCannotFail;
    }
    HealthRig rig;
    Bytes record = rig.used;
    {
        const FailNew fault(AllocationSize::exactly(sizeof(CPhysicalDiskBuilder)));
        EXPECT_EQ(askHealth(1, record), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(record, rig.used);
    EXPECT_EQ(rig.driver.callCount(), 0U);
    rig.expectPages(diskPage(), healthPage());
    rig.expectRecord(healthRecord());
}

}  // namespace
