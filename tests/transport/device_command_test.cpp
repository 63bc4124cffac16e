// A command's way to the driver: its slots, whichever talker there is, the record that goes out,
// what is made of the answer, and of what fails on the way.
#include "connected_talker.h"
#include "memory_faults.h"
#include "recording_talker.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <functional>
#include <new>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using namespace vesktest;

const HexAt kTimeout = {96, "80 84 1E 00 00 00 00 00"};

VOIDPTR address(std::uintptr_t value) {
    return reinterpret_cast<VOIDPTR>(value);
}

// The slots that hold numbers, from dword 0 on.
std::array<UNSIGNED_INTEGER, 12> numbersOf(CCommandDword& command) {
    return {command.getcdw0(),  command.getcdw1(),  command.getcdw2(),  command.getcdw3(),
            command.getcdw8(),  command.getcdw9(),  command.getcdw10(), command.getcdw11(),
            command.getcdw12(), command.getcdw13(), command.getcdw14(), command.getcdw15()};
}

TEST(CommandRecord, EachSlotIsZeroAndThenKeepsItsOwnValue) {
    CCommandDword command;
    EXPECT_EQ(numbersOf(command), (std::array<UNSIGNED_INTEGER, 12>{}));
    EXPECT_EQ(command.getcdw_4_5(), nullptr);
    EXPECT_EQ(command.getcdw_6_7(), nullptr);
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
    EXPECT_EQ(numbersOf(command),
              (std::array<UNSIGNED_INTEGER, 12>{0xF0000000, 0xF1000001, 0xF2000002, 0xF3000003,
                                                0xF8000008, 0xF9000009, 0xFA00000A, 0xFB00000B,
                                                0xFC00000C, 0xFD00000D, 0xFE00000E, 0xFF00000F}));
    EXPECT_EQ(command.getcdw_4_5(), address(0xF400000500000045));
    EXPECT_EQ(command.getcdw_6_7(), address(0xF600000700000067));
}

TEST(CommandRecord, ExecuteHandsItselfAndTheCodeToTheTalkerAndItsResultBack) {
    TracedHost host;
    RecordingTalker talker;
    CCommandDword command;
    talker.result = 7;
    host.forgetLines();
    EXPECT_EQ(command.execute(1), 7);
    EXPECT_EQ(host.lines(),
              (LogLines{"CCommandDword::execute() ENTRY ", "CCommandDword::execute() EXIT "}));
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
    { const ConnectedTalker connected(driver); }
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
    const PrivateHost host;
    ScriptedDriver driver;
    { const TalkerInstance gone(driver); }
    const ConnectedTalker connected(driver);
    driver.expectCommand(connectedRecord({{0, "E2"}, kTimeout}, false));
    CCommandDword command;
    command.setcdw0(0xE2);
    EXPECT_EQ(command.execute(1), 0);
}

// A command that names its operation and nothing else, over a connection.
class DeviceCommand : public ::testing::Test {
protected:
    DeviceCommand() {
        command.setcdw0(0xE2);
        host.forgetLines();
    }

    CVMWareZNVDeviceTalker& talker() const { return connected.talker(); }

    // Sends it to a driver that answers so.
    RESULT send(const Reply& reply = {}) {
        driver.expectCommand(connectedRecord({{0, "E2"}, kTimeout}, false), reply);
        host.forgetLines();
        return talker().executeCMD(&command, 1);
    }

    RESULT sendToThrowingDriver(const std::function<void()>& hook) {
        Reply reply;
        reply.hook = hook;
        return send(reply);
    }

    TracedHost host;
    ScriptedDriver driver;
    ConnectedTalker connected{driver};
    CCommandDword command;
};

TEST_F(DeviceCommand, EverySlotGoesToItsPlaceInTheRecord) {
    std::array<std::uint8_t, 16> buffer{};
    command.setcdw0(0xABCDFFE2);
    command.setcdw1(0x11223344);
    command.setcdw2(0x22222222);
    command.setcdw3(0x33333333);
    command.setcdw_4_5(address(0x0102030405060708));
    command.setcdw_6_7(buffer.data());
    command.setcdw8(0x81828384);
    command.setcdw9(0x91929394);
    command.setcdw10(0xA1A2A3A4);
    command.setcdw11(0xB1B2B3B4);
    command.setcdw12(0xC1C2C3C4);
    command.setcdw13(0xD1D2D3D4);
    command.setcdw14(0xE1E2E3E4);
    command.setcdw15(0xF1F2F3F4);
    Reply reply;
    reply.bytes = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    reply.bufferSize = 16;
    driver.expectCommand(connectedRecord({{0, "E2 03 CD AB"},
                                          {4, "44 33 22 11"},
                                          {40, "A4 A3 A2 A1 B4 B3 B2 B1 C4 C3 C2 C1"},
                                          {52, "D4 D3 D2 D1 E4 E3 E2 E1 F4 F3 F2 F1"},
                                          {80, "44 01"},
                                          {88, "94 93 92 91 84 83 82 81"},
                                          kTimeout,
                                          {112, "08 07 06 05 04 03 02 01"}}),
                         reply);
    EXPECT_EQ(talker().executeCMD(&command, 1), 0);
    // The driver writes straight into the command's buffer.
    EXPECT_EQ(buffer, (std::array<std::uint8_t, 16>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14,
                                                    15, 16}));
    const void* const data = buffer.data();
    EXPECT_EQ(std::memcmp(&driver.lastRecord()[104], &data, 8), 0);
    // Slots 2 and 3 went nowhere, and are still readable.
    EXPECT_EQ(command.getcdw2(), 0x22222222U);
    EXPECT_EQ(command.getcdw3(), 0x33333333U);
}

TEST_F(DeviceCommand, FuseIsTwoBitsOfDwordZero) {
    driver.expectCommand(connectedRecord({{0, "06 02 01 00"}, kTimeout}, false));
    command.setcdw0(0x0001FE06);
    EXPECT_EQ(talker().executeCMD(&command, 1), 0);
    driver.expectCommand(connectedRecord({{0, "00 01 00 80"}, kTimeout}, false));
    command.setcdw0(0x80000100);
    EXPECT_EQ(talker().executeCMD(&command, 1), 0);
}

TEST_F(DeviceCommand, WithoutABufferDirectionAndAddressAreZero) {
    driver.expectCommand(connectedRecord({{0, "E2"}, {88, "00 10"}, kTimeout}, false));
    command.setcdw9(0x1000);
    EXPECT_EQ(talker().executeCMD(&command, 1), 0);
    EXPECT_EQ(driver.lastRecord()[81], 0);
    EXPECT_EQ(std::memcmp(&driver.lastRecord()[104], "\0\0\0\0\0\0\0\0", 8), 0);
}

TEST_F(DeviceCommand, ABufferWithoutALengthStillGoesOut) {
    std::array<std::uint8_t, 4> buffer{};
    driver.expectCommand(connectedRecord({{0, "E2"}, {81, "01"}, kTimeout}));
    command.setcdw_6_7(buffer.data());
    EXPECT_EQ(talker().executeCMD(&command, 1), 0);
    EXPECT_EQ(std::memcmp(&driver.lastRecord()[88], "\0\0\0\0", 4), 0);
}

TEST_F(DeviceCommand, ATransferWithoutMetadataHasNoMetadataAddress) {
    std::array<std::uint8_t, 4> buffer{};
    driver.expectCommand(
        connectedRecord({{0, "E2"}, {81, "01"}, {88, "04 00 00 00 09 00 00 00"}, kTimeout}));
    command.setcdw_6_7(buffer.data());
    command.setcdw8(9);
    command.setcdw9(4);
    EXPECT_EQ(talker().executeCMD(&command, 1), 0);
}

TEST_F(DeviceCommand, RequestCodeLosesItsHighHalf) {
    Record expected = connectedRecord({{0, "E2"}, kTimeout}, false);
    expected.requestCode = 0x76543210;
    driver.expectCommand(expected);
    EXPECT_EQ(talker().executeCMD(&command, 0xFEDCBA9876543210), 0);
    // No request for the link data, although the driver then sees 0.
    expected.requestCode = 0;
    driver.expectCommand(expected);
    EXPECT_EQ(talker().executeCMD(&command, 0x100000000), 0);
}

struct Outcome {
    const char* what;
    std::uint16_t completionStatus;
    int resultCode;
    std::uint32_t uioStatus;
    // The numbers of the four lines of a failure; none on success.
    std::vector<const char*> logged;
};

TEST_F(DeviceCommand, OutcomeFollowsPlatformAndCompletionStatus) {
    const Outcome outcomes[] = {
        {"nothing set", 0x0000, 0, 0, {}},
        {"the phase bit alone", 0x0001, 0, 0, {}},
        {"bits above the status code type", 0xF001, 0, 0, {}},
        {"the driver's own status alone", 0x0000, 0, 0x80000001, {}},
        {"status code 1", 0x0002, 0, 0, {"0", "0", "0", "1"}},
        {"status code type 1", 0x0200, 0, 0, {"0", "0", "1", "0"}},
        {"code and type beside each other", 0x0502, 0, 0, {"0", "0", "2", "129"}},
        {"all bits", 0xFFFF, 0, 0, {"0", "0", "7", "255"}},
        {"the platform", 0x0000, 195887, 4294967295, {"195887", "4294967295", "0", "0"}},
        {"a negative code of the platform", 0x0000, -1, 0, {"-1", "0", "0", "0"}},
    };
    for (const Outcome& now : outcomes) {
        SCOPED_TRACE(now.what);
        Reply reply;
        reply.completionStatus = now.completionStatus;
        reply.resultCode = now.resultCode;
        reply.uioStatus = now.uioStatus;
        const bool fails = !now.logged.empty();
        EXPECT_EQ(send(reply), fails ? 1 : 0);
        EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::executeCMD()"));
        EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::executeIOCTL()"));
        if (!fails) {
            EXPECT_EQ(host.messages(),
                      (LogLines{"CVMWareZNVDeviceTalker::executeIOCTL: IOCTL call successful",
                                "CVMWareZNVDeviceTalker::executeCMD: Return code: 0"}));
            continue;
        }
        const std::string own = "CVMWareZNVDeviceTalker::executeIOCTL: ";
        EXPECT_EQ(host.messages(),
                  (LogLines{own + "IOCTL call unsuccessful. Return code: " + now.logged[0],
                            own + "UIO status: " + now.logged[1],
                            own + "Status Code Type: " + now.logged[2],
                            own + "Status Code: " + now.logged[3],
                            "CVMWareZNVDeviceTalker::executeCMD: Return code: 1"}));
    }
}

TEST_F(DeviceCommand, FailureChangesNothingAboutTheTalker) {
    const HANDLE handle = talker().getHandle();
    talker().setBDF(BDF{1, 2, 3});
    Reply refusal;
    refusal.completionStatus = 0x0002;
    EXPECT_EQ(send(refusal), 1);
    EXPECT_EQ(talker().getHandle(), handle);
    EXPECT_EQ(talker().getBDF().function, 1);
    EXPECT_EQ(talker().getBDF().device, 2);
    EXPECT_EQ(talker().getBDF().bus, 3);
    EXPECT_EQ(send(), 0);
}

TEST_F(DeviceCommand, RequestWithoutHandleOrRecordIsNotSent) {
    nvme_uio uio{};
    znvTalkerMulti request{nullptr, 1, &uio};
    EXPECT_EQ(talker().executeIOCTL(&request), 1);
    request.handle = static_cast<nvme_handle*>(talker().getHandle());
    request.uio = nullptr;
    EXPECT_EQ(talker().executeIOCTL(&request), 1);
    EXPECT_EQ(driver.callCount(), 0U);
    EXPECT_EQ(host.messages(), LogLines{});
}

TEST_F(DeviceCommand, WithoutMemoryForTheRequestNothingIsSent) {
    {
        const FailMalloc fault(AllocationSize::exactly(24));
        EXPECT_EQ(talker().executeCMD(&command, 1), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(driver.callCount(), 0U);
    EXPECT_EQ(
        host.messages(),
        (LogLines{"CVMWareZNVDeviceTalker::executeCMD: Memory allocation failed: std::bad_alloc",
                  "CVMWareZNVDeviceTalker::executeCMD: Return code: 1"}));
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::executeCMD()"));
}

TEST_F(DeviceCommand, ExceptionsOfTheDriverFailTheCommandAndTheNextGoesOutAsUsual) {
    EXPECT_EQ(sendToThrowingDriver([] { throw std::bad_alloc(); }), 1);
    EXPECT_EQ(
        host.messages(),
        (LogLines{"CVMWareZNVDeviceTalker::executeCMD: Memory allocation failed: std::bad_alloc",
                  "CVMWareZNVDeviceTalker::executeCMD: Return code: 1"}));
    // The exception left executeIOCTL on its way.
    EXPECT_FALSE(contains(host.lines(), "CVMWareZNVDeviceTalker::executeIOCTL() EXIT "));
    EXPECT_EQ(sendToThrowingDriver([] { throw std::runtime_error("driver fault"); }), 1);
    EXPECT_EQ(host.messages(),
              (LogLines{"CVMWareZNVDeviceTalker::executeCMD : Exception Error: driver fault",
                        "CVMWareZNVDeviceTalker::executeCMD: Return code: 1"}));
    EXPECT_EQ(send(), 0);
}

TEST_F(DeviceCommand, WhatIsNoStandardExceptionPasses) {
    EXPECT_THROW(sendToThrowingDriver([] { throw 42; }), int);
    EXPECT_EQ(host.messages(), LogLines{});
    EXPECT_FALSE(contains(host.lines(), "CVMWareZNVDeviceTalker::executeCMD() EXIT "));
}

TEST_F(DeviceCommand, CommandsOfTwoThreadsMeet) {
    constexpr int kEach = 50;
    Reply reply;
    reply.bytes = {0x5A, 0xA5};
    reply.bufferSize = 2;
    for (int i = 0; i < 2 * kEach; ++i) {
        driver.expectCommand(connectedRecord({{0, "E2"}, {81, "01"}, kTimeout}), reply);
    }
    std::array<int, 2> answered{};
    std::vector<std::thread> threads;
    for (int& mine : answered) {
        threads.emplace_back([this, &mine] {
            for (int i = 0; i < kEach; ++i) {
                std::array<std::uint8_t, 2> buffer{};
                CCommandDword own;
                own.setcdw0(0xE2);
                own.setcdw_6_7(buffer.data());
                if (talker().executeCMD(&own, 1) == 0 && buffer[0] == 0x5A && buffer[1] == 0xA5) {
                    ++mine;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(answered, (std::array<int, 2>{50, 50}));
}

TEST(UnconnectedTalker, CommandFailsWithoutReachingTheDriver) {
    TracedHost host;
    ScriptedDriver driver;
    const TalkerInstance instance(driver);
    CCommandDword command;
    command.setcdw0(0xE2);
    host.forgetLines();
    EXPECT_EQ(instance.talker().executeCMD(&command, 1), 1);
    EXPECT_EQ(driver.callCount(), 0U);
    EXPECT_EQ(host.messages(), LogLines{"CVMWareZNVDeviceTalker::executeCMD: Return code: 1"});
}

}  // namespace
