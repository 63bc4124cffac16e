// The command record: slots, and the way to whatever talker there is.
#include "connected_talker.h"
#include "recording_talker.h"
#include "traced_host.h"

#include "transport/command_dword.h"

#include <gtest/gtest.h>

namespace {

using vesktest::LogLines;
using vesktest::RecordingTalker;
using vesktest::ScriptedDriver;
using vesktest::TalkerInstance;
using vesktest::TracedHost;

VOIDPTR address(std::uintptr_t value) {
    return reinterpret_cast<VOIDPTR>(value);
}

TEST(CommandRecord, AllSlotsAreZeroAfterConstruction) {
    CCommandDword command;
    EXPECT_EQ(command.getcdw0(), 0U);
    EXPECT_EQ(command.getcdw1(), 0U);
    EXPECT_EQ(command.getcdw2(), 0U);
    EXPECT_EQ(command.getcdw3(), 0U);
    EXPECT_EQ(command.getcdw_4_5(), nullptr);
    EXPECT_EQ(command.getcdw_6_7(), nullptr);
    EXPECT_EQ(command.getcdw8(), 0U);
    EXPECT_EQ(command.getcdw9(), 0U);
    EXPECT_EQ(command.getcdw10(), 0U);
    EXPECT_EQ(command.getcdw11(), 0U);
    EXPECT_EQ(command.getcdw12(), 0U);
    EXPECT_EQ(command.getcdw13(), 0U);
    EXPECT_EQ(command.getcdw14(), 0U);
    EXPECT_EQ(command.getcdw15(), 0U);
}

TEST(CommandRecord, EachSlotKeepsItsOwnValue) {
    CCommandDword command;
    command.setcdw0(0xF0000000);
    command.setcdw1(0xF1000001);
    command.setcdw2(0xF2000002);
    command.setcdw3(0xF3000003);
    command.setcdw_4_5(address(0xF400000500000045));
    command.setcdw_6_7(address(0xF600000700000067));
    command.setcdw8(0xF8000008);
    command.setcdw9(0xF9000009);
    command.setcdw10(0xFA00000A);
    command.setcdw11(0xFB00000B);
    command.setcdw12(0xFC00000C);
    command.setcdw13(0xFD00000D);
    command.setcdw14(0xFE00000E);
    command.setcdw15(0xFF00000F);
    EXPECT_EQ(command.getcdw0(), 0xF0000000);
    EXPECT_EQ(command.getcdw1(), 0xF1000001);
    EXPECT_EQ(command.getcdw2(), 0xF2000002);
    EXPECT_EQ(command.getcdw3(), 0xF3000003);
    EXPECT_EQ(command.getcdw_4_5(), address(0xF400000500000045));
    EXPECT_EQ(command.getcdw_6_7(), address(0xF600000700000067));
    EXPECT_EQ(command.getcdw8(), 0xF8000008);
    EXPECT_EQ(command.getcdw9(), 0xF9000009);
    EXPECT_EQ(command.getcdw10(), 0xFA00000A);
    EXPECT_EQ(command.getcdw11(), 0xFB00000B);
    EXPECT_EQ(command.getcdw12(), 0xFC00000C);
    EXPECT_EQ(command.getcdw13(), 0xFD00000D);
    EXPECT_EQ(command.getcdw14(), 0xFE00000E);
    EXPECT_EQ(command.getcdw15(), 0xFF00000F);
}

TEST(CommandRecord, ExecuteHandsItselfAndTheCodeToTheTalkerAndItsResultBack) {
    RecordingTalker talker;
    CCommandDword command;
    talker.result = 7;
    EXPECT_EQ(command.execute(1), 7);
    talker.result = 0;
    EXPECT_EQ(command.execute(0xFEDCBA9876543210), 0);
    EXPECT_EQ(talker.commands, (std::vector<CCommandDword*>{&command, &command}));
    EXPECT_EQ(talker.codes, (std::vector<ULONG_INT>{1, 0xFEDCBA9876543210}));
}

TEST(CommandRecord, ExecuteAsksForTheTalkerAtEachCommand) {
    CCommandDword command;
    {
        RecordingTalker first;
        EXPECT_EQ(command.execute(1), 0);
        EXPECT_EQ(first.codes.size(), 1U);
    }
    RecordingTalker second;
    EXPECT_EQ(command.execute(1), 0);
    EXPECT_EQ(second.codes.size(), 1U);
}

TEST(CommandRecord, ExecuteIsTraced) {
    TracedHost host;
    RecordingTalker talker;
    CCommandDword command;
    host.forgetLines();
    command.execute(1);
    EXPECT_EQ(host.lines(),
              (LogLines{"CCommandDword::execute() ENTRY ", "CCommandDword::execute() EXIT "}));
}

TEST(CommandRecord, BeforeSetUpNothingIsSentAndOneLineSaysSo) {
    TracedHost host;
    ScriptedDriver driver;
    CCommandDword command;
    host.forgetLines();
    EXPECT_EQ(command.execute(1), 1);
    EXPECT_EQ(host.messages().size(), 1U);
    EXPECT_EQ(command.execute(0), 1);
    EXPECT_EQ(host.messages().size(), 2U);
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST(CommandRecord, AfterTearDownNothingIsSentAndOneLineSaysSo) {
    TracedHost host;
    ScriptedDriver driver;
    { const vesktest::ConnectedTalker connected(driver); }
    ASSERT_EQ(driver.callCount(), 1U);
    ASSERT_NE(IZNVDeviceTalker::OS_OSTYPEPTR_PAIR.second, nullptr);
    CCommandDword command;
    host.forgetLines();
    EXPECT_EQ(command.execute(1), 1);
    EXPECT_EQ(host.messages().size(), 1U);
    EXPECT_EQ(command.execute(0), 1);
    EXPECT_EQ(host.messages().size(), 2U);
    EXPECT_EQ(driver.callCount(), 1U);
}

TEST(CommandRecord, ASecondSetUpSendsAgain) {
    const vesktest::PrivateHost host;
    ScriptedDriver driver;
    { const TalkerInstance gone(driver); }
    const vesktest::ConnectedTalker connected(driver);
    driver.expectCommand(
        vesktest::connectedRecord({{0, "E2"}, {96, "80 84 1E 00 00 00 00 00"}}, false));
    CCommandDword command;
    command.setcdw0(0xE2);
    EXPECT_EQ(command.execute(1), 0);
}

}  // namespace
