// The command that reads a physical disk.
#include "disk_rig.h"
#include "memory_faults.h"
#include "recording_talker.h"

#include "disks/pd_info_builder.h"

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

static_assert(std::is_base_of_v<ICommandBuilder, CPDInfoBuilder>);

Bytes bufferOf(CCommandDword& command) {
    const auto* const bytes = static_cast<const std::uint8_t*>(command.getcdw_6_7());
    return {bytes, bytes + 4096};
}

TEST(PhysicalDiskCommand, TakesItsIdFromTheConstructorOrTheSetter) {
    CPDInfoBuilder unnamed;
    EXPECT_EQ(unnamed.getPDId(), 0xFF);
    CPDInfoBuilder builder(7);
    EXPECT_EQ(builder.getPDId(), 7);
    builder.setPDId(200);
    EXPECT_EQ(builder.getPDId(), 200);
}

TEST(PhysicalDiskCommand, IsEmptyBeforeItIsBuilt) {
    CPDInfoBuilder builder(1);
    ASSERT_NE(builder.getPDInfoCommand(), nullptr);
    EXPECT_EQ(builder.getPDInfoCommand()->getcdw0(), 0U);
    EXPECT_EQ(builder.getPDInfoCommand()->getcdw_6_7(), nullptr);
    EXPECT_EQ(builder.getPDInfoCommand()->getcdw14(), 0U);
}

TEST(PhysicalDiskCommand, BuildFillsTheSlots) {
    CPDInfoBuilder builder(0x81);
    EXPECT_EQ(builder.buildCommand(), 0);
    CCommandDword& command = *builder.getPDInfoCommand();
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
    EXPECT_EQ(command.getcdw12(), 0xE1U);
    EXPECT_EQ(command.getcdw13(), 0U);
    EXPECT_EQ(command.getcdw14(), 0x81U);
    EXPECT_EQ(command.getcdw15(), 0U);
    EXPECT_EQ(bufferOf(command), Bytes(4096, 0));
}

TEST(PhysicalDiskCommand, InheritedAccessorHandsOutTheSameRecord) {
    CPDInfoBuilder builder(0);
    ICommandBuilder& base = builder;
    EXPECT_NE(base.getCCommandDwordObject(), nullptr);
    EXPECT_EQ(base.getCCommandDwordObject(), builder.getPDInfoCommand());
}

TEST(PhysicalDiskCommand, DefaultIdGoesOutUnchangedAndTheReplyArrives) {
    DiskRig rig;
    const Bytes page = vesktest::noise(4096, 99);
    rig.expectDisk("FF", page);
    CPDInfoBuilder builder;
    EXPECT_EQ(builder.buildCommand(), 0);
    builder.execute();
    EXPECT_EQ(bufferOf(*builder.getPDInfoCommand()), page);
}

TEST(PhysicalDiskCommand, RefusedCommandLeavesZerosAndNoError) {
    DiskRig rig;
    rig.driver.expectCommand(vesktest::diskInfoCommand("01"), vesktest::refusal());
    CPDInfoBuilder builder(1);
    EXPECT_EQ(builder.buildCommand(), 0);
    builder.execute();
    EXPECT_EQ(bufferOf(*builder.getPDInfoCommand()), Bytes(4096, 0));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TEST(PhysicalDiskCommand, SendsCodeOneOnce) {
    RecordingTalker talker;
    talker.result = 1;
    CPDInfoBuilder builder(1);
    builder.buildCommand();
    builder.setdwIOCTLcode(5);
    builder.execute();
    EXPECT_EQ(talker.codes, std::vector<ULONG_INT>{1});
    EXPECT_EQ(talker.commands, std::vector<CCommandDword*>{builder.getPDInfoCommand()});
    EXPECT_EQ(builder.getdwIOCTLcode(), 1U);
}

TEST(PhysicalDiskCommand, IsTraced) {
    TracedHost host;
    {
        RecordingTalker talker;
        CPDInfoBuilder builder(1);
        builder.buildCommand();
        builder.execute();
    }
    EXPECT_TRUE(host.traced("CPDInfoBuilder::CPDInfoBuilder()"));
    EXPECT_TRUE(host.traced("CPDInfoBuilder::buildCommand()"));
    EXPECT_TRUE(host.traced("CPDInfoBuilder::execute()"));
    EXPECT_TRUE(host.traced("CPDInfoBuilder::~CPDInfoBuilder()"));
    EXPECT_EQ(host.messages(), LogLines{});
    host.forgetLines();
    CPDInfoBuilder unnamed;
    EXPECT_TRUE(host.traced("CPDInfoBuilder::CPDInfoBuilder()"));
}

TEST(PhysicalDiskCommand, AccessorsAreNotTraced) {
    TracedHost host;
    CPDInfoBuilder builder(1);
    host.forgetLines();
    builder.setPDId(2);
    builder.getPDId();
    builder.getPDInfoCommand();
    builder.getCCommandDwordObject();
    EXPECT_EQ(host.lines(), LogLines{});
}

TEST(PhysicalDiskCommand, WithoutItsBufferIsAFailure) {
    TracedHost host;
    VeskNVMeLibrary_Error::setErrorCode(0);
    CPDInfoBuilder builder(1);
    host.forgetLines();
    {
        const FailMalloc fault(AllocationSize::exactly(4096));
        EXPECT_EQ(builder.buildCommand(), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(host.messages(), (LogLines{"std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL "}));
    EXPECT_TRUE(host.traced("CPDInfoBuilder::buildCommand()"));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_EQ(builder.getPDInfoCommand()->getcdw0(), 0xE2U);
    EXPECT_EQ(builder.getPDInfoCommand()->getcdw_6_7(), nullptr);
    EXPECT_EQ(builder.getPDInfoCommand()->getcdw9(), 0U);
    EXPECT_EQ(builder.getPDInfoCommand()->getcdw12(), 0U);
    EXPECT_EQ(builder.getPDInfoCommand()->getcdw14(), 0U);
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
        CPDInfoBuilder builder = make();
        triggered = fault.triggered();
        EXPECT_EQ(builder.getPDInfoCommand(), nullptr);
        EXPECT_EQ(builder.getCCommandDwordObject(), nullptr);
        EXPECT_EQ(builder.buildCommand(), 1);
        builder.execute();
    }
    EXPECT_TRUE(triggered);
    EXPECT_TRUE(talker.commands.empty());
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_TRUE(vesktest::inOrder(host.lines(), {"CPDInfoBuilder::CPDInfoBuilder() ENTRY ",
                                                 "std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL ",
                                                 "CPDInfoBuilder::CPDInfoBuilder() EXIT "}));
}

TEST(PhysicalDiskCommand, WithoutItsRecordIsAFailureAndSendsNothing) {
    expectCommandlessBuilder([] { return CPDInfoBuilder(1); });
    expectCommandlessBuilder([] { return CPDInfoBuilder(); });
}

}  // namespace
