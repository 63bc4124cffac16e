// How results become text: tables, documents, the lines for standard error.
#include "veskctl/report.h"

#include "samples.h"

#include <gtest/gtest.h>

namespace veskctl {

namespace {

TEST(Blocks, AlignsOverAllSectionsAndColoursTitlesAndTones) {
    Blocks blocks;
    EXPECT_EQ(blocks.render(true), "");
    blocks.addSection("One");
    blocks.addLine("A", "plain");
    blocks.addSection("Two");
    blocks.addLine("Longer", "faint", Tone::Faint);
    blocks.addLine("B", "warning", Tone::Warning);
    EXPECT_EQ(blocks.render(false), "One\n"
                                    "  A       plain\n"
                                    "\n"
                                    "Two\n"
                                    "  Longer  faint\n"
                                    "  B       warning\n");
    EXPECT_EQ(blocks.render(true), "\x1b[1mOne\x1b[0m\n"
                                   "  A       plain\n"
                                   "\n"
                                   "\x1b[1mTwo\x1b[0m\n"
                                   "  Longer  \x1b[2mfaint\x1b[0m\n"
                                   "  B       \x1b[33mwarning\x1b[0m\n");
}

TEST(Report, DocumentOrderIsFixed) {
    Report report;
    report.fields["controllers"] = Json::array();
    EXPECT_EQ(renderJson("controller", report), "{\n"
                                                "  \"schema_version\": 1,\n"
                                                "  \"command\": \"controller\",\n"
                                                "  \"controllers\": [],\n"
                                                "  \"errors\": []\n"
                                                "}\n");
}

TEST(Report, ProblemsBecomeErrorsAndLines) {
    Report report;
    report.problems = {{ProblemKind::NoController, "first"}, {ProblemKind::Internal, "second"}};
    const Json document = parsed(renderJson("", report));
    EXPECT_EQ(at(document, "/command"), "null");
    EXPECT_EQ(at(document, "/errors/0/code"), "\"no_controller\"");
    EXPECT_EQ(at(document, "/errors/1/message"), "\"second\"");
    EXPECT_EQ(at(document, "/errors/2"), "missing");
    EXPECT_EQ(renderProblems(report.problems), "veskctl: first\nveskctl: second\n");
}

TEST(Report, NotesAreToldApartFromProblems) {
    EXPECT_EQ(renderNotes({"first", "second"}), "veskctl: note: first\nveskctl: note: second\n");
}

TEST(Report, BytesThatAreNoUtf8StillMakeADocument) {
    Report report;
    report.fields["library_path"] = "/a\xFF.so";
    EXPECT_EQ(at(parsed(renderJson("version", report)), "/library_path"), "\"/a\xEF\xBF\xBD.so\"");
}

TEST(Report, ATerminalGetsNoControlsAndNoBrokenBytes) {
    EXPECT_EQ(printable("Disk 1"), "Disk 1");
    EXPECT_EQ(printable("a\x1b[31m\x7f\n"), "a?[31m??");
    EXPECT_EQ(printable("a\xFF-"), "a\xEF\xBF\xBD-");
    EXPECT_EQ(printable("\xC2\x9B;1m"), "?;1m");
    EXPECT_EQ(printable("\xC2\xA9 \xC3\x9C"), "\xC2\xA9 \xC3\x9C");
}

TEST(Report, ColourIsForTerminalsThatTakeItAndPeopleWhoDo) {
    EXPECT_TRUE(colourWanted(true, nullptr, "xterm"));
    EXPECT_FALSE(colourWanted(false, nullptr, "xterm"));
    EXPECT_FALSE(colourWanted(true, "1", "xterm"));
    EXPECT_FALSE(colourWanted(true, "0", "xterm"));
    EXPECT_TRUE(colourWanted(true, "", "xterm"));
    EXPECT_FALSE(colourWanted(true, nullptr, "dumb"));
    EXPECT_TRUE(colourWanted(true, nullptr, "dumber"));
    EXPECT_TRUE(colourWanted(true, nullptr, nullptr));
}

}  // namespace

}  // namespace veskctl
