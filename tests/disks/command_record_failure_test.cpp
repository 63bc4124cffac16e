// Disk calls whose commands have no record, for want of memory. Without the log, whose texts could
// be of the same size.
#include "answering_driver.h"
#include "disk_records.h"
#include "memory_faults.h"
#include "private_host.h"

#include "transport/command_dword.h"

#include <gtest/gtest.h>

namespace {

using vesktest::AllocationSize;
using vesktest::answered;
using vesktest::AnsweringDriver;
using vesktest::asRequest;
using vesktest::Bytes;
using vesktest::ControllerPages;
using vesktest::FailNew;
using vesktest::PrivateHost;
using vesktest::request;

class CommandRecordFailure : public ::testing::Test {
protected:
    void SetUp() override {
        if (!vesktest::kCanFailNew) {
            GTEST_SKIP() << vesktest::kWhyNewCannotFail;
        }
    }

    // With the nth command of the call left without a record.
    static int callWithout(unsigned nth, UCHAR_ (*call)(UCHAR_, PInfo_Request), Bytes& bytes) {
        const FailNew fault(AllocationSize::exactly(sizeof(CCommandDword)), nth);
        const int result = call(0, asRequest(bytes));
        EXPECT_TRUE(fault.triggered());
        return result;
    }

    PrivateHost host;
    ControllerPages pages = vesktest::presentPages();
    AnsweringDriver driver{pages};
};

TEST_F(CommandRecordFailure, LeavesOutAPhysicalDisk) {
    Bytes record = request(1, 0, 2 * 248);
    const Bytes before = record;
    EXPECT_EQ(callWithout(1, ZT_PD_GetHDInfo_Ext, record), 1);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::secondDiskInfo()));
    record = before;
    EXPECT_EQ(callWithout(2, ZT_PD_GetConfig, record), 1);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::diskConfig()));
    EXPECT_EQ(driver.commandCount(), 2U);
}

TEST_F(CommandRecordFailure, LeavesOutTheOneDiskThatWasAskedFor) {
    for (auto* const call : {ZT_PD_GetHDRaidStatus, ZT_PD_GetFreeSpaceInfo}) {
        Bytes record = request(2, 0, 16);
        const Bytes before = record;
        EXPECT_EQ(callWithout(1, call, record), 1);
        EXPECT_EQ(record, answered(before, {0, 0, 0xFF, 0xFF}, vesktest::kNone));
    }
    EXPECT_EQ(driver.commandCount(), 0U);
}

TEST_F(CommandRecordFailure, LeavesOutAVirtualDisk) {
    Bytes record = request(1, 0, 2 * 312);
    const Bytes before = record;
    EXPECT_EQ(callWithout(1, ZT_LD_GetInfo, record), 1);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::secondVolumeInfo()));
    record = before;
    EXPECT_EQ(callWithout(2, ZT_LD_GetConfig, record), 1);
    EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, vesktest::volumeConfig()));
    EXPECT_EQ(driver.commandCount(), 2U);
}

TEST_F(CommandRecordFailure, GivesHealthOfZeros) {
    Bytes record = vesktest::noise(2404, 65);
    void* const place = record.data();
    {
        const FailNew fault(AllocationSize::exactly(sizeof(CCommandDword)), 2);
        EXPECT_EQ(ZT_PD_GET_SMART_INFO(0, 0, 0, static_cast<PSMART_INFO_ARRAY>(place)), 1);
        EXPECT_TRUE(fault.triggered());
    }
    Bytes expected = vesktest::healthRecord();
    vesktest::put(expected, 71, {0});
    vesktest::put(expected, 151, {0});
    EXPECT_EQ(record, vesktest::put(expected, 159, {0}));
    EXPECT_EQ(driver.commandCount(), 1U);
}

TEST_F(CommandRecordFailure, LeavesHealthOfADiskWithoutItsRecord) {
    Bytes record = vesktest::noise(2404, 66);
    const Bytes before = record;
    void* const place = record.data();
    {
        const FailNew fault(AllocationSize::exactly(sizeof(CCommandDword)));
        EXPECT_EQ(ZT_PD_GET_SMART_INFO(0, 0, 0, static_cast<PSMART_INFO_ARRAY>(place)), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(record, before);
    EXPECT_EQ(driver.commandCount(), 1U);
}

}  // namespace
