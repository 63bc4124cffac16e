// When output is coloured.
#include "veskctl/colour.h"

#include <gtest/gtest.h>

namespace {

using veskctl::colourWanted;

TEST(Colour, OnATerminalOnly) {
    EXPECT_TRUE(colourWanted(true, nullptr, "xterm"));
    EXPECT_FALSE(colourWanted(false, nullptr, "xterm"));
}

TEST(Colour, NotWithNoColor) {
    EXPECT_FALSE(colourWanted(true, "1", "xterm"));
    EXPECT_FALSE(colourWanted(true, "0", "xterm"));
    EXPECT_TRUE(colourWanted(true, "", "xterm"));
}

TEST(Colour, NotOnADumbTerminal) {
    EXPECT_FALSE(colourWanted(true, nullptr, "dumb"));
    EXPECT_TRUE(colourWanted(true, nullptr, "dumber"));
    EXPECT_TRUE(colourWanted(true, nullptr, nullptr));
}

}  // namespace
