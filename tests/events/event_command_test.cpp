// The command that reads a piece of the event log.
#include "memory_faults.h"
#include "recording_talker.h"
#include "traced_host.h"
#include "virtual_slot.h"

#include "api/error_state.h"
#include "events/znv_event_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

namespace {

using vesktest::RecordingTalker;
using vesktest::TracedHost;

using Slots = std::array<UNSIGNED_INTEGER, 12>;

// All dwords but those of addresses: 0 to 3, 8 to 15.
Slots slotsOf(CCommandDword& command) {
    return {command.getcdw0(),  command.getcdw1(),  command.getcdw2(),  command.getcdw3(),
            command.getcdw8(),  command.getcdw9(),  command.getcdw10(), command.getcdw11(),
            command.getcdw12(), command.getcdw13(), command.getcdw14(), command.getcdw15()};
}

TEST(EventCommand, IsOneBuilderOf40BytesWithItsMembersInOrder) {
    ASSERT_EQ(sizeof(CZNVEventBuilder), 40U);
    CZNVEventBuilder builder;
    builder.setZNVEventOffset(0x01020304);
    builder.setZNVEventPageLength(0x05060708);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(&builder);
    const CCommandDword* command = nullptr;
    std::memcpy(&command, bytes + 16, sizeof command);
    EXPECT_EQ(command, builder.getZNVEventCommand());
    EXPECT_EQ(std::memcmp(bytes + 24, "\x04\x03\x02\x01\x08\x07\x06\x05\0\0\0\0\0\0\0\0", 16), 0)
        << "offset, page length, and no buffer yet";
    EXPECT_EQ(builder.buildCommand(), 0);
    const void* buffer = nullptr;
    std::memcpy(&buffer, bytes + 32, sizeof buffer);
    EXPECT_NE(buffer, nullptr);
    EXPECT_EQ(buffer, builder.getZNVEventCommand()->getcdw_6_7());
}

TEST(EventCommand, VirtualOperationsStandInTheirOrder) {
    EXPECT_EQ(vesktest::virtualSlot(&CZNVEventBuilder::buildCommand), 2);
    EXPECT_EQ(vesktest::virtualSlot(&CZNVEventBuilder::execute), 3);
    EXPECT_EQ(vesktest::virtualSlot(&CZNVEventBuilder::getCCommandDwordObject), 4);
}

TEST(EventCommand, StartsWithoutOffsetLengthAndBuffer) {
    CZNVEventBuilder builder;
    EXPECT_EQ(builder.getZNVEventOffset(), 0U);
    EXPECT_EQ(builder.getZNVEventPageLength(), 0U);
    ASSERT_NE(builder.getZNVEventCommand(), nullptr);
    EXPECT_EQ(slotsOf(*builder.getZNVEventCommand()), Slots{});
    EXPECT_EQ(builder.getZNVEventCommand()->getcdw_6_7(), nullptr);
}

TEST(EventCommand, OffsetAndPageLengthAreKept) {
    CZNVEventBuilder builder;
    builder.setZNVEventOffset(0xF000);
    builder.setZNVEventPageLength(0x1000);
    EXPECT_EQ(builder.getZNVEventOffset(), 0xF000U);
    EXPECT_EQ(builder.getZNVEventPageLength(), 0x1000U);
}

TEST(EventCommand, BaseAccessorOfTheRecordIsNotOverridden) {
    CZNVEventBuilder builder;
    EXPECT_EQ(builder.getCCommandDwordObject(), nullptr);
}

TEST(EventCommand, OfAPageFillsItsSlots) {
    CZNVEventBuilder builder;
    builder.setZNVEventOffset(0x3000);
    builder.setZNVEventPageLength(0x1000);
    EXPECT_EQ(builder.buildCommand(), 0);
    CCommandDword& command = *builder.getZNVEventCommand();
    EXPECT_EQ(slotsOf(command),
              (Slots{0xE2, 0, 0, 0, 0, 0x1000, 0x3FF, 0, 0x4FE, 0x3000, 0x1000, 0}));
    EXPECT_NE(command.getcdw_6_7(), nullptr);
    EXPECT_EQ(command.getcdw_4_5(), nullptr);
}

TEST(EventCommand, CarryReadDiffersInOffsetAndLengthOnly) {
    CZNVEventBuilder builder;
    builder.setZNVEventOffset(0x3000);
    builder.setZNVEventPageLength(0x1000);
    EXPECT_EQ(builder.buildCommand(), 0);
    const void* const buffer = builder.getZNVEventCommand()->getcdw_6_7();
    builder.setZNVEventOffset(0x3FF8);
    builder.setZNVEventPageLength(0x10);
    EXPECT_EQ(builder.buildCommand(), 0);
    CCommandDword& command = *builder.getZNVEventCommand();
    EXPECT_EQ(slotsOf(command),
              (Slots{0xE2, 0, 0, 0, 0, 0x1000, 0x3FF, 0, 0x4FE, 0x3FF8, 0x10, 0}));
    EXPECT_EQ(command.getcdw_6_7(), buffer);
}

TEST(EventCommand, WholeBufferIsZeroedOnEveryCall) {
    CZNVEventBuilder builder;
    for (int call = 0; call < 3; ++call) {
        EXPECT_EQ(builder.buildCommand(), 0);
        auto* const buffer =
            static_cast<unsigned char*>(builder.getZNVEventCommand()->getcdw_6_7());
        ASSERT_NE(buffer, nullptr);
        EXPECT_EQ(std::count(buffer, buffer + 4096, 0), 4096);
        std::memset(buffer, 0xEE, 4096);
    }
}

TEST(EventCommand, BufferComesFromMallocOnTheFirstCallOnly) {
    CZNVEventBuilder builder;
    const vesktest::FailMalloc count(vesktest::AllocationSize::exactly(4096), 0);
    EXPECT_EQ(builder.buildCommand(), 0);
    EXPECT_EQ(count.seen(), 1U);
    EXPECT_EQ(builder.buildCommand(), 0);
    EXPECT_EQ(count.seen(), 1U);
}

TEST(EventCommand, SubCommandIsLogged) {
    TracedHost host;
    CZNVEventBuilder builder;
    host.forgetLines();
    builder.buildCommand();
    EXPECT_TRUE(vesktest::contains(host.messages(), "CZNVEventBuilder: CDW12 = 1278"));
}

TEST(EventCommand, WithoutMemoryFailsAndSaysSo) {
    TracedHost host;
    CZNVEventBuilder builder;
    VeskNVMeLibrary_Error::setErrorCode(0);
    host.forgetLines();
    {
        const vesktest::FailMalloc fault(vesktest::AllocationSize::exactly(4096));
        EXPECT_EQ(builder.buildCommand(), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_TRUE(
        vesktest::inOrder(host.messages(), {"CZNVEventBuilder::buildCommand(): std::bad_alloc",
                                            "libVeskNVMe FAILED: ERR_FAIL "}));
    EXPECT_EQ(builder.getZNVEventCommand()->getcdw_6_7(), nullptr);
    EXPECT_EQ(builder.buildCommand(), 0) << "the next call tries again";
    EXPECT_NE(builder.getZNVEventCommand()->getcdw_6_7(), nullptr);
}

TEST(EventCommand, IsSentAsADeviceCommand) {
    RecordingTalker talker;
    CZNVEventBuilder builder;
    builder.setdwIOCTLcode(0);
    EXPECT_EQ(builder.buildCommand(), 0);
    builder.execute();
    EXPECT_EQ(talker.commands, std::vector<CCommandDword*>{builder.getZNVEventCommand()});
    EXPECT_EQ(talker.codes, std::vector<ULONG_INT>{1});
    EXPECT_EQ(builder.getdwIOCTLcode(), 1U);
}

TEST(EventCommand, FailureOfTheDeviceIsNotSeen) {
    RecordingTalker talker;
    talker.result = 1;
    CZNVEventBuilder builder;
    VeskNVMeLibrary_Error::setErrorCode(0);
    EXPECT_EQ(builder.buildCommand(), 0);
    builder.execute();
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TEST(EventCommand, IsDeletedThroughItsBase) {
    std::unique_ptr<ICommandBuilder> builder = std::make_unique<CZNVEventBuilder>();
    EXPECT_EQ(builder->buildCommand(), 0);
    builder.reset();
}

TEST(EventCommand, WorkIsTraced) {
    TracedHost host;
    RecordingTalker talker;
    {
        CZNVEventBuilder builder;
        builder.buildCommand();
        builder.execute();
    }
    for (const char* name :
         {"CZNVEventBuilder::CZNVEventBuilder()", "CZNVEventBuilder::buildCommand()",
          "CZNVEventBuilder::execute()", "CZNVEventBuilder::~CZNVEventBuilder()"}) {
        EXPECT_TRUE(host.traced(name));
    }
}

}  // namespace
