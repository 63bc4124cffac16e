// The builder that asks for the PCIe link as if by a device command.
#include "memory_faults.h"
#include "recording_talker.h"
#include "traced_host.h"

#include "api/error_state.h"
#include "transport/read_pcie_command_builder.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using vesktest::AllocationSize;
using vesktest::FailMalloc;
using vesktest::LogLines;
using vesktest::RecordingTalker;
using vesktest::TracedHost;

TEST(PciLinkCommand, BuildGetsFourZeroBytesAndSetsNoOtherSlot) {
    CReadPCIeCommandBuilder builder;
    CCommandDword& command = *builder.getReadPCIeInfoCommand();
    EXPECT_EQ(command.getcdw_6_7(), nullptr);
    EXPECT_EQ(builder.buildCommand(), 0);
    ASSERT_NE(command.getcdw_6_7(), nullptr);
    EXPECT_EQ(std::memcmp(command.getcdw_6_7(), "\0\0\0\0", 4), 0);
    EXPECT_EQ(command.getcdw0(), 0U);
    EXPECT_EQ(command.getcdw1(), 0U);
    EXPECT_EQ(command.getcdw2(), 0U);
    EXPECT_EQ(command.getcdw3(), 0U);
    EXPECT_EQ(command.getcdw_4_5(), nullptr);
    EXPECT_EQ(command.getcdw8(), 0U);
    EXPECT_EQ(command.getcdw9(), 0U);
    EXPECT_EQ(command.getcdw10(), 0U);
    EXPECT_EQ(command.getcdw11(), 0U);
    EXPECT_EQ(command.getcdw12(), 0U);
    EXPECT_EQ(command.getcdw13(), 0U);
    EXPECT_EQ(command.getcdw14(), 0U);
    EXPECT_EQ(command.getcdw15(), 0U);
}

TEST(PciLinkCommand, ExecuteSendsCodeZeroWithItsRecord) {
    RecordingTalker talker;
    CReadPCIeCommandBuilder builder;
    builder.buildCommand();
    builder.execute();
    EXPECT_EQ(talker.codes, std::vector<ULONG_INT>{0});
    EXPECT_EQ(talker.commands, std::vector<CCommandDword*>{builder.getReadPCIeInfoCommand()});
    EXPECT_EQ(builder.getdwIOCTLcode(), 0U);
}

TEST(PciLinkCommand, FailedCommandLeavesZeros) {
    RecordingTalker talker;
    talker.result = 1;
    CReadPCIeCommandBuilder builder;
    builder.buildCommand();
    builder.execute();
    EXPECT_EQ(std::memcmp(builder.getReadPCIeInfoCommand()->getcdw_6_7(), "\0\0\0\0", 4), 0);
}

TEST(PciLinkCommand, InheritedAccessorHandsOutNoRecord) {
    CReadPCIeCommandBuilder builder;
    EXPECT_NE(builder.getReadPCIeInfoCommand(), nullptr);
    EXPECT_EQ(builder.getCCommandDwordObject(), nullptr);
}

TEST(PciLinkCommand, FailedAllocationIsLoggedAndSetsTheErrorState) {
    TracedHost host;
    CReadPCIeCommandBuilder builder;
    VeskNVMeLibrary_Error::setErrorCode(0);
    host.forgetLines();
    {
        const FailMalloc fault(AllocationSize::exactly(4));
        EXPECT_EQ(builder.buildCommand(), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(builder.getReadPCIeInfoCommand()->getcdw_6_7(), nullptr);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_EQ(host.messages(), (LogLines{"std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL "}));
    EXPECT_TRUE(host.traced("CReadPCIeCommandBuilder::buildCommand()"));
}

TEST(PciLinkCommand, LifeIsTraced) {
    TracedHost host;
    RecordingTalker talker;
    {
        CReadPCIeCommandBuilder builder;
        builder.buildCommand();
        builder.execute();
    }
    EXPECT_TRUE(host.traced("CReadPCIeCommandBuilder::CReadPCIeCommandBuilder()"));
    EXPECT_TRUE(host.traced("CReadPCIeCommandBuilder::buildCommand()"));
    EXPECT_TRUE(host.traced("CReadPCIeCommandBuilder::execute()"));
    EXPECT_TRUE(host.traced("CReadPCIeCommandBuilder::~CReadPCIeCommandBuilder()"));
    EXPECT_EQ(host.messages(), LogLines{});
}

}  // namespace
