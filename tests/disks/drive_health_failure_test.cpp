// Failures on the way to a disk's health.
#include "disk_rig.h"
#include "memory_faults.h"

#include "disks/physical_disk_builder.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using vesktest::AllocationSize;
using vesktest::Bytes;
using vesktest::DiskRig;
using vesktest::FailMalloc;
using vesktest::FailNew;
using vesktest::noise;
using vesktest::with;

UCHAR_ askHealth(Bytes& bytes) {
    void* const record = bytes.data();
    return ZT_PD_GET_SMART_INFO(0, 1, 0, static_cast<PSMART_INFO_ARRAY>(record));
}

// The table of a present disk without a page.
Bytes healthWithoutPage() {
    Bytes record = with(vesktest::healthRecord(), 71, {0});
    vesktest::put(record, 151, {0});
    return vesktest::put(record, 159, {0});
}

TEST(DriveHealthFailure, WithoutARecordForTheDiskNothingIsAsked) {
    DiskRig rig;
    Bytes record = noise(2404, 61);
    const Bytes before = record;
    {
        const FailMalloc fault(AllocationSize::exactly(112));
        EXPECT_EQ(askHealth(record), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(record, before);
    EXPECT_EQ(rig.driver.callCount(), 0U);
    EXPECT_TRUE(vesktest::inOrder(rig.messages(),
                                  {"Failed to allocate pd info", "libVeskNVMe FAILED: ERR_FAIL "}));
}

TEST(DriveHealthFailure, WithoutARecordForThePageOnlyTheDiskIsAsked) {
    DiskRig rig;
    rig.expectDisk("01", vesktest::diskPage());
    Bytes record = noise(2404, 62);
    const Bytes before = record;
    {
        const FailMalloc fault(AllocationSize::exactly(512));
        EXPECT_EQ(askHealth(record), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(record, before);
    EXPECT_EQ(rig.driver.callCount(), 1U);
    EXPECT_TRUE(vesktest::inOrder(
        rig.messages(), {"Failed to allocate smart info", "libVeskNVMe FAILED: ERR_FAIL "}));
}

TEST(DriveHealthFailure, WithoutABufferForTheDiskItIsAbsentAndThePageIsRead) {
    DiskRig rig;
    rig.expectHealth("01", vesktest::healthPage());
    Bytes record = noise(2404, 63);
    const Bytes before = record;
    {
        const FailMalloc fault(AllocationSize::exactly(4096));
        EXPECT_EQ(askHealth(record), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(record, before);
}

TEST(DriveHealthFailure, WithoutABufferForThePageItsAttributesAreZero) {
    DiskRig rig;
    rig.expectDisk("01", vesktest::diskPage());
    Bytes record = noise(2404, 64);
    {
        const FailMalloc fault(AllocationSize::exactly(512), 2);
        EXPECT_EQ(askHealth(record), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(record, healthWithoutPage());
    EXPECT_TRUE(
        vesktest::inOrder(rig.messages(), {"std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL "}));
}

TEST(DriveHealthFailure, UnknownExceptionBelowThePageIsGeneric) {
    DiskRig rig;
    rig.expectDisk("01", vesktest::diskPage());
    vesktest::Reply reply;
    reply.hook = [] {
        throw 42;
    };
    rig.driver.expectCommand(vesktest::healthCommand("01"), reply);
    Bytes record = noise(2404, 66);
    EXPECT_EQ(askHealth(record), 1);
    EXPECT_EQ(record, healthWithoutPage());
    EXPECT_TRUE(vesktest::inOrder(rig.host.lines(),
                                  {"Generic exception", "libVeskNVMe FAILED: ERR_FAIL ",
                                   "CPDPTLogBuilder::~CPDPTLogBuilder() ENTRY ",
                                   "CPDPTLogBuilder::~CPDPTLogBuilder() EXIT ",
                                   "CPhysicalDiskBuilder::getSmartAttributesForOnePD() EXIT "}));
}

TEST(DriveHealthFailure, StandardExceptionOfTheDriverIsTheTalkersAffair) {
    DiskRig rig;
    rig.expectDisk("01", vesktest::diskPage());
    vesktest::Reply reply;
    reply.hook = [] {
        throw std::runtime_error("driver fault");
    };
    rig.driver.expectCommand(vesktest::healthCommand("01"), reply);
    Bytes record = noise(2404, 67);
    EXPECT_EQ(askHealth(record), 0);
    EXPECT_EQ(record, healthWithoutPage());
}

TEST(DriveHealthFailure, BuilderWithoutItsDiskLeavesTheRecord) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    DiskRig rig;
    Bytes record = noise(2404, 68);
    const Bytes before = record;
    {
        const FailNew fault(AllocationSize::exactly(sizeof(CPhysicalDiskBuilder)));
        EXPECT_EQ(askHealth(record), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(record, before);
    EXPECT_EQ(rig.driver.callCount(), 0U);
    rig.expectDisk("01", vesktest::diskPage());
    rig.expectHealth("01", vesktest::healthPage());
    EXPECT_EQ(askHealth(record), 0);
    EXPECT_EQ(record, vesktest::healthRecord());
}

}  // namespace
