// The command that reads a log page of a physical disk.
#include "disk_rig.h"
#include "memory_faults.h"
#include "recording_talker.h"

#include "disks/pdpt_log_builder.h"

#include <gtest/gtest.h>

#include <new>
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

static_assert(std::is_base_of_v<ICommandBuilder, CPDPTLogBuilder>);

Bytes bufferOf(CCommandDword& command) {
    const auto* const bytes = static_cast<const std::uint8_t*>(command.getcdw_6_7());
    return {bytes, bytes + 512};
}

TEST(LogPageCommand, TakesItsIdsFromTheConstructorOrTheSetters) {
    CPDPTLogBuilder builder(3, 0x80);
    EXPECT_EQ(builder.getPDId(), 3);
    EXPECT_EQ(builder.getLogPageID(), 0x80);
    builder.setPDId(0xFE);
    builder.setLogPageID(5);
    EXPECT_EQ(builder.getPDId(), 0xFE);
    EXPECT_EQ(builder.getLogPageID(), 5);
}

TEST(LogPageCommand, BuildFillsTheSlots) {
    CPDPTLogBuilder builder(0x81, 2);
    EXPECT_EQ(builder.buildCommand(), 0);
    CCommandDword& command = *builder.getCPDPTLogCommand();
    EXPECT_EQ(command.getcdw0(), 0xC2U);
    EXPECT_EQ(command.getcdw1(), 0x81U);
    EXPECT_EQ(command.getcdw2(), 0U);
    EXPECT_EQ(command.getcdw3(), 0U);
    EXPECT_EQ(command.getcdw_4_5(), nullptr);
    ASSERT_NE(command.getcdw_6_7(), nullptr);
    EXPECT_EQ(command.getcdw8(), 0U);
    EXPECT_EQ(command.getcdw9(), 0x200U);
    EXPECT_EQ(command.getcdw10(), 0x007F0002U);
    EXPECT_EQ(command.getcdw11(), 0U);
    EXPECT_EQ(command.getcdw12(), 0U);
    EXPECT_EQ(command.getcdw13(), 0U);
    EXPECT_EQ(command.getcdw14(), 2U);
    EXPECT_EQ(command.getcdw15(), 0xFFFFFFFFU);
    EXPECT_EQ(bufferOf(command), Bytes(512, 0));
}

TEST(LogPageCommand, LogsItsDwordTenInDecimal) {
    TracedHost host;
    CPDPTLogBuilder health(0, 2);
    CPDPTLogBuilder last(0, 0xFF);
    host.forgetLines();
    EXPECT_EQ(health.buildCommand(), 0);
    EXPECT_EQ(last.buildCommand(), 0);
    EXPECT_EQ(host.messages(),
              (LogLines{"CPDPTLogBuilder: CDW10 = 8323074", "CPDPTLogBuilder: CDW10 = 8323327"}));
    EXPECT_EQ(last.getCPDPTLogCommand()->getcdw10(), 0x007F00FFU);
}

TEST(LogPageCommand, InheritedAccessorHandsOutTheSameRecord) {
    CPDPTLogBuilder builder(0, 2);
    ICommandBuilder& base = builder;
    EXPECT_NE(base.getCCommandDwordObject(), nullptr);
    EXPECT_EQ(base.getCCommandDwordObject(), builder.getCPDPTLogCommand());
}

TEST(LogPageCommand, GoesOutAndItsReplyArrives) {
    DiskRig rig;
    const Bytes page = vesktest::noise(512, 97);
    rig.expectHealth("9C", page);
    CPDPTLogBuilder builder(0x9C, 2);
    EXPECT_EQ(builder.buildCommand(), 0);
    builder.execute();
    EXPECT_EQ(bufferOf(*builder.getCPDPTLogCommand()), page);
}

TEST(LogPageCommand, RefusedCommandLeavesZerosAndNoError) {
    DiskRig rig;
    rig.driver.expectCommand(vesktest::healthCommand("01"), vesktest::refusal());
    CPDPTLogBuilder builder(1, 2);
    EXPECT_EQ(builder.buildCommand(), 0);
    builder.execute();
    EXPECT_EQ(bufferOf(*builder.getCPDPTLogCommand()), Bytes(512, 0));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TEST(LogPageCommand, SendsCodeOneOnce) {
    RecordingTalker talker;
    CPDPTLogBuilder builder(1, 2);
    builder.buildCommand();
    builder.setdwIOCTLcode(0);
    builder.execute();
    EXPECT_EQ(talker.codes, std::vector<ULONG_INT>{1});
    EXPECT_EQ(talker.commands, std::vector<CCommandDword*>{builder.getCPDPTLogCommand()});
    EXPECT_EQ(builder.getdwIOCTLcode(), 1U);
}

TEST(LogPageCommand, IsTraced) {
    TracedHost host;
    {
        RecordingTalker talker;
        CPDPTLogBuilder builder(1, 2);
        builder.buildCommand();
        builder.execute();
    }
    EXPECT_TRUE(host.traced("CPDPTLogBuilder::CPDPTLogBuilder()"));
    EXPECT_TRUE(host.traced("CPDPTLogBuilder::buildCommand()"));
    EXPECT_TRUE(host.traced("CPDPTLogBuilder::execute()"));
    EXPECT_TRUE(host.traced("CPDPTLogBuilder::~CPDPTLogBuilder()"));
    host.forgetLines();
    CPDPTLogBuilder empty;
    EXPECT_TRUE(host.traced("CPDPTLogBuilder::CPDPTLogBuilder()"));
    host.forgetLines();
    empty.setPDId(2);
    empty.getPDId();
    empty.setLogPageID(2);
    empty.getLogPageID();
    empty.getCPDPTLogCommand();
    empty.getCCommandDwordObject();
    EXPECT_EQ(host.lines(), LogLines{});
}

TEST(LogPageCommand, WithoutItsBufferIsAFailure) {
    TracedHost host;
    VeskNVMeLibrary_Error::setErrorCode(0);
    CPDPTLogBuilder builder(6, 2);
    host.forgetLines();
    {
        const FailMalloc fault(AllocationSize::exactly(512));
        EXPECT_EQ(builder.buildCommand(), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(host.messages(), (LogLines{"std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL "}));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    CCommandDword& command = *builder.getCPDPTLogCommand();
    EXPECT_EQ(command.getcdw0(), 0xC2U);
    EXPECT_EQ(command.getcdw1(), 6U);
    EXPECT_EQ(command.getcdw_6_7(), nullptr);
    EXPECT_EQ(command.getcdw9(), 0U);
    EXPECT_EQ(command.getcdw10(), 0U);
    EXPECT_EQ(command.getcdw14(), 0U);
    EXPECT_EQ(command.getcdw15(), 0U);
}

TEST(LogPageCommand, ConstructorPassesOnALackOfMemory) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    const FailNew fault(AllocationSize::exactly(sizeof(CCommandDword)));
    EXPECT_THROW(CPDPTLogBuilder(1, 2), std::bad_alloc);
}

TEST(LogPageCommand, BuilderMadeWithoutArgumentsHasNoCommand) {
    RecordingTalker talker;
    VeskNVMeLibrary_Error::setErrorCode(0);
    CPDPTLogBuilder builder;
    EXPECT_EQ(builder.getPDId(), 0);
    EXPECT_EQ(builder.getLogPageID(), 0);
    EXPECT_EQ(builder.getCPDPTLogCommand(), nullptr);
    EXPECT_EQ(builder.getCCommandDwordObject(), nullptr);
    EXPECT_EQ(builder.buildCommand(), 1);
    builder.execute();
    EXPECT_TRUE(talker.commands.empty());
}

}  // namespace
