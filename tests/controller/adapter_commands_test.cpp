// The three reads of an adapter page.
#include "adapter_page.h"
#include "connected_talker.h"
#include "memory_faults.h"
#include "recording_talker.h"
#include "traced_host.h"

#include "api/error_state.h"
#include "controller/adapter_config_builder.h"
#include "controller/adapter_info_builder.h"
#include "controller/adapter_oem_data_builder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

using vesktest::AllocationSize;
using vesktest::connectedRecord;
using vesktest::ConnectedTalker;
using vesktest::FailMalloc;
using vesktest::LogLines;
using vesktest::PrivateHost;
using vesktest::RecordingTalker;
using vesktest::Reply;
using vesktest::ScriptedDriver;
using vesktest::TracedHost;

const vesktest::HexAt kTimeout = {96, "80 84 1E 00 00 00 00 00"};

struct InfoCommand {
    static constexpr const char* kName = "Info";
    using Builder = CAdapterInfoBuilder;
    static CCommandDword& of(Builder& builder) { return *builder.getAdapterInfoCommand(); }
    static constexpr UNSIGNED_INTEGER kSubCommand = 0xE0;
    static constexpr UNSIGNED_INTEGER kDword14 = 0xD;
    static vesktest::Record record() {
        return connectedRecord({{0, "E2"},
                                {40, "00 04"},
                                {48, "E0"},
                                {56, "0D"},
                                {81, "01"},
                                {88, "00 10"},
                                kTimeout});
    }
};

struct ConfigCommand {
    static constexpr const char* kName = "Config";
    using Builder = CAdapterConfigBuilder;
    static CCommandDword& of(Builder& builder) { return *builder.getAdapterConfigCommand(); }
    static constexpr UNSIGNED_INTEGER kSubCommand = 0xE1;
    static constexpr UNSIGNED_INTEGER kDword14 = 0;
    static vesktest::Record record() {
        return connectedRecord(
            {{0, "E2"}, {40, "00 04"}, {48, "E1"}, {81, "01"}, {88, "00 10"}, kTimeout});
    }
};

struct OemDataCommand {
    static constexpr const char* kName = "OemData";
    using Builder = CAdapterOEMDataBuilder;
    static CCommandDword& of(Builder& builder) { return *builder.getAdapterOEMDataCommand(); }
    static constexpr UNSIGNED_INTEGER kSubCommand = 0xE4;
    static constexpr UNSIGNED_INTEGER kDword14 = 0;
    static vesktest::Record record() {
        return connectedRecord(
            {{0, "E2"}, {40, "00 04"}, {48, "E4"}, {81, "01"}, {88, "00 10"}, kTimeout});
    }
};

std::vector<std::uint8_t> bufferOf(CCommandDword& command) {
    const auto* const bytes = static_cast<const std::uint8_t*>(command.getcdw_6_7());
    return {bytes, bytes + 4096};
}

template <typename Command>
class EachAdapterCommand : public ::testing::Test {
protected:
    typename Command::Builder builder;
    CCommandDword& command = Command::of(builder);
};

struct CommandNames {
    template <typename Command>
    static std::string GetName(int) {
        return Command::kName;
    }
};

using Commands = ::testing::Types<InfoCommand, ConfigCommand, OemDataCommand>;
TYPED_TEST_SUITE(EachAdapterCommand, Commands, CommandNames);

TYPED_TEST(EachAdapterCommand, IsEmptyBeforeItIsBuilt) {
    EXPECT_EQ(this->command.getcdw0(), 0U);
    EXPECT_EQ(this->command.getcdw_6_7(), nullptr);
    EXPECT_EQ(this->command.getcdw9(), 0U);
    EXPECT_EQ(this->command.getcdw12(), 0U);
}

TYPED_TEST(EachAdapterCommand, BuildFillsTheSlots) {
    EXPECT_EQ(this->builder.buildCommand(), 0);
    EXPECT_EQ(this->command.getcdw0(), 0xE2U);
    EXPECT_EQ(this->command.getcdw1(), 0U);
    EXPECT_EQ(this->command.getcdw2(), 0U);
    EXPECT_EQ(this->command.getcdw3(), 0U);
    EXPECT_EQ(this->command.getcdw_4_5(), nullptr);
    EXPECT_NE(this->command.getcdw_6_7(), nullptr);
    EXPECT_EQ(this->command.getcdw8(), 0U);
    EXPECT_EQ(this->command.getcdw9(), 0x1000U);
    EXPECT_EQ(this->command.getcdw10(), 0x400U);
    EXPECT_EQ(this->command.getcdw11(), 0U);
    EXPECT_EQ(this->command.getcdw12(), TypeParam::kSubCommand);
    EXPECT_EQ(this->command.getcdw13(), 0U);
    EXPECT_EQ(this->command.getcdw14(), TypeParam::kDword14);
    EXPECT_EQ(this->command.getcdw15(), 0U);
}

TYPED_TEST(EachAdapterCommand, BufferIsClearedWhateverMemoryHeld) {
    // The allocator may hand out a block that was written to.
    void* const dirty = std::malloc(4096);
    ASSERT_NE(dirty, nullptr);
    volatile std::uint8_t* const bytes = static_cast<std::uint8_t*>(dirty);
    for (int i = 0; i < 4096; ++i) {
        bytes[i] = 0xEE;
    }
    std::free(dirty);
    EXPECT_EQ(this->builder.buildCommand(), 0);
    EXPECT_EQ(bufferOf(this->command), std::vector<std::uint8_t>(4096, 0));
}

TYPED_TEST(EachAdapterCommand, GoesOutAndItsReplyArrivesInTheBuffer) {
    const PrivateHost host;
    ScriptedDriver driver;
    const ConnectedTalker connected(driver);
    const std::vector<std::uint8_t> page = vesktest::noise(4096, 99);
    driver.expectCommand(TypeParam::record(), vesktest::pageReply(page));
    EXPECT_EQ(this->builder.buildCommand(), 0);
    this->builder.execute();
    EXPECT_EQ(bufferOf(this->command), page);
}

TYPED_TEST(EachAdapterCommand, FailedCommandLeavesZerosAndReturnsNormally) {
    const PrivateHost host;
    ScriptedDriver driver;
    const ConnectedTalker connected(driver);
    Reply reply;
    reply.completionStatus = 0x0002;
    driver.expectCommand(TypeParam::record(), reply);
    VeskNVMeLibrary_Error::setErrorCode(0);
    EXPECT_EQ(this->builder.buildCommand(), 0);
    this->builder.execute();
    EXPECT_EQ(bufferOf(this->command), std::vector<std::uint8_t>(4096, 0));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TYPED_TEST(EachAdapterCommand, SendsCodeOneWhateverItWas) {
    RecordingTalker talker;
    this->builder.buildCommand();
    this->builder.setdwIOCTLcode(0xFFFFFFFFFFFFFFFF);
    this->builder.execute();
    EXPECT_EQ(talker.codes, std::vector<ULONG_INT>{1});
    EXPECT_EQ(talker.commands, std::vector<CCommandDword*>{&this->command});
    EXPECT_EQ(this->builder.getdwIOCTLcode(), 1U);
}

TYPED_TEST(EachAdapterCommand, InheritedAccessorHandsOutNoRecord) {
    EXPECT_EQ(this->builder.getCCommandDwordObject(), nullptr);
    this->builder.buildCommand();
    EXPECT_EQ(this->builder.getCCommandDwordObject(), nullptr);
}

TYPED_TEST(EachAdapterCommand, FailedAllocationIsLoggedAndSetsTheErrorState) {
    TracedHost host;
    VeskNVMeLibrary_Error::setErrorCode(0);
    host.forgetLines();
    {
        const FailMalloc fault(AllocationSize::exactly(4096));
        EXPECT_EQ(this->builder.buildCommand(), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(this->command.getcdw_6_7(), nullptr);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_EQ(host.messages(), (LogLines{"std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL "}));
}

template <typename Builder>
void buildAndExecute() {
    Builder builder;
    builder.buildCommand();
    builder.execute();
}

TEST(AdapterCommands, InfoIsTraced) {
    TracedHost host;
    RecordingTalker talker;
    buildAndExecute<CAdapterInfoBuilder>();
    EXPECT_TRUE(host.traced("CAdapterInfoBuilder::CAdapterInfoBuilder()"));
    EXPECT_TRUE(host.traced("CAdapterInfoBuilder::buildCommand()"));
    EXPECT_TRUE(host.traced("CAdapterInfoBuilder::execute()"));
    EXPECT_TRUE(host.traced("CAdapterInfoBuilder::~CAdapterInfoBuilder()"));
    EXPECT_EQ(host.messages(), LogLines{});
}

TEST(AdapterCommands, OemDataIsTraced) {
    TracedHost host;
    RecordingTalker talker;
    buildAndExecute<CAdapterOEMDataBuilder>();
    EXPECT_TRUE(host.traced("CAdapterOEMDataBuilder::CAdapterOEMDataBuilder()"));
    EXPECT_TRUE(host.traced("CAdapterOEMDataBuilder::buildCommand()"));
    EXPECT_TRUE(host.traced("CAdapterOEMDataBuilder::execute()"));
    EXPECT_TRUE(host.traced("CAdapterOEMDataBuilder::~CAdapterOEMDataBuilder()"));
    EXPECT_EQ(host.messages(), LogLines{});
}

TEST(AdapterCommands, ConfigBuildHasNoTraceLines) {
    TracedHost host;
    RecordingTalker talker;
    buildAndExecute<CAdapterConfigBuilder>();
    EXPECT_TRUE(host.traced("CAdapterConfigBuilder::CAdapterConfigBuilder()"));
    EXPECT_TRUE(host.traced("CAdapterConfigBuilder::execute()"));
    EXPECT_TRUE(host.traced("CAdapterConfigBuilder::~CAdapterConfigBuilder()"));
    EXPECT_FALSE(vesktest::containsPart(host.lines(), "CAdapterConfigBuilder::buildCommand()"));
    EXPECT_EQ(host.messages(), LogLines{});
}

TEST(AdapterCommands, FailedInfoBuildIsTracedToItsEnd) {
    TracedHost host;
    CAdapterInfoBuilder builder;
    const FailMalloc fault(AllocationSize::exactly(4096));
    EXPECT_EQ(builder.buildCommand(), 1);
    EXPECT_TRUE(host.traced("CAdapterInfoBuilder::buildCommand()"));
}

}  // namespace
