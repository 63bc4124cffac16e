// A command's way to the driver: the record that goes out, and what is made of the answer.
#include "connected_talker.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <array>
#include <thread>
#include <vector>

namespace {

using vesktest::connectedRecord;
using vesktest::ConnectedTalker;
using vesktest::LogLines;
using vesktest::Record;
using vesktest::Reply;
using vesktest::ScriptedDriver;
using vesktest::TracedHost;

const vesktest::HexAt kTimeout = {96, "80 84 1E 00 00 00 00 00"};

class DeviceCommand : public ::testing::Test {
protected:
    DeviceCommand() { host.forgetLines(); }

    CVMWareZNVDeviceTalker& talker() const { return connected.talker(); }

    // Sends a bare command that the driver answers so.
    RESULT sendBare(const Reply& reply) {
        driver.expectCommand(connectedRecord({{0, "E2"}, kTimeout}, false), reply);
        CCommandDword command;
        command.setcdw0(0xE2);
        host.forgetLines();
        return talker().executeCMD(&command, 1);
    }

    RESULT sendBareWithStatus(std::uint16_t completionStatus) {
        Reply reply;
        reply.completionStatus = completionStatus;
        return sendBare(reply);
    }

    TracedHost host;
    ScriptedDriver driver;
    ConnectedTalker connected{driver};
};

const LogLines kSuccess = {"CVMWareZNVDeviceTalker::executeIOCTL: IOCTL call successful",
                           "CVMWareZNVDeviceTalker::executeCMD: Return code: 0"};

TEST_F(DeviceCommand, EverySlotGoesToItsPlaceInTheRecord) {
    std::array<std::uint8_t, 16> buffer{};
    CCommandDword command;
    command.setcdw0(0xABCDFFE2);
    command.setcdw1(0x11223344);
    command.setcdw2(0x22222222);
    command.setcdw3(0x33333333);
    command.setcdw_4_5(reinterpret_cast<VOIDPTR>(0x0102030405060708));
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
}

TEST_F(DeviceCommand, FuseIsTwoBitsOfDwordZero) {
    driver.expectCommand(connectedRecord({{0, "06 02 01 00"}, kTimeout}, false));
    CCommandDword command;
    command.setcdw0(0x0001FE06);
    EXPECT_EQ(talker().executeCMD(&command, 1), 0);
    driver.expectCommand(connectedRecord({{0, "00 01 00 80"}, kTimeout}, false));
    command.setcdw0(0x80000100);
    EXPECT_EQ(talker().executeCMD(&command, 1), 0);
}

TEST_F(DeviceCommand, SlotsTwoAndThreeAreReadableAndGoNowhere) {
    driver.expectCommand(connectedRecord({kTimeout}, false));
    CCommandDword command;
    command.setcdw2(0xFFFFFFFF);
    command.setcdw3(0xEEEEEEEE);
    EXPECT_EQ(talker().executeCMD(&command, 1), 0);
    EXPECT_EQ(command.getcdw2(), 0xFFFFFFFF);
    EXPECT_EQ(command.getcdw3(), 0xEEEEEEEE);
}

TEST_F(DeviceCommand, WithoutABufferDirectionAndAddressAreZero) {
    driver.expectCommand(connectedRecord({{0, "E2"}, {88, "00 10"}, kTimeout}, false));
    CCommandDword command;
    command.setcdw0(0xE2);
    command.setcdw9(0x1000);
    EXPECT_EQ(talker().executeCMD(&command, 1), 0);
    EXPECT_EQ(driver.lastRecord()[81], 0);
    EXPECT_EQ(std::memcmp(&driver.lastRecord()[104], "\0\0\0\0\0\0\0\0", 8), 0);
}

TEST_F(DeviceCommand, ABufferWithoutALengthStillGoesOut) {
    std::array<std::uint8_t, 4> buffer{};
    driver.expectCommand(connectedRecord({{0, "E2"}, {81, "01"}, kTimeout}));
    CCommandDword command;
    command.setcdw0(0xE2);
    command.setcdw_6_7(buffer.data());
    EXPECT_EQ(talker().executeCMD(&command, 1), 0);
    EXPECT_EQ(std::memcmp(&driver.lastRecord()[88], "\0\0\0\0", 4), 0);
}

TEST_F(DeviceCommand, ATransferWithoutMetadataHasNoMetadataAddress) {
    std::array<std::uint8_t, 4> buffer{};
    driver.expectCommand(connectedRecord({{81, "01"}, {88, "04 00 00 00 09 00 00 00"}, kTimeout}));
    CCommandDword command;
    command.setcdw_6_7(buffer.data());
    command.setcdw8(9);
    command.setcdw9(4);
    EXPECT_EQ(talker().executeCMD(&command, 1), 0);
}

TEST_F(DeviceCommand, RequestCodeLosesItsHighHalf) {
    Record expected = connectedRecord({kTimeout}, false);
    expected.requestCode = 0x76543210;
    driver.expectCommand(expected);
    CCommandDword command;
    EXPECT_EQ(talker().executeCMD(&command, 0xFEDCBA9876543210), 0);
    // No request for the link data, although the driver then sees 0.
    expected.requestCode = 0;
    driver.expectCommand(expected);
    EXPECT_EQ(talker().executeCMD(&command, 0x100000000), 0);
}

TEST_F(DeviceCommand, SuccessIsLogged) {
    EXPECT_EQ(sendBare({}), 0);
    EXPECT_EQ(host.messages(), kSuccess);
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::executeCMD()"));
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::executeIOCTL()"));
}

TEST_F(DeviceCommand, PhaseBitAloneIsSuccess) {
    EXPECT_EQ(sendBareWithStatus(0x0001), 0);
    EXPECT_EQ(host.messages(), kSuccess);
}

TEST_F(DeviceCommand, BitsAboveTheStatusCodeTypeAreNotLookedAt) {
    EXPECT_EQ(sendBareWithStatus(0xF001), 0);
    EXPECT_EQ(host.messages(), kSuccess);
}

TEST_F(DeviceCommand, StatusCodeOneIsFailure) {
    EXPECT_EQ(sendBareWithStatus(0x0002), 1);
    EXPECT_EQ(
        host.messages(),
        (LogLines{"CVMWareZNVDeviceTalker::executeIOCTL: IOCTL call unsuccessful. Return code: 0",
                  "CVMWareZNVDeviceTalker::executeIOCTL: UIO status: 0",
                  "CVMWareZNVDeviceTalker::executeIOCTL: Status Code Type: 0",
                  "CVMWareZNVDeviceTalker::executeIOCTL: Status Code: 1",
                  "CVMWareZNVDeviceTalker::executeCMD: Return code: 1"}));
}

TEST_F(DeviceCommand, StatusCodeTypeOneIsFailure) {
    EXPECT_EQ(sendBareWithStatus(0x0200), 1);
    EXPECT_EQ(
        host.messages(),
        (LogLines{"CVMWareZNVDeviceTalker::executeIOCTL: IOCTL call unsuccessful. Return code: 0",
                  "CVMWareZNVDeviceTalker::executeIOCTL: UIO status: 0",
                  "CVMWareZNVDeviceTalker::executeIOCTL: Status Code Type: 1",
                  "CVMWareZNVDeviceTalker::executeIOCTL: Status Code: 0",
                  "CVMWareZNVDeviceTalker::executeCMD: Return code: 1"}));
}

TEST_F(DeviceCommand, StatusIsLoggedWithoutPhaseAndUpperBits) {
    EXPECT_EQ(sendBareWithStatus(0xFFFF), 1);
    EXPECT_TRUE(vesktest::inOrder(host.messages(),
                                  {"CVMWareZNVDeviceTalker::executeIOCTL: Status Code Type: 7",
                                   "CVMWareZNVDeviceTalker::executeIOCTL: Status Code: 255"}));
    // Code 0x81 and type 2, next to each other.
    EXPECT_EQ(sendBareWithStatus(0x0502), 1);
    EXPECT_TRUE(vesktest::inOrder(host.messages(),
                                  {"CVMWareZNVDeviceTalker::executeIOCTL: Status Code Type: 2",
                                   "CVMWareZNVDeviceTalker::executeIOCTL: Status Code: 129"}));
}

TEST_F(DeviceCommand, PlatformErrorIsFailureWithACleanStatus) {
    Reply reply;
    reply.resultCode = 195887;
    reply.uioStatus = 4294967295;
    EXPECT_EQ(sendBare(reply), 1);
    EXPECT_EQ(host.messages(),
              (LogLines{"CVMWareZNVDeviceTalker::executeIOCTL: IOCTL call unsuccessful. Return "
                        "code: 195887",
                        "CVMWareZNVDeviceTalker::executeIOCTL: UIO status: 4294967295",
                        "CVMWareZNVDeviceTalker::executeIOCTL: Status Code Type: 0",
                        "CVMWareZNVDeviceTalker::executeIOCTL: Status Code: 0",
                        "CVMWareZNVDeviceTalker::executeCMD: Return code: 1"}));
}

TEST_F(DeviceCommand, NegativePlatformErrorIsLoggedAsSuch) {
    Reply reply;
    reply.resultCode = -1;
    EXPECT_EQ(sendBare(reply), 1);
    EXPECT_TRUE(vesktest::contains(
        host.messages(),
        "CVMWareZNVDeviceTalker::executeIOCTL: IOCTL call unsuccessful. Return code: -1"));
}

TEST_F(DeviceCommand, DriverStatusAloneIsNoFailure) {
    Reply reply;
    reply.uioStatus = 0x80000001;
    EXPECT_EQ(sendBare(reply), 0);
    EXPECT_EQ(host.messages(), kSuccess);
}

TEST_F(DeviceCommand, FailureChangesNothingAboutTheTalker) {
    const HANDLE handle = talker().getHandle();
    talker().setBDF(BDF{1, 2, 3});
    EXPECT_EQ(sendBareWithStatus(0x0002), 1);
    EXPECT_EQ(talker().getHandle(), handle);
    EXPECT_EQ(talker().getBDF().function, 1);
    EXPECT_EQ(talker().getBDF().device, 2);
    EXPECT_EQ(talker().getBDF().bus, 3);
    EXPECT_EQ(sendBare({}), 0);
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
                CCommandDword command;
                command.setcdw0(0xE2);
                command.setcdw_6_7(buffer.data());
                if (talker().executeCMD(&command, 1) == 0 && buffer[0] == 0x5A &&
                    buffer[1] == 0xA5) {
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

}  // namespace
