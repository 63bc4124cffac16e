#include "veskctl/events.h"

#include <gtest/gtest.h>

namespace veskctl {

namespace {

TEST(ParseSince, TimesAndAges) {
    constexpr std::time_t kNow = 2'000'000'000;
    EXPECT_EQ(parseSince("2026-09-21T14:13:20Z", kNow), 1790000000);
    EXPECT_EQ(parseSince("2026-09-21", kNow), 1789948800);
    EXPECT_EQ(parseSince("90s", kNow), kNow - 90);
    EXPECT_EQ(parseSince("30m", kNow), kNow - 1800);
    EXPECT_EQ(parseSince("2h", kNow), kNow - 7200);
    EXPECT_EQ(parseSince("3d", kNow), kNow - 259200);
    for (const char* none : {"", "5", "m", "5w", "1234567d", "-5m", "2026-13-01", "2026-09-21T14",
                             "2026-09-21 ", "soon"}) {
        EXPECT_EQ(parseSince(none, kNow), std::nullopt) << none;
    }
}

}  // namespace

}  // namespace veskctl
