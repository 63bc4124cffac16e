#include "raw_host.h"

#include "sim/host/simulated_host.h"
#include "transport/vmk_mgmt.h"

#include <gtest/gtest.h>

using vesksim::SimulatedHost;

namespace {

int invoke(std::uint64_t handle) {
    std::uint32_t request = 1;
    simtest::CommandRecord record = simtest::locate(0);
    return vmk_MgmtUserCallbackInvokeInt(handle, 0, 17, 2, &request, record.data());
}

TEST(Handles, AreUsableUntilTheyAreDestroyed) {
    SimulatedHost::instance().load({});
    std::uint64_t first = 0;
    std::uint64_t second = 0;
    ASSERT_EQ(simtest::adapterOpening().open(&first), 0);
    ASSERT_EQ(simtest::adapterOpening().open(&second), 0);
    EXPECT_NE(first, 0U);
    EXPECT_NE(second, 0U);
    EXPECT_NE(first, second);
    EXPECT_EQ(SimulatedHost::instance().openHandles(), 2U);

    EXPECT_EQ(vmk_MgmtUserDestroy(first), 0);
    EXPECT_EQ(SimulatedHost::instance().openHandles(), 1U);
    EXPECT_EQ(invoke(first), 1021);
    EXPECT_EQ(vmk_MgmtUserDestroy(first), 1021);
    EXPECT_EQ(invoke(second), 0);
    EXPECT_EQ(vmk_MgmtUserDestroy(second), 0);
}

TEST(Handles, ThatWereNeverGivenOutAreUnknown) {
    SimulatedHost::instance().load({});
    EXPECT_EQ(invoke(0), 1020);
    EXPECT_EQ(invoke(1), 1020);
    EXPECT_EQ(vmk_MgmtUserDestroy(12345), 1020);
}

TEST(Handles, OfAHostThatStartedOverAreUnknown) {
    SimulatedHost::instance().load({});
    std::uint64_t old = 0;
    ASSERT_EQ(simtest::adapterOpening().open(&old), 0);
    SimulatedHost::instance().load({});
    EXPECT_EQ(invoke(old), 1020);
    EXPECT_EQ(SimulatedHost::instance().openHandles(), 0U);
}

TEST(Handles, AreNotGivenWhereOpeningIsToFail) {
    SimulatedHost::instance().load({});
    SimulatedHost::instance().failOpen("nvmeMgmt-vmhba2", 195887105);
    std::uint64_t handle = 0xA5;
    EXPECT_EQ(simtest::adapterOpening().open(&handle), 195887105);
    EXPECT_EQ(handle, 0xA5U);
    SimulatedHost::instance().failOpen("nvmeMgmt-vmhba2", 0);
    EXPECT_EQ(simtest::adapterOpening().open(&handle), 0);
    EXPECT_EQ(vmk_MgmtUserDestroy(handle), 0);
}

}  // namespace
