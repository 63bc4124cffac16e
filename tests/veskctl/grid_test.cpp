// Tables and blocks: columns, signs, colours, narrow screens.
#include "veskctl/grid.h"

#include "veskctl/blocks.h"

#include <gtest/gtest.h>

#include <string>

namespace veskctl {

namespace {

Grid sampleGrid() {
    Grid grid;
    grid.setColumns({{"DISK"}, {"MODEL", Alignment::Left, 6}, {"USED", Alignment::Right}});
    grid.addRow({"0", "Übergröße Disk", "2 %"});
    grid.addRow({"1", "-", "104 %"}, Tone::Critical);
    grid.addRow({"2"}, Tone::Warning);
    return grid;
}

GridStyle narrow(std::size_t columns) {
    GridStyle style;
    style.columns = columns;
    return style;
}

TEST(Grid, AlignsByColumnsOfTheScreenAndMarksWhatWantsAttention) {
    EXPECT_EQ(sampleGrid().render(GridStyle()), "  DISK  MODEL            USED\n"
                                                "  0     Übergröße Disk    2 %\n"
                                                "! 1     -               104 %\n"
                                                "! 2\n");
    GridStyle style;
    style.header = false;
    style.colour = true;
    EXPECT_EQ(sampleGrid().render(style), "  0  Übergröße Disk    2 %\n"
                                          "\x1b[31m! 1  -               104 %\x1b[0m\n"
                                          "\x1b[33m! 2\x1b[0m\n");
    EXPECT_EQ(Grid().render(style), "");
}

TEST(Grid, ShortensWhatMayBeShortened) {
    EXPECT_EQ(sampleGrid().render(narrow(24)), "  DISK  MODEL       USED\n"
                                               "  0     Übergröß…    2 %\n"
                                               "! 1     -          104 %\n"
                                               "! 2\n");
}

TEST(Grid, StandsUprightWhereThatIsNotEnough) {
    EXPECT_EQ(sampleGrid().render(narrow(20)), "DISK 0\n"
                                               "  MODEL  Übergröße\n"
                                               "         Disk\n"
                                               "  USED   2 %\n"
                                               "\n"
                                               "DISK 1\n"
                                               "! MODEL  -\n"
                                               "! USED   104 %\n"
                                               "\n"
                                               "DISK 2\n");
}

TEST(Grid, CellsCannotSteerTheTerminal) {
    Grid grid;
    grid.setColumns({{"A"}});
    grid.addRow({"x\x1b[2J\n"});
    EXPECT_EQ(grid.render(GridStyle()), "  A\n  x?[2J?\n");
}

TEST(Blocks, AlignOverAllSectionsAndMarkAndColour) {
    Blocks blocks;
    EXPECT_EQ(blocks.render(true), "");
    blocks.addSection("One");
    blocks.addLine("A", "plain");
    blocks.addSection("Two");
    blocks.addLine("Longer", "faint", Tone::Faint);
    blocks.addLine("B", "two words\x7F", Tone::Warning);
    EXPECT_EQ(blocks.render(false), "One\n"
                                    "  A       plain\n"
                                    "\n"
                                    "Two\n"
                                    "  Longer  faint\n"
                                    "! B       two words?\n");
    EXPECT_EQ(blocks.render(true), "\x1b[1mOne\x1b[0m\n"
                                   "  A       plain\n"
                                   "\n"
                                   "\x1b[1mTwo\x1b[0m\n"
                                   "  Longer  \x1b[2mfaint\x1b[0m\n"
                                   "\x1b[33m!\x1b[0m B       \x1b[33mtwo words?\x1b[0m\n");
    EXPECT_EQ(blocks.render(false, 16), "One\n"
                                        "  A       plain\n"
                                        "\n"
                                        "Two\n"
                                        "  Longer  faint\n"
                                        "! B       two\n"
                                        "          words?\n");
}

}  // namespace

}  // namespace veskctl
