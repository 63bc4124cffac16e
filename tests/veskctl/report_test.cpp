// The document and the lines for standard error.
#include "veskctl/report.h"

#include <gtest/gtest.h>

namespace {

using nlohmann::ordered_json;
using veskctl::ProblemKind;
using veskctl::renderJson;
using veskctl::renderProblems;
using veskctl::Report;

TEST(Report, DocumentOrderIsFixed) {
    Report report;
    report.fields["controllers"] = ordered_json::array();
    EXPECT_EQ(renderJson("controller", report), "{\n"
                                                "  \"schema_version\": 1,\n"
                                                "  \"command\": \"controller\",\n"
                                                "  \"controllers\": [],\n"
                                                "  \"errors\": []\n"
                                                "}\n");
}

TEST(Report, ProblemsBecomeErrors) {
    Report report;
    report.problems.push_back({ProblemKind::NoController, "first"});
    report.problems.push_back({ProblemKind::Internal, "second"});
    const ordered_json document = ordered_json::parse(renderJson("", report));
    EXPECT_TRUE(document["command"].is_null());
    ASSERT_EQ(document["errors"].size(), 2U);
    EXPECT_EQ(document["errors"][0]["code"], "no_controller");
    EXPECT_EQ(document["errors"][1]["message"], "second");
    EXPECT_EQ(renderProblems(report.problems), "veskctl: first\nveskctl: second\n");
}

TEST(Report, BytesThatAreNoUtf8StillMakeADocument) {
    Report report;
    report.fields["library_path"] = "/a\xFF.so";
    const ordered_json document = ordered_json::parse(renderJson("version", report));
    EXPECT_EQ(document["library_path"], "/a\xEF\xBF\xBD.so");
}

TEST(Report, NotesAreToldApartFromProblems) {
    EXPECT_EQ(veskctl::renderNotes({"first", "second"}),
              "veskctl: note: first\nveskctl: note: second\n");
}

}  // namespace
