// Texts of devices.
#include "veskctl/device_text.h"

#include <gtest/gtest.h>

namespace {

using veskctl::deviceText;
using veskctl::fieldText;
using veskctl::Padding;
using veskctl::printable;

TEST(DeviceText, EndsAtTheFirstNulOrAtTheEndOfTheField) {
    const char ended[6] = {'a', 'b', '\0', 'c', 'd', 'e'};
    EXPECT_EQ(fieldText(ended), "ab");
    const char full[3] = {'a', 'b', 'c'};
    EXPECT_EQ(fieldText(full), "abc");
}

TEST(DeviceText, BlanksAreTrimmedOrKept) {
    EXPECT_EQ(deviceText("  a b  ", Padding::Trim), "a b");
    EXPECT_EQ(deviceText("  a b  ", Padding::Keep), "  a b  ");
    EXPECT_EQ(deviceText("    ", Padding::Trim), std::nullopt);
    EXPECT_EQ(deviceText("    ", Padding::Keep), "    ");
    EXPECT_EQ(deviceText("", Padding::Keep), std::nullopt);
}

TEST(DeviceText, ATerminalGetsNoControlsAndNoBrokenBytes) {
    EXPECT_EQ(printable("Disk 1"), "Disk 1");
    EXPECT_EQ(printable("a\x1b[31m\x7f\n"), "a?[31m??");
    EXPECT_EQ(printable("a\xFF"
                        "b"),
              "a\xEF\xBF\xBD"
              "b");
    EXPECT_EQ(printable("\xC2\x9B"
                        "1m"),
              "?1m");
    EXPECT_EQ(printable("\xC2\xA9 \xC3\x9C"), "\xC2\xA9 \xC3\x9C");
}

}  // namespace
