// How reports become text.
#include "veskctl/output.h"

#include "samples.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace veskctl {

namespace {

TEST(Output, DocumentOrderIsFixed) {
    Report report;
    report.host = "esx1";
    report.fields["controllers"] = Json::array();
    EXPECT_EQ(renderJson("controller", report, false), "{\n"
                                                       "  \"schema_version\": 1,\n"
                                                       "  \"command\": \"controller\",\n"
                                                       "  \"simulated\": false,\n"
                                                       "  \"host\": \"esx1\",\n"
                                                       "  \"controllers\": [],\n"
                                                       "  \"errors\": []\n"
                                                       "}\n");
}

TEST(Output, ProblemsBecomeErrorsAndLines) {
    Report report;
    report.problems = {{ProblemKind::NoController, "first"}, {ProblemKind::Internal, "second"}};
    const Json document = parsed(renderJson("", report, true));
    EXPECT_EQ(at(document, "/command"), "null");
    EXPECT_EQ(at(document, "/simulated"), "true");
    EXPECT_EQ(at(document, "/errors/0/code"), "\"no_controller\"");
    EXPECT_EQ(at(document, "/errors/1/message"), "\"second\"");
    EXPECT_EQ(at(document, "/errors/2"), "missing");
    EXPECT_EQ(renderProblems(report.problems), "veskctl: first\nveskctl: second\n");
}

TEST(Output, NotesAreToldApartFromProblems) {
    EXPECT_EQ(renderNotes({"first", "second"}), "veskctl: note: first\nveskctl: note: second\n");
}

TEST(Output, BytesThatAreNoUtf8StillMakeADocument) {
    Report report;
    report.fields["library_path"] = "/a\xFF.so";
    EXPECT_EQ(at(parsed(renderJson("version", report, false)), "/library_path"),
              "\"/a\xEF\xBF\xBD.so\"");
}

CommandContext contextOf(OutputFormat format, bool simulated = false) {
    CommandContext context;
    context.format = format;
    context.simulated = simulated;
    return context;
}

Report sampleReport() {
    Report report;
    report.items = "disks";
    report.fields["disks"] = Json::array({{{"slot", 0}, {"name", "a,b"}, {"raw", {{"x", 1}}}},
                                          {{"slot", 1}, {"name", nullptr}, {"list", {1, 2}}}});
    report.lead = "one two three\n";
    report.blocks.addSection("Block");
    report.blocks.addLine("Name", "value");
    report.grid.setColumns({{"A"}});
    report.grid.addRow({"cell"});
    report.text = "text\n";
    report.notes = {"a note"};
    return report;
}

TEST(Output, ForPeopleTextsBlocksAndGridFollowEachOther) {
    CommandContext context = contextOf(OutputFormat::Table);
    const Output output = renderOutput("disks", sampleReport(), context);
    EXPECT_EQ(output.standardOutput, "one two three\n"
                                     "Block\n  Name  value\n"
                                     "  A\n  cell\n"
                                     "text\n");
    EXPECT_EQ(output.standardError, "veskctl: note: a note\n");
    context.width = 10;
    context.header = false;
    context.quiet = true;
    const Output narrow = renderOutput("disks", sampleReport(), context);
    EXPECT_EQ(narrow.standardOutput, "one two\n  three\n"
                                     "Block\n  Name  value\n"
                                     "  cell\n"
                                     "text\n");
    EXPECT_EQ(narrow.standardError, "");
}

TEST(Output, LinesAndRowsAreTheItems) {
    EXPECT_EQ(
        renderOutput("disks", sampleReport(), contextOf(OutputFormat::JsonLines)).standardOutput,
        "{\"slot\":0,\"name\":\"a,b\",\"raw\":{\"x\":1}}\n"
        "{\"slot\":1,\"name\":null,\"list\":[1,2]}\n");
    CommandContext context = contextOf(OutputFormat::Csv);
    EXPECT_EQ(renderOutput("disks", sampleReport(), context).standardOutput,
              "slot,name,raw.x,list\n"
              "0,\"a,b\",1,\n"
              "1,,,\"[1,2]\"\n");
    context.header = false;
    EXPECT_EQ(renderOutput("disks", sampleReport(), context).standardOutput, "0,\"a,b\",1,\n"
                                                                             "1,,,\"[1,2]\"\n");
}

TEST(Output, ADocumentWithoutItemsIsOne) {
    Report report;
    report.fields["requested"] = true;
    EXPECT_EQ(renderOutput("locate on", report, contextOf(OutputFormat::Csv)).standardOutput,
              "schema_version,command,simulated,host,requested,errors\n"
              "1,locate on,false,,true,[]\n");
    EXPECT_EQ(renderOutput("", report, contextOf(OutputFormat::JsonLines)).standardOutput, "");
}

TEST(Output, TheItemsMayBeMissingWhenACommandFailsEarly) {
    Report report;
    report.items = "disks";
    EXPECT_EQ(renderOutput("disks", report, contextOf(OutputFormat::JsonLines)).standardOutput, "");
}

TEST(Output, TheSimulatedHostIsNamedBeforeAllElse) {
    struct Row {
        OutputFormat format;
        bool forPrograms, streamed;
        const char *onOutput, *onError;
    };
    const std::string host = "SIMULATED HOST\n";
    const std::vector<Row> rows = {
        {OutputFormat::Table, false, false, "SIMULATED HOST\ntext\n", "veskctl: broken\n"},
        {OutputFormat::Table, true, false, "text\n", "SIMULATED HOST\nveskctl: broken\n"},
        {OutputFormat::Table, false, true, "", "veskctl: broken\n"},
        {OutputFormat::JsonLines, false, false, "", "SIMULATED HOST\nveskctl: broken\n"}};
    for (const Row& row : rows) {
        Report report;
        report.items = "events";
        report.simulated = true;  // as the library found out
        report.text = "text\n";
        report.problems = {{ProblemKind::Internal, "broken"}};
        report.forPrograms = row.forPrograms;
        report.streamed = row.streamed;
        const Output output = renderOutput("events", report, contextOf(row.format));
        EXPECT_EQ(output.standardOutput, row.onOutput);
        EXPECT_EQ(output.standardError, row.onError);
    }
    Report silent;
    silent.problems = {{ProblemKind::NoController, "none"}};
    const Output output = renderOutput("disks", silent, contextOf(OutputFormat::Table, true));
    EXPECT_EQ(output.standardOutput, "");
    EXPECT_EQ(output.standardError, "SIMULATED HOST\nveskctl: none\n");
}

// A name that reads "diskB\u202e" would turn what follows it on a terminal.
TEST(Output, HiddenCharactersAreEscapedInEveryFormForPrograms) {
    Report report;
    report.items = "disks";
    report.fields["disks"] = Json::array({{{"name", "B\xE2\x80\xAE\x7F\n\"x"}}});
    EXPECT_EQ(renderOutput("disks", report, contextOf(OutputFormat::JsonLines)).standardOutput,
              "{\"name\":\"B\\u202e\\u007f\\n\\\"x\"}\n");
    EXPECT_EQ(renderOutput("disks", report, contextOf(OutputFormat::Csv)).standardOutput,
              "name\n\"B\\u202e\\u007f\\u000a\"\"x\"\n");
    const Json document =
        parsed(renderOutput("disks", report, contextOf(OutputFormat::JsonDocument)).standardOutput);
    EXPECT_EQ(document["disks"][0]["name"], report.fields["disks"][0]["name"]);
}

TEST(Output, ProblemsAndNotesCannotSteerTheTerminal) {
    EXPECT_EQ(renderProblems({{ProblemKind::Internal, "a\x1b[2J"}}), "veskctl: a?[2J\n");
    EXPECT_EQ(renderNotes({"a\nveskctl: b"}), "veskctl: note: a?veskctl: b\n");
}

}  // namespace

}  // namespace veskctl
