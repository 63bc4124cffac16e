// The command line: parsing, documents for every outcome, hooks. No library is set up here.
#include "veskctl/cli.h"

#include "veskctl/report.h"

#include "samples.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace veskctl {

namespace {

constexpr const char* kNoLibrary = "/nonexistent/libVeskNvme.so";

using Arguments = std::vector<const char*>;

CliOutcome evaluate(const Arguments& arguments, const CliHooks& hooks = CliHooks()) {
    Arguments argv = {"veskctl"};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    return evaluateCli(static_cast<int>(argv.size()), argv.data(), hooks, Screen());
}

TEST(Cli, HelpNamesCommandsExitCodesAndTheMarkThatMoves) {
    const CliOutcome outcome = evaluate({"--help"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.standardError, "");
    for (const char* text : {"controller", "version", "Exit codes:", "there is no controller"}) {
        EXPECT_TRUE(contains(outcome.standardOutput, text)) << text;
    }
    const CliOutcome ofEvents = evaluate({"events", "--help"});
    EXPECT_EQ(ofEvents.exitCode, 0);
    EXPECT_TRUE(contains(ofEvents.standardOutput, "Showing events moves the mark"));
    EXPECT_TRUE(contains(ofEvents.standardOutput, "Examples:"));
}

TEST(Cli, UsageErrorsSayWhatIsWrongAndWhatToAsk) {
    struct Row {
        Arguments arguments;
        const char* message;
        const char* words;  // of the command whose help is named
    };
    const std::vector<Row> rows = {
        {{"frob"}, "unknown command 'frob'", ""},
        {{"dsiks"}, "unknown command 'dsiks'; did you mean 'disks'?", ""},
        {{"stat"}, "unknown command 'stat'; did you mean 'status'?", ""},
        {{"--frob"}, "unknown option '--frob'", ""},
        {{"--jsno", "disks"},
         "unknown option '--jsno' behind 'disks'; did you mean '--json'?",
         "disks"},
        {{"--follow"}, "--follow stands behind its command: 'events'", ""},
        {{"controller", "--frob"}, "unknown option '--frob' behind 'controller'", "controller"},
        {{"disks", "--follow"}, "--follow does not go with 'disks', but with 'events'", "disks"},
        {{"controller", "extra"}, "'controller' takes no further word 'extra'", "controller"},
        {{"controller", "version"}, "'controller' takes no further word 'version'", "controller"},
        {{"controller", "--library"}, "--library needs a value", "controller"},
        {{"controller", "--library", ""}, "--library: the value is empty", "controller"},
        {{"disks", "0"},
         "unknown command '0' behind 'disks'; did you mean 'disks show 0'?",
         "disks"},
        {{"disks", "show"}, "'disks show' needs ID", "disks show"},
        {{"disks", "shwo", "0"},
         "unknown command 'shwo' behind 'disks'; did you mean 'show'?",
         "disks"},
        {{"disks", "show", "7"}, "ID: there is no disk '7', the ids are 0 and 1", "disks show"},
        {{"disks", "show", "-1"}, "ID: there is no disk '-1', the ids are 0 and 1", "disks show"},
        {{"disks", "show", "00"}, "ID: there is no disk '00', the ids are 0 and 1", "disks show"},
        {{"disks", "show", "0", "1"}, "'disks show' takes no further word '1'", "disks show"},
        {{"health", "show", "2"}, "ID: there is no disk '2', the ids are 0 and 1", "health show"},
        {{"volumes", "show", "x"},
         "ID: there is no volume 'x', the ids are 0 and 1",
         "volumes show"},
        {{"locate"}, "no command was given behind 'locate'", "locate"},
        {{"locate", "on"}, "'locate on' needs ID", "locate on"},
        {{"locate", "blink", "0"}, "unknown command 'blink' behind 'locate'", "locate"},
        {{"locate", "on", "2"}, "ID: there is no disk '2', the ids are 0 and 1", "locate on"},
        {{"mark", "set"}, "'mark set' needs NUMBER", "mark set"},
        {{"mark", "set", "2147483648"},
         "NUMBER: '2147483648' is no number from 0 to 2147483647",
         "mark set"},
        {{"events", "--wait", "601"}, "--wait: '601' is no number from 0 to 600", "events"},
        {{"events", "--wait", "-1"}, "--wait: '-1' is no number from 0 to 600", "events"},
        {{"events", "--wait", "99999999999999999999"},
         "--wait: '99999999999999999999' is no number from 0 to 600",
         "events"},
        {{"events", "--interval", "2"}, "--interval requires --follow", "events"},
        {{"events", "--follow", "--interval", "0"},
         "--interval: '0' is no number from 1 to 3600",
         "events"},
        {{"events", "--follow", "--wait", "1"}, "--follow does not go with --wait", "events"},
        {{"disks", "-o", "xml"}, "--output: 'xml' is none of table, json, ndjson, csv", "disks"},
        {{"disks", "-o", "csv", "-o", "csv"}, "--output is given more than once", "disks"},
        {{"disks", "-o", "csv", "--ndjson"},
         "csv and ndjson are two formats: ask for one of them",
         "disks"},
        {{"disks", "--color", "sometimes"},
         "--color: 'sometimes' is none of auto, always, never",
         "disks"},
        {{"disks", "--timeout", "0"}, "--timeout: '0' is no number from 1 to 86400", "disks"},
        {{"--watch=0", "disks"}, "--watch: '0' is no number from 1 to 86400", "disks"},
        {{"disks", "--watch=fast"}, "--watch: 'fast' is no number from 1 to 86400", "disks"},
        {{"locate", "on", "0", "--watch"}, "--watch does not go with 'locate on'", "locate on"},
        {{"sim", "leds"}, "unknown command 'sim'", ""},
        {{"help", "disks", "shwo"},
         "unknown command 'shwo' behind 'disks'; did you mean 'show'?",
         "disks"},
        {{"help", "dsiks"}, "unknown command 'dsiks'; did you mean 'disks'?", ""},
        {{"events", "--watch"},
         "--watch would show each event for one look only: add --peek or --since, or use --follow "
         "instead",
         "events"},
        {{"events", "--follow", "--watch"},
         "--follow goes on by itself: leave out --watch",
         "events"},
        {{"disks", "frob", "--help"}, "unknown command 'frob' behind 'disks'", "disks"},
        {{"completion"}, "'completion' needs SHELL", "completion"},
        {{"completion", "csh"}, "SHELL: 'csh' is none of bash, zsh, fish", "completion"}};
    for (const Row& row : rows) {
        const CliOutcome outcome = evaluate(row.arguments);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.standardOutput, "");
        const std::string words = row.words;
        EXPECT_EQ(outcome.standardError, std::string("veskctl: ") + row.message +
                                             "\nveskctl: try 'veskctl " + words +
                                             (words.empty() ? "" : " ") + "--help'\n");
    }
}

TEST(Cli, NumbersUpToTheirLimitAreTaken) {
    CliHooks hooks;
    hooks.prepare = [](CommandContext&) {
        throw std::runtime_error("understood");
    };
    for (const char* number : {"0", "2147483647"}) {
        EXPECT_EQ(evaluate({"mark", "set", number}, hooks).standardError,
                  "veskctl: the command failed: understood\n");
    }
}

TEST(Cli, HelpIsAskedForInTwoWays) {
    for (const Arguments& arguments :
         {Arguments{"help", "disks", "show"}, Arguments{"disks", "show", "--help"},
          Arguments{"disks", "show", "0", "-h"}}) {
        const CliOutcome outcome = evaluate(arguments);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.standardOutput, evaluate({"help", "disks", "show"}).standardOutput);
        EXPECT_TRUE(contains(outcome.standardOutput, "Usage: veskctl disks show ID [OPTIONS]\n"));
    }
    EXPECT_EQ(evaluate({"help"}).standardOutput, evaluate({"--help"}).standardOutput);
    EXPECT_EQ(evaluate({"--version"}).standardOutput.rfind("veskctl ", 0), 0U);
}

TEST(Cli, UsageErrorAsADocument) {
    const CliOutcome outcome = evaluate({"frob", "--json"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(compact(parsed(outcome.standardOutput)), compact(R"({
        "schema_version": 1, "command": null, "simulated": false, "host": null,
        "errors": [{"code": "usage", "message": "unknown command 'frob'", "function": null,
                    "result": null, "result_code": null}]})"));
}

TEST(Cli, UsageErrorsNameTheCommand) {
    struct Row {
        Arguments arguments;
        const char* command;
    };
    const std::vector<Row> rows = {{{"--json", "disks", "show", "7"}, "\"disks show\""},
                                   {{"--json", "disks", "show"}, "\"disks show\""},
                                   {{"--json", "locate", "blink"}, "\"locate\""},
                                   {{"--json", "events", "--frob"}, "\"events\""},
                                   {{"--json", "--frob"}, "null"}};
    for (const Row& row : rows) {
        EXPECT_EQ(at(parsed(evaluate(row.arguments).standardOutput), "/command"), row.command);
    }
}

CommandRunner declareLoud(Options& options) {
    const auto loud = std::make_shared<bool>(false);
    const auto word = std::make_shared<std::string>("none");
    options.addFlag("--loud", *loud, "Loud");
    options.addText("--word", *word, "TEXT", "Word");
    return [loud, word](const CommandContext&, Report& report) {
        report.fields["loud"] = *loud;
        report.fields["word"] = *word;
    };
}

CommandRunner declareNothing(Options&) {
    return [](const CommandContext&, Report&) {
    };
}

TEST(Cli, OptionsOfACommandCountForItsSubcommands) {
    CliHooks hooks;
    hooks.commands = {{"say",
                       "Say",
                       declareLoud,
                       {{"it", "It", declareLoud}, {"nothing", "Nothing", declareNothing}}}};
    for (const Arguments& arguments :
         {Arguments{"say", "--json", "--loud", "--word", "a", "it"},
          Arguments{"say", "--word", "a", "it", "--json", "--loud"},
          Arguments{"say", "--word", "b", "it", "--json", "--loud", "--word", "a"}}) {
        const Json document = parsed(evaluate(arguments, hooks).standardOutput);
        EXPECT_EQ(at(document, "/command"), "\"say it\"");
        EXPECT_EQ(at(document, "/loud"), "true");
        EXPECT_EQ(at(document, "/word"), "\"a\"");
    }
    const CliOutcome refused = evaluate({"say", "--loud", "nothing"}, hooks);
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_TRUE(contains(refused.standardError, "--loud does not go with 'say nothing'\n"))
        << refused.standardError;
}

TEST(Cli, FormsOfEventsThatExcludeEachOther) {
    for (const char* option : {"--ndjson", "--follow"}) {
        const CliOutcome outcome = evaluate({"events", "--json", option});
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(at(parsed(outcome.standardOutput), "/errors/0/code"), "\"usage\"");
        EXPECT_EQ(at(parsed(outcome.standardOutput), "/events"), "missing");
    }
}

TEST(Cli, OptionsMayStandBeforeBetweenAndBehindTheWordsOfACommand) {
    for (const Arguments& arguments :
         {Arguments{"--json", "--library", kNoLibrary, "disks", "show", "0"},
          Arguments{"disks", "--json", "show", "--library", kNoLibrary, "0"},
          Arguments{"disks", "show", "0", "--json", "--library", kNoLibrary}}) {
        EXPECT_EQ(at(parsed(evaluate(arguments).standardOutput), "/command"), "\"disks show\"");
    }
}

// Each list is there, empty, before anything can fail.
TEST(Cli, EveryCommandWritesItsDocumentWithoutLibrary) {
    struct Row {
        Arguments arguments;
        const char* command;
        const char* field;
        const char* value;
    };
    const std::vector<Row> rows = {
        {{}, "\"status\"", "/controllers", "[]"},
        {{"status"}, "\"status\"", "/verdict/level", "\"unknown\""},
        {{"controller"}, "\"controller\"", "/controllers", "[]"},
        {{"disks"}, "\"disks\"", "/disks", "[]"},
        {{"disks", "show", "1"}, "\"disks show\"", "/disks", "[]"},
        {{"health"}, "\"health\"", "/health", "[]"},
        {{"health", "0"}, "\"health\"", "/health", "[]"},
        {{"volumes"}, "\"volumes\"", "/volumes", "[]"},
        {{"volumes", "show", "0"}, "\"volumes show\"", "/volumes", "[]"},
        {{"events"}, "\"events\"", "/events", "[]"},
        {{"events"}, "\"events\"", "/more_may_follow", "false"},
        {{"locate", "on", "1"}, "\"locate on\"", "/requested", "false"},
        {{"locate", "off", "1"}, "\"locate off\"", "/locate", "\"off\""}};
    for (const Row& row : rows) {
        Arguments arguments = row.arguments;
        arguments.insert(arguments.end(), {"--json", "--library", kNoLibrary});
        CliHooks hooks;
        hooks.prepare = [](CommandContext& context) {
            context.child.redirectFile = [](const std::string&, const std::string&) {
            };
        };
        const CliOutcome outcome = evaluate(arguments, hooks);
        const Json document = parsed(outcome.standardOutput);
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(outcome.standardError, "veskctl: the library /nonexistent/libVeskNvme.so was not "
                                         "found; check the path\n");
        EXPECT_EQ(at(document, "/schema_version"), "1");
        EXPECT_EQ(at(document, "/command"), row.command);
        EXPECT_EQ(at(document, row.field), row.value) << row.command;
        EXPECT_EQ(at(document, "/errors/0/code"), "\"library_not_found\"");
    }
    EXPECT_EQ(evaluate({"controller", "--library", kNoLibrary}).standardOutput, "");
}

TEST(Cli, AForeignLibraryLacksTheFunctions) {
    const CliOutcome outcome = evaluate({"controller", "--json", "--library", "libc.so.6"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(at(parsed(outcome.standardOutput), "/errors/0/code"), "\"library_symbol_missing\"");
}

TEST(Cli, VersionWorksWithoutLibrary) {
    const CliOutcome text = evaluate({"version", "--library", kNoLibrary});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_EQ(text.standardError, "");
    EXPECT_TRUE(contains(text.standardOutput, "  Library          not loaded\n"))
        << text.standardOutput;

    const CliOutcome json = evaluate({"version", "--json", "--library", kNoLibrary});
    const Json document = parsed(json.standardOutput);
    EXPECT_EQ(json.exitCode, 0);
    EXPECT_EQ(at(document, "/program_version").front(), '"');
    EXPECT_EQ(at(document, "/library_path"), "null");
    EXPECT_EQ(at(document, "/library_problem/code"), "\"library_not_found\"");
    EXPECT_EQ(at(document, "/errors"), "[]");
}

void runExtra(const CommandContext& context, Report& report) {
    report.fields["coloured"] = context.colour;
    report.text = context.format == OutputFormat::JsonDocument ? "json\n" : "text\n";
    report.notes.emplace_back("a note");
}

TEST(Cli, HooksAddCommands) {
    const Command word = {"word", "A word", [](Options&) {
                              return CommandRunner(runExtra);
                          }};
    CliHooks hooks;
    hooks.commands = {{"extra", "More", nullptr, {word}}};
    const CliOutcome text = evaluate({"extra", "word"}, hooks);
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_EQ(text.standardOutput, "text\n");
    EXPECT_EQ(text.standardError, "veskctl: note: a note\n");
    const CliOutcome json = evaluate({"extra", "--json", "--host", "esx1", "word"}, hooks);
    EXPECT_EQ(compact(parsed(json.standardOutput)), compact(R"({
        "schema_version": 1, "command": "extra word", "simulated": false, "host": "esx1", "coloured": false, "errors": []})"));
    EXPECT_EQ(json.standardError, "");
}

// Says what it is told.
CommandRunner tellContext(Options&) {
    return [](const CommandContext& context, Report& report) {
        report.text = std::to_string(static_cast<int>(context.format)) + ' ' +
                      (context.colour ? "colour " : "") + (context.header ? "header " : "") +
                      (context.quiet ? "quiet " : "") + std::to_string(context.width) + ' ' +
                      std::to_string(context.timeoutSeconds.value_or(0)) + '\n';
        report.forPrograms = true;
    };
}

TEST(Cli, CommonOptionsReachTheCommand) {
    struct Row {
        Arguments arguments;
        const char* told;
    };
    const std::vector<Row> rows = {{{}, "0 colour header 90 0\n"},
                                   {{"--no-header", "-q"}, "0 colour quiet 90 0\n"},
                                   {{"--color", "never"}, "0 header 90 0\n"},
                                   {{"-o", "table", "--timeout", "7"}, "0 colour header 90 7\n"}};
    CliHooks hooks;
    hooks.commands = {{"tell", "Tell", tellContext, {}, true}};
    for (const Row& row : rows) {
        Arguments argv = {"veskctl"};
        argv.insert(argv.end(), row.arguments.begin(), row.arguments.end());
        argv.push_back("tell");
        const CliOutcome outcome = evaluateCli(static_cast<int>(argv.size()), argv.data(), hooks,
                                               Screen{true, true, 90, 25});
        EXPECT_EQ(outcome.standardOutput, row.told) << outcome.standardError;
    }
    for (const Arguments& arguments :
         {Arguments{"tell", "--color=always"}, Arguments{"--color", "always", "tell"}}) {
        EXPECT_EQ(evaluate(arguments, hooks).standardOutput, "0 colour header 0 0\n");
    }
}

TEST(Cli, ALookMayBeWantedAgain) {
    CliHooks hooks;
    hooks.commands = {{"tell", "Tell", tellContext, {}, true}};
    EXPECT_EQ(evaluate({"tell"}, hooks).watchSeconds, std::nullopt);
    EXPECT_EQ(evaluate({"tell", "--watch"}, hooks).watchSeconds, std::optional<unsigned>(2));
    EXPECT_EQ(evaluate({"--watch", "tell"}, hooks).watchSeconds, std::optional<unsigned>(2));
    EXPECT_EQ(evaluate({"tell", "--watch", "60"}, hooks).watchSeconds, std::optional<unsigned>(60));
}

TEST(Cli, HooksAddOptionsOnBothSidesOfTheCommand) {
    std::string value;
    int prepared = 0;
    CliHooks hooks;
    hooks.addOptions = [&value](Options& options) {
        options.addText("--extra", value, "TEXT", "More");
    };
    hooks.prepare = [&prepared](CommandContext&) {
        ++prepared;
    };
    EXPECT_EQ(evaluate({"--extra", "a", "version", "--library", kNoLibrary}, hooks).exitCode, 0);
    EXPECT_EQ(value, "a");
    EXPECT_EQ(evaluate({"version", "--extra", "b", "--library", kNoLibrary}, hooks).exitCode, 0);
    EXPECT_EQ(value, "b");
    EXPECT_EQ(prepared, 2);
    EXPECT_EQ(evaluate({"frob"}, hooks).exitCode, 2);
    EXPECT_EQ(prepared, 2);
}

TEST(Cli, WhatAHookThrowsIsTold) {
    struct Row {
        void (*prepare)(CommandContext&);
        int exitCode;
        const char* code;
        const char* standardError;
    };
    const std::vector<Row> rows = {
        {[](CommandContext&) { throw UsageError("no such scenario"); }, 2, "\"usage\"",
         "veskctl: no such scenario\nveskctl: try 'veskctl controller --help'\n"},
        {[](CommandContext&) { throw std::runtime_error("odd"); }, 1, "\"internal_error\"",
         "veskctl: the command failed: odd\n"},
        {[](CommandContext&) { throw 7; }, 1, "\"internal_error\"",
         "veskctl: the command failed for a reason that the library did not state\n"}};
    for (const Row& row : rows) {
        CliHooks hooks;
        hooks.prepare = row.prepare;
        const CliOutcome outcome = evaluate({"controller", "--json"}, hooks);
        EXPECT_EQ(outcome.exitCode, row.exitCode);
        EXPECT_EQ(outcome.standardError, row.standardError);
        EXPECT_EQ(at(parsed(outcome.standardOutput), "/command"), "\"controller\"");
        EXPECT_EQ(at(parsed(outcome.standardOutput), "/errors/0/code"), row.code);
    }
}

}  // namespace

}  // namespace veskctl
