// What a command makes of exceptions and of a lack of memory on its way.
#include "connected_talker.h"
#include "memory_faults.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <stdexcept>

namespace {

using vesktest::AllocationSize;
using vesktest::connectedRecord;
using vesktest::ConnectedTalker;
using vesktest::FailMalloc;
using vesktest::LogLines;
using vesktest::Reply;
using vesktest::ScriptedDriver;
using vesktest::TalkerInstance;
using vesktest::TracedHost;

class DeviceCommandFailure : public ::testing::Test {
protected:
    void expectThrowingDriver(const std::function<void()>& hook) {
        Reply reply;
        reply.hook = hook;
        driver.expectCommand(connectedRecord({{96, "80 84 1E 00 00 00 00 00"}}, false), reply);
        host.forgetLines();
    }

    RESULT send() { return connected.talker().executeCMD(&command, 1); }

    TracedHost host;
    ScriptedDriver driver;
    ConnectedTalker connected{driver};
    CCommandDword command;
};

TEST_F(DeviceCommandFailure, WithoutMemoryForTheRequestNothingIsSent) {
    host.forgetLines();
    {
        const FailMalloc fault(AllocationSize::exactly(24));
        EXPECT_EQ(send(), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(driver.callCount(), 0U);
    EXPECT_EQ(
        host.messages(),
        (LogLines{"CVMWareZNVDeviceTalker::executeCMD: Memory allocation failed: std::bad_alloc",
                  "CVMWareZNVDeviceTalker::executeCMD: Return code: 1"}));
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::executeCMD()"));
}

TEST_F(DeviceCommandFailure, AllocationFailureBelowIsCaught) {
    expectThrowingDriver([] { throw std::bad_alloc(); });
    EXPECT_EQ(send(), 1);
    EXPECT_EQ(
        host.messages(),
        (LogLines{"CVMWareZNVDeviceTalker::executeCMD: Memory allocation failed: std::bad_alloc",
                  "CVMWareZNVDeviceTalker::executeCMD: Return code: 1"}));
    // The exception left executeIOCTL on its way.
    EXPECT_FALSE(vesktest::contains(host.lines(), "CVMWareZNVDeviceTalker::executeIOCTL() EXIT "));
}

TEST_F(DeviceCommandFailure, OtherStandardExceptionBelowIsCaught) {
    expectThrowingDriver([] { throw std::runtime_error("driver fault"); });
    EXPECT_EQ(send(), 1);
    EXPECT_EQ(host.messages(),
              (LogLines{"CVMWareZNVDeviceTalker::executeCMD : Exception Error: driver fault",
                        "CVMWareZNVDeviceTalker::executeCMD: Return code: 1"}));
}

TEST_F(DeviceCommandFailure, WhatIsNoStandardExceptionPasses) {
    expectThrowingDriver([] { throw 42; });
    EXPECT_THROW(send(), int);
    EXPECT_EQ(host.messages(), LogLines{});
    EXPECT_FALSE(vesktest::contains(host.lines(), "CVMWareZNVDeviceTalker::executeCMD() EXIT "));
}

TEST_F(DeviceCommandFailure, NextCommandGoesOutAsUsual) {
    expectThrowingDriver([] { throw std::runtime_error("driver fault"); });
    EXPECT_EQ(send(), 1);
    driver.expectCommand(connectedRecord({{96, "80 84 1E 00 00 00 00 00"}}, false));
    EXPECT_EQ(send(), 0);
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
