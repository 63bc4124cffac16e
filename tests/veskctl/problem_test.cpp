// Exit codes and the entries of `errors`.
#include "veskctl/problem.h"

#include <gtest/gtest.h>

namespace {

using nlohmann::ordered_json;
using veskctl::ExitCode;
using veskctl::exitCodeOf;
using veskctl::libraryCallFailed;
using veskctl::Problem;
using veskctl::ProblemKind;
using veskctl::problemToJson;

Problem of(ProblemKind kind) {
    return {kind, "text"};
}

TEST(Problem, ExitCodes) {
    EXPECT_EQ(exitCodeOf({}), ExitCode::Ok);
    EXPECT_EQ(exitCodeOf({of(ProblemKind::LibraryNotFound)}), ExitCode::Failed);
    EXPECT_EQ(exitCodeOf({of(ProblemKind::ControllerNotResponding)}), ExitCode::Failed);
    EXPECT_EQ(exitCodeOf({of(ProblemKind::NoController)}), ExitCode::NoController);
    EXPECT_EQ(exitCodeOf({of(ProblemKind::Internal), of(ProblemKind::NoController)}),
              ExitCode::NoController);
    EXPECT_EQ(exitCodeOf({of(ProblemKind::NoController), of(ProblemKind::Usage)}), ExitCode::Usage);
}

TEST(Problem, ExitCodesAreTheDocumentedNumbers) {
    EXPECT_EQ(static_cast<int>(ExitCode::Ok), 0);
    EXPECT_EQ(static_cast<int>(ExitCode::Failed), 1);
    EXPECT_EQ(static_cast<int>(ExitCode::Usage), 2);
    EXPECT_EQ(static_cast<int>(ExitCode::NoController), 3);
}

TEST(Problem, JsonWithoutALibraryFunction) {
    EXPECT_EQ(problemToJson(of(ProblemKind::NoController)), ordered_json::parse(R"({
        "code": "no_controller", "message": "text", "function": null, "result": null,
        "result_code": null})"));
}

TEST(Problem, JsonOfAFailedCall) {
    EXPECT_EQ(problemToJson(libraryCallFailed("ZT_LD_GetInfo", 1)), ordered_json::parse(R"j({
        "code": "library_call_failed",
        "message": "the library's ZT_LD_GetInfo failed with result 1 (fail)",
        "function": "ZT_LD_GetInfo", "result": "fail", "result_code": 1})j"));
    EXPECT_EQ(problemToJson(libraryCallFailed("f", 77))["result"], "unknown");
    EXPECT_EQ(libraryCallFailed("f", 1, "disk 1").message,
              "the library's f failed for disk 1 with result 1 (fail)");
}

TEST(Problem, NamesOfSilentParts) {
    EXPECT_EQ(problemToJson(of(ProblemKind::DiskNotResponding))["code"], "disk_not_responding");
    EXPECT_EQ(problemToJson(of(ProblemKind::VolumeNotResponding))["code"], "volume_not_responding");
}

}  // namespace
