// What the command that reads a piece of the event log has for itself; what it shares with all
// commands is in transport/command_builders_test.cpp.
#include "memory_faults.h"

#include "events/znv_event_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace {

TEST(EventCommand, IsOneBuilderOf40BytesWithItsMembersInOrder) {
    ASSERT_EQ(sizeof(CZNVEventBuilder), 40U);
    CZNVEventBuilder builder;
    builder.setZNVEventOffset(0x01020304);
    builder.setZNVEventPageLength(0x05060708);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(&builder);
    const CCommandDword* command = nullptr;
    // NOLINTNEXTLINE(bugprone-sizeof-expression): it is the pointer that is read
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

TEST(EventCommand, OffsetAndPageLengthAreZeroAndThenKept) {
    CZNVEventBuilder builder;
    EXPECT_EQ(builder.getZNVEventOffset(), 0U);
    EXPECT_EQ(builder.getZNVEventPageLength(), 0U);
    builder.setZNVEventOffset(0xF000);
    builder.setZNVEventPageLength(0x1000);
    EXPECT_EQ(builder.getZNVEventOffset(), 0xF000U);
    EXPECT_EQ(builder.getZNVEventPageLength(), 0x1000U);
}

TEST(EventCommand, CarryReadDiffersInOffsetAndLengthOnly) {
    CZNVEventBuilder builder;
    CCommandDword& command = *builder.getZNVEventCommand();
    builder.setZNVEventOffset(0x3000);
    builder.setZNVEventPageLength(0x1000);
    EXPECT_EQ(builder.buildCommand(), 0);
    EXPECT_EQ(command.getcdw13(), 0x3000U);
    EXPECT_EQ(command.getcdw14(), 0x1000U);
    builder.setZNVEventOffset(0x3FF8);
    builder.setZNVEventPageLength(0x10);
    EXPECT_EQ(builder.buildCommand(), 0);
    EXPECT_EQ(command.getcdw0(), 0xE2U);
    EXPECT_EQ(command.getcdw9(), 0x1000U);
    EXPECT_EQ(command.getcdw10(), 0x3FFU);
    EXPECT_EQ(command.getcdw12(), 0x4FEU);
    EXPECT_EQ(command.getcdw13(), 0x3FF8U);
    EXPECT_EQ(command.getcdw14(), 0x10U);
    EXPECT_EQ(command.getcdw15(), 0U);
}

TEST(EventCommand, OneBufferServesAllReadsAndIsZeroedForEach) {
    CZNVEventBuilder builder;
    const vesktest::FailMalloc count(vesktest::AllocationSize::exactly(4096), 0);
    const void* first = nullptr;
    for (int call = 0; call < 3; ++call) {
        EXPECT_EQ(builder.buildCommand(), 0);
        auto* const buffer =
            static_cast<unsigned char*>(builder.getZNVEventCommand()->getcdw_6_7());
        ASSERT_NE(buffer, nullptr);
        first = call == 0 ? buffer : first;
        EXPECT_EQ(buffer, first);
        EXPECT_EQ(std::count(buffer, buffer + 4096, 0), 4096);
        std::memset(buffer, 0xEE, 4096);
    }
    EXPECT_EQ(count.seen(), 1U);
}

}  // namespace
