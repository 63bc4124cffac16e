// A scan for the controller that runs out of memory or into an exception.
#include "connected_talker.h"
#include "discovery_script.h"
#include "memory_faults.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <array>
#include <new>
#include <stdexcept>

namespace {

using vesktest::AllocationSize;
using vesktest::controllerReply;
using vesktest::expectIdentify;
using vesktest::expectListing;
using vesktest::FailMalloc;
using vesktest::FailNew;
using vesktest::LogLines;
using vesktest::Reply;
using vesktest::ScriptedDriver;
using vesktest::TalkerInstance;
using vesktest::TracedHost;

const char* const kCountFailed =
    "CVMWareZNVDeviceTalker::getControllerCount: Memory Allocation failed: std::bad_alloc";

class DiscoveryFailure : public ::testing::Test {
protected:
    DiscoveryFailure() { host.forgetLines(); }

    // One allocation of this size fails during the scan, whichever way it is made.
    UCHAR_ countWithout(std::size_t size) {
        const FailMalloc mallocFault(AllocationSize::exactly(size));
        if (!vesktest::kCanFailNew) {
            const UCHAR_ count = talker().getControllerCount();
            EXPECT_TRUE(mallocFault.triggered());
            return count;
        }
        const FailNew newFault(AllocationSize::exactly(size));
        const UCHAR_ count = talker().getControllerCount();
        EXPECT_TRUE(mallocFault.triggered() || newFault.triggered());
        return count;
    }

    CVMWareZNVDeviceTalker& talker() const { return instance.talker(); }

    TracedHost host;
    ScriptedDriver driver;
    TalkerInstance instance{driver};
};

TEST_F(DiscoveryFailure, WithoutMemoryForTheListNothingIsAsked) {
    EXPECT_EQ(countWithout(5128), 0);
    EXPECT_EQ(driver.callCount(), 0U);
    EXPECT_EQ(host.messages(), LogLines{kCountFailed});
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::getControllerCount()"));
}

TEST_F(DiscoveryFailure, WithoutMemoryForAHandleTheScanEnds) {
    expectListing(driver, {{"vmhba1", "nvmesig1"}, {"vmhba2", "nvmesig2"}});
    EXPECT_EQ(countWithout(40), 0);
    EXPECT_EQ(talker().getHandle(), nullptr);
    EXPECT_EQ(host.messages(), LogLines{kCountFailed});
}

TEST_F(DiscoveryFailure, WithoutMemoryForIdentifyTheNextAdapterIsTried) {
    expectListing(driver, {{"vmhba1", "nvmesig1"}, {"vmhba2", "nvmesig2"}});
    driver.expectOpen(vesktest::adapterInterface("nvmesig1"), 0, 0xA1);
    driver.expectClose(0xA1);
    expectIdentify(driver, "nvmesig2", 0xA2, controllerReply());
    EXPECT_EQ(countWithout(24), 1);
    EXPECT_EQ(host.messages().front(),
              "CVMWareZNVDeviceTalker::getIdentifyData: Memory allocation failed: std::bad_alloc");
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::getIdentifyData()"));
}

TEST_F(DiscoveryFailure, AllocationFailureBelowIdentifyMovesTheScanOn) {
    expectListing(driver, {{"vmhba1", "nvmesig1"}});
    Reply reply;
    reply.hook = [] {
        throw std::bad_alloc();
    };
    expectIdentify(driver, "nvmesig1", 0xA1, reply);
    driver.expectClose(0xA1);
    EXPECT_EQ(talker().getControllerCount(), 0);
    EXPECT_EQ(
        host.messages(),
        LogLines{
            "CVMWareZNVDeviceTalker::getIdentifyData: Memory allocation failed: std::bad_alloc"});
}

TEST_F(DiscoveryFailure, OtherExceptionBelowIdentifyMovesTheScanOn) {
    expectListing(driver, {{"vmhba1", "nvmesig1"}, {"vmhba2", "nvmesig2"}});
    Reply reply;
    reply.hook = [] {
        throw std::runtime_error("driver fault");
    };
    expectIdentify(driver, "nvmesig1", 0xA1, reply);
    driver.expectClose(0xA1);
    expectIdentify(driver, "nvmesig2", 0xA2, controllerReply());
    EXPECT_EQ(talker().getControllerCount(), 1);
    EXPECT_EQ(host.messages().front(),
              "CVMWareZNVDeviceTalker::getIdentifyData : Exception Error: driver fault");
}

TEST_F(DiscoveryFailure, IdentifyReportsOneForAllOfThem) {
    nvme_handle adapter{{}, 0xA1};
    std::array<std::uint8_t, 4096> buffer{};
    Reply reply;
    reply.hook = [] {
        throw std::runtime_error("driver fault");
    };
    driver.expectCommand(vesktest::identifyRecord(), reply);
    EXPECT_EQ(talker().getIdentifyData(&adapter, buffer.data()), 1);
    reply.hook = nullptr;
    reply.resultCode = 22;
    driver.expectCommand(vesktest::identifyRecord(), reply);
    EXPECT_EQ(talker().getIdentifyData(&adapter, buffer.data()), 1);
    driver.expectCommand(vesktest::identifyRecord(), controllerReply());
    EXPECT_EQ(talker().getIdentifyData(&adapter, buffer.data()), 0);
    EXPECT_EQ(buffer[0], 0x4B);
    EXPECT_EQ(buffer[1], 0x1B);
    EXPECT_NE(buffer[4095], 0);
}

}  // namespace
