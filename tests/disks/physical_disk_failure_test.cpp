// Lack of memory in the calls about physical disks: which step fails, and what the caller gets.
#include "disk_rig.h"
#include "memory_faults.h"

#include "disks/pd_info_data.h"
#include "disks/physical_disk_builder.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using vesktest::AllocationSize;
using vesktest::answered;
using vesktest::asRequest;
using vesktest::Bytes;
using vesktest::DiskRig;
using vesktest::FailMalloc;
using vesktest::FailNew;
using vesktest::kNone;
using vesktest::request;

using Call = UCHAR_ (*)(UCHAR_, PInfo_Request);
constexpr Call kCalls[] = {ZT_PD_GetHDInfo_Ext, ZT_PD_GetConfig, ZT_PD_GetHDRaidStatus,
                           ZT_PD_GetFreeSpaceInfo};

TEST(PhysicalDiskFailure, WithoutAWorkingRecordNothingIsAsked) {
    DiskRig rig;
    for (const Call call : kCalls) {
        rig.host.forgetLines();
        Bytes record = request(2, 1, 248);
        const Bytes before = record;
        {
            const FailMalloc fault(AllocationSize::exactly(112));
            EXPECT_EQ(call('A', asRequest(record)), 1);
            EXPECT_TRUE(fault.triggered());
        }
        EXPECT_EQ(record, answered(before, {0, 0, 0xFF, 0xFF}, kNone));
        EXPECT_TRUE(
            vesktest::inOrder(rig.messages(), {"std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL "}));
    }
    EXPECT_EQ(rig.driver.callCount(), 0U);
}

TEST(PhysicalDiskFailure, DiskWhoseCommandHasNoBufferIsLeftOut) {
    DiskRig rig;
    Bytes record = request(1, 0, 2 * 248);
    const Bytes before = record;
    rig.expectDisk("01", vesktest::secondDiskPage());
    {
        const FailMalloc fault(AllocationSize::exactly(4096));
        EXPECT_EQ(ZT_PD_GetHDInfo_Ext(0, asRequest(record)), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::secondDiskInfo()));

    record = before;
    rig.expectDisk("00", vesktest::diskPage());
    {
        const FailMalloc fault(AllocationSize::exactly(4096), 2);
        EXPECT_EQ(ZT_PD_GetConfig(0, asRequest(record)), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::diskConfig()));
}

TEST(PhysicalDiskFailure, SingleDiskWithoutABufferGivesNoRecord) {
    DiskRig rig;
    for (const Call call : kCalls) {
        Bytes record = request(2, 1, 248);
        const Bytes before = record;
        {
            const FailMalloc fault(AllocationSize::exactly(4096));
            EXPECT_EQ(call('A', asRequest(record)), 1);
            EXPECT_TRUE(fault.triggered());
        }
        EXPECT_EQ(record, answered(before, {0, 0, 0xFF, 0xFF}, kNone));
    }
    EXPECT_EQ(rig.driver.callCount(), 0U);
}

TEST(PhysicalDiskFailure, RecordStaysAsItIsWhereTheCommandCouldNotBeBuilt) {
    DiskRig rig;
    CPhysicalDiskBuilder builder;
    Bytes out = vesktest::noise(sizeof(_PDInfoData), 44);
    const Bytes before = out;
    void* const record = out.data();
    {
        const FailMalloc fault(AllocationSize::exactly(4096));
        builder.getAttributesForOnePD(static_cast<_PDInfoData*>(record));
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(out, before);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
}

TEST(PhysicalDiskFailure, RequestOfTheTalkerThatCannotBeMadeReadsAsAnEmptyDisk) {
    DiskRig rig;
    Bytes record = request(2, 1, 8);
    const Bytes before = record;
    {
        const FailMalloc fault(AllocationSize::exactly(24));
        EXPECT_EQ(ZT_PD_GetConfig(0, asRequest(record)), 0);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, {1, 1, 0, 3, 0, 0, 0, 0}));
}

TEST(PhysicalDiskFailure, BuilderThatCannotBeMadeIsAFailureAndWritesNothing) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    DiskRig rig;
    for (const Call call : kCalls) {
        rig.host.forgetLines();
        Bytes record = request(2, 1, 248);
        const Bytes before = record;
        {
            const FailNew fault(AllocationSize::exactly(sizeof(CPhysicalDiskBuilder)));
            EXPECT_EQ(call('A', asRequest(record)), 1);
            EXPECT_TRUE(fault.triggered());
        }
        EXPECT_EQ(record, before);
        EXPECT_TRUE(
            vesktest::inOrder(rig.messages(), {"std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL "}));
    }
    EXPECT_EQ(rig.driver.callCount(), 0U);
}

TEST(PhysicalDiskFailure, CodeIsGoneAtTheNextCall) {
    DiskRig rig;
    Bytes record = request(1, 0, 16);
    EXPECT_EQ(ZT_PD_GetFreeSpaceInfo(0, asRequest(record)), 6);
    rig.expectDisk("00", vesktest::diskPage());
    record = request(2, 0, 16);
    EXPECT_EQ(ZT_PD_GetFreeSpaceInfo(0, asRequest(record)), 0);
}

TEST(PhysicalDiskFailure, DriverThatThrowsReadsAsAnEmptyDisk) {
    DiskRig rig;
    vesktest::Reply reply;
    reply.hook = [] {
        throw std::runtime_error("driver fault");
    };
    rig.driver.expectCommand(vesktest::diskInfoCommand("01"), reply);
    Bytes record = request(2, 1, 8);
    const Bytes before = record;
    EXPECT_EQ(ZT_PD_GetHDRaidStatus(0, asRequest(record)), 0);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, Bytes(8, 0)));
}

}  // namespace
