// Texts of others on a screen: nothing hidden, nothing that does not fit.
#include "veskctl/printable.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace veskctl {

namespace {

TEST(Printable, ATerminalGetsNoControlsAndNoBrokenBytes) {
    EXPECT_EQ(printable("Disk 1"), "Disk 1");
    EXPECT_EQ(printable("a\x1b[31m\x7f\n"), "a?[31m??");
    EXPECT_EQ(printable("a\xFF-"), "a\xEF\xBF\xBD-");
    EXPECT_EQ(printable("\xC2\x9B;1m"), "?;1m");
    EXPECT_EQ(printable("\xC2\xA9 \xC3\x9C"), "\xC2\xA9 \xC3\x9C");
}

TEST(Printable, HiddenCharactersAreShownOrEscaped) {
    struct Row {
        const char* text;
        const char* printable;
        const char* escaped;
    };
    const std::vector<Row> rows = {
        {"a\u200Bb", "a?b", "a\\u200bb"},
        {"\u200F", "?", "\\u200f"},
        {"\u202A\u202E", "??", "\\u202a\\u202e"},
        {"\u2066\u2069", "??", "\\u2066\\u2069"},
        {"\uFEFF", "?", "\\ufeff"},
        // The first and the last of the second set of controls, and what stands around it.
        {"~\x7F\u0080", "~??", "~\\u007f\\u0080"},
        {"\u0085", "?", "\\u0085"},
        {"\u009F\u00A0", "?\u00A0", "\\u009f\u00A0"},
        {"\x7F", "?", "\\u007f"},
        {"\u00AD", "?", "\\u00ad"},
        {"\U000E0041", "?", "\\udb40\\udc41"},
        {"\u2010\u00A1\uFFFD", "\u2010\u00A1\uFFFD", "\u2010\u00A1\uFFFD"},
        {"line\nline", "line?line", "line\nline"}};
    for (const Row& row : rows) {
        EXPECT_EQ(printable(row.text), row.printable);
        EXPECT_EQ(escaped(row.text), row.escaped);
    }
}

TEST(Printable, ColumnsAreThoseOfTheScreen) {
    EXPECT_EQ(columnsOf("disk"), 4U);
    EXPECT_EQ(columnsOf("Übergröße"), 9U);
    EXPECT_EQ(columnsOf("e\u0301"), 1U);
    EXPECT_EQ(columnsOf("磁盤"), 4U);
    EXPECT_EQ(columnsOf("…"), 1U);
}

TEST(Printable, ShortenedTextsSayThatTheyAre) {
    EXPECT_EQ(shortened("disk", 4), "disk");
    EXPECT_EQ(shortened("disks", 4), "dis…");
    EXPECT_EQ(shortened("Größer", 4), "Grö…");
    EXPECT_EQ(shortened("磁盤磁盤", 6), "磁盤…");  // a half of a character cannot be shown
    EXPECT_EQ(shortened("disks", 1), "…");
}

TEST(Printable, LinesBreakAtBlanksOnly) {
    EXPECT_EQ(wrapped("one two three", 0, 2), "one two three");
    EXPECT_EQ(wrapped("one two three", 13, 2), "one two three");
    EXPECT_EQ(wrapped("one two three", 9, 2), "one two\n  three");
    EXPECT_EQ(wrapped("one two three", 3, 2), "one\n  two\n  three");
    EXPECT_EQ(wrapped("unbreakable-name is", 8, 0), "unbreakable-name\nis");
    // Colours take no room.
    EXPECT_EQ(wrapped("\x1b[33mone\x1b[0m two", 7, 2), "\x1b[33mone\x1b[0m two");
}

}  // namespace

}  // namespace veskctl
