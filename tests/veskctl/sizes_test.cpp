// Quantities as people write them.
#include "veskctl/sizes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace veskctl {

namespace {

TEST(Sizes, AreDecimalWithFourDigits) {
    struct Row {
        std::uint64_t bytes;
        const char* text;
    };
    const std::vector<Row> rows = {{0, "0 bytes"},
                                   {1, "1 byte"},
                                   {999, "999 bytes"},
                                   {1000, "1 kB"},
                                   {1023, "1.023 kB"},
                                   {480103981056, "480.1 GB"},
                                   {480035995648, "480 GB"},
                                   {1920383410176, "1.92 TB"},
                                   {15362991415296, "15.36 TB"},
                                   {9999, "9.999 kB"},
                                   {99995, "100 kB"},
                                   {999949, "999.9 kB"},
                                   {999950, "1 MB"},
                                   {999999, "1 MB"},
                                   {std::numeric_limits<std::uint64_t>::max(), "18.45 EB"}};
    for (const Row& row : rows) {
        EXPECT_EQ(sizeText(row.bytes), row.text) << row.bytes;
    }
}

TEST(Sizes, BlocksAreBytesIfTheProductHasRoom) {
    EXPECT_EQ(bytesOf(937703088, 512), std::optional<std::uint64_t>(480103981056));
    EXPECT_EQ(bytesOf(0, 512), std::optional<std::uint64_t>(0));
    EXPECT_EQ(bytesOf(7, 0), std::nullopt);
    EXPECT_EQ(bytesOf(1ULL << 55U, 512), std::nullopt);
    EXPECT_EQ(bytesOf((1ULL << 55U) - 1, 512), std::optional<std::uint64_t>(0xFFFFFFFFFFFFFE00));
}

TEST(Sizes, PercentOrADash) {
    EXPECT_EQ(percentText(104), "104 %");
    EXPECT_EQ(percentText(std::nullopt), "-");
}

TEST(Sizes, DurationsThereAndBack) {
    EXPECT_EQ(durationText(1), "1 s");
    EXPECT_EQ(durationText(90), "90 s");
    EXPECT_EQ(durationText(300), "5 min");
    EXPECT_EQ(durationText(7200), "2 h");
    EXPECT_EQ(secondsOf("90"), std::optional<unsigned>(90));
    EXPECT_EQ(secondsOf("90s"), std::optional<unsigned>(90));
    EXPECT_EQ(secondsOf("5m"), std::optional<unsigned>(300));
    EXPECT_EQ(secondsOf("2h"), std::optional<unsigned>(7200));
    EXPECT_EQ(secondsOf("0"), std::optional<unsigned>(0));
    for (const char* text : {"", "m", "5x", "5 m", "-5", "5mm", "1.5h", "9999999999", "8761h"}) {
        EXPECT_EQ(secondsOf(text), std::nullopt) << text;
    }
}

}  // namespace

}  // namespace veskctl
