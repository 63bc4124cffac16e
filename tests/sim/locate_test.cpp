// The locate lights of the disks.
#include "raw_host.h"

namespace {

using Slots = std::vector<unsigned>;
using Locate = simtest::RawHost;

TEST_F(Locate, StartsAndStopsEachLightByItself) {
    EXPECT_EQ(blinking(), Slots{});
    EXPECT_EQ(send(simtest::locate(0x00020001)).status, 1);
    EXPECT_EQ(blinking(), Slots{1});
    EXPECT_EQ(send(simtest::locate(0x00020000)).status, 1);
    EXPECT_EQ(blinking(), (Slots{0, 1}));
    EXPECT_EQ(send(simtest::locate(1)).status, 1);
    EXPECT_EQ(blinking(), Slots{0});
}

TEST_F(Locate, TransfersNoData) {
    EXPECT_EQ(send(simtest::locate(0x00020000)).data, simtest::Bytes(4096, 0xA5));
}

TEST_F(Locate, RefusesAbsentDisksAndOtherActions) {
    load("degraded");
    // Invalid field, not to be tried again.
    EXPECT_EQ(send(simtest::locate(0x00020001)).status, 0x8005);
    EXPECT_EQ(send(simtest::locate(0x00010000)).status, 0x8005);
    EXPECT_EQ(blinking(), Slots{});
}

TEST_F(Locate, StaysOverAnUpdateAndEndsWithALoad) {
    send(simtest::locate(0x00020001));
    vesksim::Scenario changed;
    changed.adapters[0].disks[0].status = 33;
    host().update(changed);
    EXPECT_EQ(blinking(), Slots{1});
    host().load({});
    EXPECT_EQ(blinking(), Slots{});
}

}  // namespace
