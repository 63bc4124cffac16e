// The command that reads a virtual disk.
#include "disk_rig.h"
#include "memory_faults.h"
#include "recording_talker.h"

#include "disks/vd_info_builder.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

using vesktest::AllocationSize;
using vesktest::Bytes;
using vesktest::DiskRig;
using vesktest::FailMalloc;
using vesktest::FailNew;
using vesktest::LogLines;
using vesktest::RecordingTalker;
using vesktest::TracedHost;

static_assert(std::is_base_of_v<ICommandBuilder, CVDInfoBuilder>);

Bytes bufferOf(CCommandDword& command) {
    const auto* const bytes = static_cast<const std::uint8_t*>(command.getcdw_6_7());
    return {bytes, bytes + 4096};
}

TEST(VirtualDiskCommand, TakesItsIdFromTheConstructorOrTheSetter) {
    CVDInfoBuilder unnamed;
    EXPECT_EQ(unnamed.getVDId(), 0xFF);
    CVDInfoBuilder builder(7);
    EXPECT_EQ(builder.getVDId(), 7);
    builder.setVDId(200);
    EXPECT_EQ(builder.getVDId(), 200);
}

TEST(VirtualDiskCommand, KeepsTheLowByteOfALongId) {
    DiskRig rig;
    rig.expectVolume("02", vesktest::noise(4096, 98));
    CVDInfoBuilder builder(static_cast<unsigned short>(0x0102));
    EXPECT_EQ(builder.getVDId(), 2);
    EXPECT_EQ(builder.buildCommand(), 0);
    EXPECT_EQ(builder.getVDInfoCommand()->getcdw14(), 2U);
    builder.execute();
}

TEST(VirtualDiskCommand, IsEmptyBeforeItIsBuilt) {
    CVDInfoBuilder builder(1);
    ASSERT_NE(builder.getVDInfoCommand(), nullptr);
    EXPECT_EQ(builder.getVDInfoCommand()->getcdw0(), 0U);
    EXPECT_EQ(builder.getVDInfoCommand()->getcdw_6_7(), nullptr);
    EXPECT_EQ(builder.getVDInfoCommand()->getcdw14(), 0U);
}

TEST(VirtualDiskCommand, BuildFillsTheSlots) {
    CVDInfoBuilder builder(0x81);
    EXPECT_EQ(builder.buildCommand(), 0);
    CCommandDword& command = *builder.getVDInfoCommand();
    EXPECT_EQ(command.getcdw0(), 0xE2U);
    EXPECT_EQ(command.getcdw1(), 0U);
    EXPECT_EQ(command.getcdw2(), 0U);
    EXPECT_EQ(command.getcdw3(), 0U);
    EXPECT_EQ(command.getcdw_4_5(), nullptr);
    ASSERT_NE(command.getcdw_6_7(), nullptr);
    EXPECT_EQ(command.getcdw8(), 0U);
    EXPECT_EQ(command.getcdw9(), 0x1000U);
    EXPECT_EQ(command.getcdw10(), 0x400U);
    EXPECT_EQ(command.getcdw11(), 0U);
    EXPECT_EQ(command.getcdw12(), 0xE2U);
    EXPECT_EQ(command.getcdw13(), 0U);
    EXPECT_EQ(command.getcdw14(), 0x81U);
    EXPECT_EQ(command.getcdw15(), 0U);
    EXPECT_EQ(bufferOf(command), Bytes(4096, 0));
}

TEST(VirtualDiskCommand, InheritedAccessorHandsOutTheSameRecord) {
    CVDInfoBuilder builder(0);
    ICommandBuilder& base = builder;
    EXPECT_NE(base.getCCommandDwordObject(), nullptr);
    EXPECT_EQ(base.getCCommandDwordObject(), builder.getVDInfoCommand());
}

TEST(VirtualDiskCommand, DefaultIdGoesOutUnchangedAndTheReplyArrives) {
    DiskRig rig;
    const Bytes page = vesktest::noise(4096, 99);
    rig.expectVolume("FF", page);
    CVDInfoBuilder builder;
    EXPECT_EQ(builder.buildCommand(), 0);
    builder.execute();
    EXPECT_EQ(bufferOf(*builder.getVDInfoCommand()), page);
}

TEST(VirtualDiskCommand, RefusedCommandLeavesZerosAndNoError) {
    DiskRig rig;
    rig.driver.expectCommand(vesktest::volumeInfoCommand("01"), vesktest::refusal());
    CVDInfoBuilder builder(1);
    EXPECT_EQ(builder.buildCommand(), 0);
    builder.execute();
    EXPECT_EQ(bufferOf(*builder.getVDInfoCommand()), Bytes(4096, 0));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TEST(VirtualDiskCommand, SendsCodeOneOnce) {
    RecordingTalker talker;
    talker.result = 1;
    CVDInfoBuilder builder(1);
    builder.buildCommand();
    builder.setdwIOCTLcode(5);
    builder.execute();
    EXPECT_EQ(talker.codes, std::vector<ULONG_INT>{1});
    EXPECT_EQ(talker.commands, std::vector<CCommandDword*>{builder.getVDInfoCommand()});
    EXPECT_EQ(builder.getdwIOCTLcode(), 1U);
}

TEST(VirtualDiskCommand, IsTraced) {
    TracedHost host;
    {
        RecordingTalker talker;
        CVDInfoBuilder builder(1);
        builder.buildCommand();
        builder.execute();
    }
    EXPECT_TRUE(host.traced("CVDInfoBuilder::CVDInfoBuilder()"));
    EXPECT_TRUE(host.traced("CVDInfoBuilder::buildCommand()"));
    EXPECT_TRUE(host.traced("CVDInfoBuilder::execute()"));
    EXPECT_TRUE(host.traced("CVDInfoBuilder::~CVDInfoBuilder()"));
    EXPECT_EQ(host.messages(), LogLines{});
    host.forgetLines();
    CVDInfoBuilder unnamed;
    EXPECT_TRUE(host.traced("CVDInfoBuilder::CVDInfoBuilder()"));
}

TEST(VirtualDiskCommand, AccessorsAreNotTraced) {
    TracedHost host;
    CVDInfoBuilder builder(1);
    host.forgetLines();
    builder.setVDId(2);
    builder.getVDId();
    builder.getVDInfoCommand();
    builder.getCCommandDwordObject();
    EXPECT_EQ(host.lines(), LogLines{});
}

TEST(VirtualDiskCommand, WithoutItsBufferIsAFailure) {
    TracedHost host;
    VeskNVMeLibrary_Error::setErrorCode(0);
    CVDInfoBuilder builder(1);
    host.forgetLines();
    {
        const FailMalloc fault(AllocationSize::exactly(4096));
        EXPECT_EQ(builder.buildCommand(), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(host.messages(), (LogLines{"std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL "}));
    EXPECT_TRUE(host.traced("CVDInfoBuilder::buildCommand()"));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_EQ(builder.getVDInfoCommand()->getcdw0(), 0xE2U);
    EXPECT_EQ(builder.getVDInfoCommand()->getcdw_6_7(), nullptr);
    EXPECT_EQ(builder.getVDInfoCommand()->getcdw9(), 0U);
    EXPECT_EQ(builder.getVDInfoCommand()->getcdw12(), 0U);
    EXPECT_EQ(builder.getVDInfoCommand()->getcdw14(), 0U);
}

template <typename Make>
void expectCommandlessBuilder(Make make) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    TracedHost host;
    RecordingTalker talker;
    VeskNVMeLibrary_Error::setErrorCode(0);
    host.forgetLines();
    bool triggered = false;
    {
        const FailNew fault(AllocationSize::exactly(sizeof(CCommandDword)));
        CVDInfoBuilder builder = make();
        triggered = fault.triggered();
        EXPECT_EQ(builder.getVDInfoCommand(), nullptr);
        EXPECT_EQ(builder.getCCommandDwordObject(), nullptr);
        EXPECT_EQ(builder.buildCommand(), 1);
        builder.execute();
    }
    EXPECT_TRUE(triggered);
    EXPECT_TRUE(talker.commands.empty());
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_TRUE(vesktest::inOrder(host.lines(), {"CVDInfoBuilder::CVDInfoBuilder() ENTRY ",
                                                 "std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL ",
                                                 "CVDInfoBuilder::CVDInfoBuilder() EXIT "}));
}

TEST(VirtualDiskCommand, WithoutItsRecordIsAFailureAndSendsNothing) {
    expectCommandlessBuilder([] { return CVDInfoBuilder(1); });
    expectCommandlessBuilder([] { return CVDInfoBuilder(); });
}

}  // namespace
