// Numbers and texts out of records.
#include "veskctl/record.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

namespace veskctl {

namespace {

TEST(Record, NumbersAreLittleEndian) {
    const std::array<std::uint8_t, 4> bytes = {0x81, 0x92, 0xA3, 0xB4};
    EXPECT_EQ(read16(bytes.data()), 0x9281);
    EXPECT_EQ(read32(bytes.data()), 0xB4A39281);
}

TEST(Record, ATextEndsAtTheFirstNulOrAtTheEndOfTheField) {
    const char ended[6] = {'a', 'b', '\0', 'c', 'd', 'e'};
    EXPECT_EQ(fieldText(ended), "ab");
    const char full[3] = {'a', 'b', 'c'};
    EXPECT_EQ(fieldText(full), "abc");
}

TEST(Record, BlanksAreTrimmedOrKept) {
    EXPECT_EQ(deviceText("  a b  ", Padding::Trim), "a b");
    EXPECT_EQ(deviceText("  a b  ", Padding::Keep), "  a b  ");
    EXPECT_EQ(deviceText("    ", Padding::Trim), std::nullopt);
    EXPECT_EQ(deviceText("    ", Padding::Keep), "    ");
    EXPECT_EQ(deviceText("", Padding::Keep), std::nullopt);
}

}  // namespace

}  // namespace veskctl
