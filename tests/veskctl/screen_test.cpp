// What the screen takes, and one look over another.
#include "veskctl/screen.h"

#include "veskctl/watch.h"

#include <gtest/gtest.h>

namespace veskctl {

namespace {

TEST(Screen, ColourIsForTerminalsThatTakeItAndPeopleWhoDo) {
    EXPECT_TRUE(colourWanted(true, nullptr, "xterm"));
    EXPECT_FALSE(colourWanted(false, nullptr, "xterm"));
    EXPECT_FALSE(colourWanted(true, "1", "xterm"));
    EXPECT_FALSE(colourWanted(true, "0", "xterm"));
    EXPECT_TRUE(colourWanted(true, "", "xterm"));
    EXPECT_FALSE(colourWanted(true, nullptr, "dumb"));
    EXPECT_TRUE(colourWanted(true, nullptr, "dumber"));
    EXPECT_TRUE(colourWanted(true, nullptr, nullptr));
}

TEST(Screen, TheWidthIsWhatColumnsSaysElseWhatTheTerminalSays) {
    EXPECT_EQ(widthWanted(nullptr, 80), 80U);
    EXPECT_EQ(widthWanted("132", 80), 132U);
    for (const char* nonsense : {"", "0", "-5", "wide", "80x", "99999999"}) {
        EXPECT_EQ(widthWanted(nonsense, 80), 80U) << nonsense;
    }
}

TEST(Watch, AFrameIsDrawnOverTheLastOne) {
    EXPECT_EQ(frameOf("one\ntwo\n", 0), "\x1b[Hone\x1b[K\ntwo\x1b[K\n\x1b[J");
    EXPECT_EQ(frameOf("one\ntwo\nthree\n", 3), "\x1b[Hone\x1b[K\ntwo\x1b[K\n\x1b[J");
}

TEST(Watch, TheTitleSaysWhatIsLookedAt) {
    const std::string title = watchTitle(2, "veskctl disks");
    EXPECT_EQ(title.substr(0, 26), "Every 2 s: veskctl disks  ");
    EXPECT_EQ(title.substr(title.size() - 3), "Z\n\n");
}

}  // namespace

}  // namespace veskctl
