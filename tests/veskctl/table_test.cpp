// Alignment and colour of tables.
#include "veskctl/table.h"

#include <gtest/gtest.h>

namespace {

using veskctl::Table;
using veskctl::Tone;

Table sample() {
    Table table;
    table.addSection("One");
    table.addLine("A", "plain");
    table.addSection("Two");
    table.addLine("Longer", "faint", Tone::Faint);
    table.addLine("B", "warning", Tone::Warning);
    return table;
}

TEST(Table, AlignsOverAllSections) {
    EXPECT_EQ(sample().render(false), "One\n"
                                      "  A       plain\n"
                                      "\n"
                                      "Two\n"
                                      "  Longer  faint\n"
                                      "  B       warning\n");
}

TEST(Table, ColoursTitlesAndTones) {
    EXPECT_EQ(sample().render(true), "\x1b[1mOne\x1b[0m\n"
                                     "  A       plain\n"
                                     "\n"
                                     "\x1b[1mTwo\x1b[0m\n"
                                     "  Longer  \x1b[2mfaint\x1b[0m\n"
                                     "  B       \x1b[33mwarning\x1b[0m\n");
}

TEST(Table, EmptyTableIsNoText) {
    EXPECT_EQ(Table().render(true), "");
}

}  // namespace
