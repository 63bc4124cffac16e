#include "veskctl/exposition.h"

#include <gtest/gtest.h>

namespace {

using veskctl::Exposition;

TEST(Exposition, FamiliesStandInOneBlockEach) {
    Exposition metrics;
    auto& first = metrics.gauge("vesk_a", "What a is.");
    auto& second = metrics.gauge("vesk_b_ratio", "What b is.");
    first.add({}, 1);
    second.add({{"slot", "0"}, {"side", "left"}}, 0.02);
    first.add({{"slot", "1"}}, 8e9);
    EXPECT_EQ(metrics.text(), R"(# HELP vesk_a What a is.
# TYPE vesk_a gauge
vesk_a 1
vesk_a{slot="1"} 8000000000
# HELP vesk_b_ratio What b is.
# TYPE vesk_b_ratio gauge
vesk_b_ratio{slot="0",side="left"} 0.02
)");
}

TEST(Exposition, FamilyWithoutSeriesIsLeftOut) {
    Exposition metrics;
    metrics.gauge("vesk_a", "What a is.").addIf({}, std::optional<double>());
    EXPECT_EQ(metrics.text(), "");
}

TEST(Exposition, TextsOfDevicesCannotLeaveTheirQuotes) {
    Exposition metrics;
    metrics.gauge("vesk_a", "A.").add({{"model", "x\"} 1\n\\vesk_b \xff"}}, 1);
    EXPECT_EQ(metrics.text(), "# HELP vesk_a A.\n# TYPE vesk_a gauge\n"
                              "vesk_a{model=\"x\\\"} 1?\\\\vesk_b \xEF\xBF\xBD\"} 1\n");
}

}  // namespace
