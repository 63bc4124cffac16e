// Lack of memory in the calls about virtual disks.
#include "disk_rig.h"
#include "memory_faults.h"

#include "disks/vd_info_data.h"
#include "disks/virtual_disk_builder.h"

#include <gtest/gtest.h>

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
constexpr Call kCalls[] = {ZT_LD_GetInfo, ZT_LD_GetConfig};

TEST(VirtualDiskFailure, WithoutAWorkingRecordNothingIsAsked) {
    DiskRig rig;
    for (const Call call : kCalls) {
        rig.host.forgetLines();
        Bytes record = request(1, 1, 2 * 312);
        const Bytes before = record;
        {
            const FailMalloc fault(AllocationSize::exactly(192));
            EXPECT_EQ(call(0, asRequest(record)), 1);
            EXPECT_TRUE(fault.triggered());
        }
        EXPECT_EQ(record, answered(before, {0, 0, 0xFF, 0xFF}, kNone));
        EXPECT_TRUE(
            vesktest::inOrder(rig.messages(), {"std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL "}));
    }
    EXPECT_EQ(rig.driver.callCount(), 0U);
}

TEST(VirtualDiskFailure, DiskWhoseCommandHasNoBufferIsLeftOut) {
    DiskRig rig;
    Bytes record = request(1, 0, 2 * 312);
    const Bytes before = record;
    rig.expectVolume("01", vesktest::secondVolumePage());
    {
        const FailMalloc fault(AllocationSize::exactly(4096));
        EXPECT_EQ(ZT_LD_GetInfo(0, asRequest(record)), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::secondVolumeInfo()));

    record = before;
    rig.expectVolume("00", vesktest::volumePage());
    {
        const FailMalloc fault(AllocationSize::exactly(4096), 2);
        EXPECT_EQ(ZT_LD_GetConfig(0, asRequest(record)), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::volumeConfig()));
}

TEST(VirtualDiskFailure, RecordStaysAsItIsWhereTheCommandCouldNotBeBuilt) {
    DiskRig rig;
    CVirtualDiskBuilder builder;
    Bytes out = vesktest::noise(sizeof(_vdInfoData), 44);
    const Bytes before = out;
    void* const record = out.data();
    {
        const FailMalloc fault(AllocationSize::exactly(4096));
        builder.getAttributesForOneVD(static_cast<_vdInfoData*>(record));
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(out, before);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
}

TEST(VirtualDiskFailure, BuilderThatCannotBeMadeIsAFailureAndWritesNothing) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    DiskRig rig;
    for (const Call call : kCalls) {
        Bytes record = request(2, 1, 312);
        const Bytes before = record;
        {
            const FailNew fault(AllocationSize::exactly(sizeof(CVirtualDiskBuilder)));
            EXPECT_EQ(call(0, asRequest(record)), 1);
            EXPECT_TRUE(fault.triggered());
        }
        EXPECT_EQ(record, before);
    }
    EXPECT_EQ(rig.driver.callCount(), 0U);
}

}  // namespace
