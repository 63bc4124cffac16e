// Exit codes and the entries of `errors`.
#include "veskctl/problem.h"

#include "samples.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace veskctl {

namespace {

TEST(Problem, KindsHaveTheDocumentedNamesAndExitCodes) {
    struct Row {
        ProblemKind kind;
        const char* told;
        int exitCode;
    };
    const std::vector<Row> rows = {
        {ProblemKind::Usage, "usage: text", 2},
        {ProblemKind::LibraryNotFound, "library_not_found: text", 1},
        {ProblemKind::LibraryDependencyMissing, "library_dependency_missing: text", 1},
        {ProblemKind::LibraryUnusable, "library_unusable: text", 1},
        {ProblemKind::LibrarySymbolMissing, "library_symbol_missing: text", 1},
        {ProblemKind::LibraryCallFailed, "library_call_failed: text", 1},
        {ProblemKind::NoController, "no_controller: text", 3},
        {ProblemKind::ControllerNotResponding, "controller_not_responding: text", 1},
        {ProblemKind::DiskNotResponding, "disk_not_responding: text", 1},
        {ProblemKind::VolumeNotResponding, "volume_not_responding: text", 1},
        {ProblemKind::Internal, "internal_error: text", 1}};
    for (const Row& row : rows) {
        const std::vector<Problem> problems = {{row.kind, "text"}};
        EXPECT_EQ(told(problems), std::vector<std::string>{row.told});
        EXPECT_EQ(static_cast<int>(exitCodeOf(problems)), row.exitCode) << row.told;
    }
}

TEST(Problem, OfSeveralTheGravestDecidesTheExitCode) {
    const Problem internal = {ProblemKind::Internal, "text"};
    const Problem noController = {ProblemKind::NoController, "text"};
    const Problem usage = {ProblemKind::Usage, "text"};
    EXPECT_EQ(static_cast<int>(exitCodeOf({})), 0);
    EXPECT_EQ(exitCodeOf({internal, noController}), ExitCode::NoController);
    EXPECT_EQ(exitCodeOf({noController, usage}), ExitCode::Usage);
}

TEST(Problem, JsonKeepsEveryField) {
    EXPECT_EQ(compact(problemToJson({ProblemKind::NoController, "text"})), compact(R"({
        "code": "no_controller", "message": "text", "function": null, "result": null,
        "result_code": null})"));
    EXPECT_EQ(compact(problemToJson(libraryCallFailed("ZT_LD_GetInfo", 1))), compact(R"j({
        "code": "library_call_failed",
        "message": "the library's ZT_LD_GetInfo failed with result 1 (fail)",
        "function": "ZT_LD_GetInfo", "result": "fail", "result_code": 1})j"));
    EXPECT_EQ(libraryCallFailed("f", 1, "disk 1").message,
              "the library's f failed for disk 1 with result 1 (fail)");
}

// The numbers are those of VeskNvme.h.
TEST(Problem, ResultsHaveTheDocumentedNames) {
    const std::vector<std::pair<int, const char*>> results = {
        {ERR_FAIL, "\"fail\""},
        {ERR_REQ_OUT_OF_RANGE, "\"request_out_of_range\""},
        {ERR_INVALID_REQUEST, "\"invalid_request\""},
        {ERR_INVALID_ADAPTER_ID, "\"invalid_adapter_id\""},
        {ERR_NOT_SUPPORTED, "\"not_supported\""},
        {ERR_NULL_ARGUMENT, "\"null_argument\""},
        {ERR_RESCANING, "\"rescanning\""},
        {77, "\"unknown\""}};
    for (const auto& [code, name] : results) {
        EXPECT_EQ(at(problemToJson(libraryCallFailed("f", code)), "/result"), name) << code;
    }
}

}  // namespace

}  // namespace veskctl
