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
                                                 {"controller", "version"},
                                                 {"disks", "0"},
                                                 {"disks", "show"},
                                                 {"disks", "show", "2"},
                                                 {"disks", "show", "-1"},
                                                 {"disks", "show", "00"},
                                                 {"disks", "show", "0", "1"},
                                                 {"health", "2"},
                                                 {"volumes", "show", "x"},
                                                 {"locate"},
                                                 {"locate", "on"},
                                                 {"locate", "blink", "0"},
                                                 {"locate", "on", "2"},
                                                 {"events", "--wait", "601"},
                                                 {"events", "--wait", "-1"},
                                                 {"events", "--interval", "2"},
                                                 {"events", "--follow", "--interval", "0"},
                                                 {"events", "--follow", "--wait", "1"},
                                                 {"sim", "leds"}};
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

TEST(Cli, SaysWhatIsUnknownBehindAFirstWord) {
    const std::string hint = "veskctl: try 'veskctl --help' for more information\n";
    EXPECT_EQ(evaluate({"locate"}).standardError,
              "veskctl: no command was given behind 'locate'\n" + hint);
    EXPECT_EQ(evaluate({"locate", "blink"}).standardError,
              "veskctl: unknown command 'blink' behind 'locate'\n" + hint);
    EXPECT_EQ(evaluate({"disks", "show", "7"}).standardError,
              "veskctl: ID: there is no disk '7', the ids are 0 and 1\n" + hint);
}

// Each list is there, empty, before anything can fail.
TEST(Cli, EveryCommandWritesItsDocumentWithoutLibrary) {
    struct Expected {
        Arguments arguments;
        const char* command;
        const char* field;
        ordered_json value;
    };
    const ordered_json none = ordered_json::array();
    const std::vector<Expected> all = {{{"disks"}, "disks", "disks", none},
                                       {{"disks", "show", "1"}, "disks show", "disks", none},
                                       {{"health"}, "health", "health", none},
                                       {{"health", "0"}, "health", "health", none},
                                       {{"volumes"}, "volumes", "volumes", none},
                                       {{"volumes", "show", "0"}, "volumes show", "volumes", none},
                                       {{"events"}, "events", "events", none},
                                       {{"events"}, "events", "more_may_follow", false},
                                       {{"locate", "on", "1"}, "locate on", "requested", false},
                                       {{"locate", "off", "1"}, "locate off", "locate", "off"}};
    for (const Expected& expected : all) {
        Arguments arguments = expected.arguments;
        arguments.insert(arguments.end(), {"--json", "--library", kNoLibrary});
        const CliOutcome outcome = evaluate(arguments);
        EXPECT_EQ(outcome.exitCode, 1);
        const ordered_json document = ordered_json::parse(outcome.standardOutput);
        EXPECT_EQ(document["schema_version"], 1);
        EXPECT_EQ(document["command"], expected.command);
        EXPECT_EQ(document[expected.field], expected.value) << expected.command;
        EXPECT_EQ(document["errors"][0]["code"], "library_not_found");
    }
}

TEST(Cli, OptionsMayStandBetweenTheWordsOfACommand) {
    const CliOutcome outcome = evaluate({"disks", "--json", "show", "--library", kNoLibrary, "0"});
    EXPECT_EQ(ordered_json::parse(outcome.standardOutput)["command"], "disks show");
}

TEST(Cli, FormsOfEventsThatExcludeEachOther) {
    for (const char* option : {"--ndjson", "--follow"}) {
        const CliOutcome outcome = evaluate({"events", "--json", option});
        EXPECT_EQ(outcome.exitCode, 2);
        const ordered_json document = ordered_json::parse(outcome.standardOutput);
        EXPECT_EQ(document["errors"][0]["code"], "usage");
        EXPECT_FALSE(document.contains("events"));
    }
}

TEST(Cli, HelpOfEventsSaysThatTheMarkMoves) {
    const CliOutcome outcome = evaluate({"events", "--help"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_NE(outcome.standardOutput.find("Taking events moves the mark"), std::string::npos);
    EXPECT_NE(outcome.standardOutput.find("Exit codes:"), std::string::npos);
}

TEST(Cli, HooksAddCommands) {
    CliHooks hooks;
    hooks.commands = {
        {"extra", "More", nullptr, {{"word", "A word", [](CLI::App&) {
                                         return veskctl::CommandRunner(
                                             [](const veskctl::CommandContext& context,
                                                veskctl::Report& report) {
                                                 report.fields["coloured"] = context.colour;
                                                 report.text = context.json ? "json\n" : "text\n";
                                                 report.notes.emplace_back("a note");
                                             });
                                     }}}}};
    const CliOutcome text = evaluate({"extra", "word"}, hooks);
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_EQ(text.standardOutput, "text\n");
    EXPECT_EQ(text.standardError, "veskctl: note: a note\n");
    const CliOutcome json = evaluate({"extra", "--json", "word"}, hooks);
    EXPECT_EQ(ordered_json::parse(json.standardOutput), ordered_json::parse(R"({
        "schema_version": 1, "command": "extra word", "coloured": false, "errors": []})"));
    EXPECT_EQ(json.standardError, "");
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
