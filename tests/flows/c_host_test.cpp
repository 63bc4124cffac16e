#include "c_host.h"
#include "sim_host.h"

#include <gtest/gtest.h>

namespace {

TEST(CHost, RunsTheWholeLifeOfTheLibrary) {
    vesktest::SimHost host("healthy");
    host.gate().releaseAll();

    CHostResult result = {};
    ASSERT_EQ(runCHost(&result), 0);

    EXPECT_EQ(result.nullRecord, 150);
    EXPECT_EQ(result.countBefore, 0);
    EXPECT_EQ(result.initialize, 0);
    EXPECT_EQ(result.countAfter, 1);
    EXPECT_EQ(result.getInfo, 0);
    EXPECT_EQ(result.countOfInfo, 1);
    EXPECT_EQ(result.getOemData, 0);
    EXPECT_EQ(result.getConfig, 0);
    EXPECT_EQ(result.vendorId, 0x1B4B);
    EXPECT_EQ(result.firmwareMajor, 1);
    EXPECT_EQ(result.oemMajor, 1);
    EXPECT_EQ(result.oemFirstByte, 0xA5);
    EXPECT_EQ(host.driver().openHandles(), 0U);
    EXPECT_TRUE(host.driver().refusals().empty());
}

}  // namespace
