#include "raw_host.h"

#include "sim/host/simulated_host.h"

#include <gtest/gtest.h>

using simtest::Connection;
using vesksim::SimulatedHost;

namespace {

std::vector<unsigned> blinking() {
    return SimulatedHost::instance().locatingDisks("vmhba2");
}

TEST(Locate, StartsAndStopsEachLightByItself) {
    SimulatedHost::instance().load({});
    Connection connection;
    EXPECT_EQ(blinking(), std::vector<unsigned>{});
    EXPECT_EQ(connection.send(simtest::locate(0x00020001)).status, 1);
    EXPECT_EQ(blinking(), std::vector<unsigned>{1});
    EXPECT_EQ(connection.send(simtest::locate(0x00020000)).status, 1);
    EXPECT_EQ(blinking(), (std::vector<unsigned>{0, 1}));
    EXPECT_EQ(connection.send(simtest::locate(1)).status, 1);
    EXPECT_EQ(blinking(), std::vector<unsigned>{0});
}

TEST(Locate, TransfersNoData) {
    SimulatedHost::instance().load({});
    Connection connection;
    EXPECT_EQ(connection.send(simtest::locate(0x00020000)).data, simtest::Bytes(4096, 0xA5));
}

TEST(Locate, RefusesAbsentDisksAndOtherActions) {
    SimulatedHost::instance().load(vesksim::loadScenario("degraded"));
    Connection connection;
    // Invalid field, not to be tried again.
    EXPECT_EQ(connection.send(simtest::locate(0x00020001)).status, 0x8005);
    EXPECT_EQ(connection.send(simtest::locate(0x00010000)).status, 0x8005);
    EXPECT_EQ(blinking(), std::vector<unsigned>{});
}

TEST(Locate, StaysOverAnUpdateAndEndsWithALoad) {
    SimulatedHost::instance().load({});
    {
        Connection connection;
        connection.send(simtest::locate(0x00020001));
    }
    vesksim::Scenario changed;
    changed.adapters[0].disks[0].status = 33;
    SimulatedHost::instance().update(changed);
    EXPECT_EQ(blinking(), std::vector<unsigned>{1});
    SimulatedHost::instance().load({});
    EXPECT_EQ(blinking(), std::vector<unsigned>{});
}

}  // namespace
