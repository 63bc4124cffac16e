// The command line: parsing, documents for every outcome, hooks. No library is set up here.
#include "veskctl/cli.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace {

using nlohmann::ordered_json;
using veskctl::CliHooks;
using veskctl::CliOutcome;
using veskctl::evaluateCli;
using veskctl::UsageError;

constexpr const char* kNoLibrary = "/nonexistent/libVeskNvme.so";

using Arguments = std::vector<const char*>;

CliOutcome evaluate(const Arguments& arguments, const CliHooks& hooks = CliHooks()) {
    Arguments argv = {"veskctl"};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    return evaluateCli(static_cast<int>(argv.size()), argv.data(), hooks, false);
}

TEST(Cli, HelpNamesCommandsAndExitCodes) {
    const CliOutcome outcome = evaluate({"--help"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.standardError, "");
    for (const char* text : {"controller", "version", "Exit codes:", "3  there is no controller"}) {
        EXPECT_NE(outcome.standardOutput.find(text), std::string::npos) << text;
    }
}

TEST(Cli, UsageErrors) {
    const std::vector<Arguments> commandLines = {{},
                                                 {"frobnicate"},
                                                 {"controller", "--frobnicate"},
                                                 {"controller", "extra"},
                                                 {"controller", "--library"},
                                                 {"controller", "--library", ""},
                                                 {"controller", "version"}};
    for (const Arguments& arguments : commandLines) {
        const CliOutcome outcome = evaluate(arguments);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.standardOutput, "");
        EXPECT_EQ(outcome.standardError.rfind("veskctl: ", 0), 0U) << outcome.standardError;
    }
}

TEST(Cli, SaysWhatIsUnknown) {
    const std::string hint = "veskctl: try 'veskctl --help' for more information\n";
    EXPECT_EQ(evaluate({}).standardError, "veskctl: no command was given\n" + hint);
    EXPECT_EQ(evaluate({"frob"}).standardError, "veskctl: unknown command 'frob'\n" + hint);
    EXPECT_EQ(evaluate({"--frob"}).standardError, "veskctl: unknown option '--frob'\n" + hint);
}

TEST(Cli, UsageErrorAsADocument) {
    const CliOutcome outcome = evaluate({"frobnicate", "--json"});
    EXPECT_EQ(outcome.exitCode, 2);
    const ordered_json document = ordered_json::parse(outcome.standardOutput);
    EXPECT_EQ(document["schema_version"], 1);
    EXPECT_TRUE(document["command"].is_null());
    EXPECT_EQ(document["errors"][0]["code"], "usage");
}

TEST(Cli, ControllerWithoutLibrary) {
    const CliOutcome outcome = evaluate({"controller", "--library", kNoLibrary});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.standardOutput, "");
    EXPECT_EQ(outcome.standardError,
              "veskctl: the library /nonexistent/libVeskNvme.so was not found; check the path\n");
}

TEST(Cli, ControllerWithoutLibraryAsADocument) {
    const CliOutcome outcome = evaluate({"--json", "--library", kNoLibrary, "controller"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_NE(outcome.standardError, "");
    const ordered_json document = ordered_json::parse(outcome.standardOutput);
    EXPECT_EQ(document["schema_version"], 1);
    EXPECT_EQ(document["command"], "controller");
    EXPECT_EQ(document["controllers"], ordered_json::array());
    EXPECT_EQ(document["errors"][0]["code"], "library_not_found");
}

TEST(Cli, ControllerOfAForeignLibrary) {
    const CliOutcome outcome = evaluate({"controller", "--json", "--library", "libc.so.6"});
    EXPECT_EQ(outcome.exitCode, 1);
    const ordered_json document = ordered_json::parse(outcome.standardOutput);
    EXPECT_EQ(document["errors"][0]["code"], "library_symbol_missing");
}

TEST(Cli, VersionWorksWithoutLibrary) {
    const CliOutcome text = evaluate({"version", "--library", kNoLibrary});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_EQ(text.standardError, "");
    EXPECT_NE(text.standardOutput.find("  Library          not loaded\n"), std::string::npos)
        << text.standardOutput;

    const CliOutcome json = evaluate({"version", "--json", "--library", kNoLibrary});
    EXPECT_EQ(json.exitCode, 0);
    const ordered_json document = ordered_json::parse(json.standardOutput);
    EXPECT_TRUE(document["program_version"].is_string());
    EXPECT_TRUE(document["library_path"].is_null());
    EXPECT_EQ(document["library_problem"]["code"], "library_not_found");
    EXPECT_EQ(document["errors"], ordered_json::array());
}

TEST(Cli, HooksAddOptionsOnBothSidesOfTheCommand) {
    std::string value;
    int prepared = 0;
    CliHooks hooks;
    hooks.addOptions = [&value](CLI::App& app) {
        app.add_option("--extra", value);
    };
    hooks.prepare = [&prepared] {
        ++prepared;
    };
    EXPECT_EQ(evaluate({"--extra", "a", "version", "--library", kNoLibrary}, hooks).exitCode, 0);
    EXPECT_EQ(value, "a");
    EXPECT_EQ(evaluate({"version", "--extra", "b", "--library", kNoLibrary}, hooks).exitCode, 0);
    EXPECT_EQ(value, "b");
    EXPECT_EQ(prepared, 2);
    EXPECT_EQ(evaluate({"frobnicate"}, hooks).exitCode, 2);
    EXPECT_EQ(prepared, 2);
}

TEST(Cli, AHookThatCannotPrepareIsAUsageError) {
    CliHooks hooks;
    hooks.prepare = [] {
        throw UsageError("no such scenario");
    };
    const CliOutcome outcome = evaluate({"controller", "--json"}, hooks);
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.standardError, "veskctl: no such scenario\n");
    const ordered_json document = ordered_json::parse(outcome.standardOutput);
    EXPECT_EQ(document["command"], "controller");
    EXPECT_EQ(document["errors"][0]["code"], "usage");
}

}  // namespace
