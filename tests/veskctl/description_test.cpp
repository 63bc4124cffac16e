// The program as data, and the help text that is made of it.
#include "veskctl/description.h"

#include "veskctl/cli.h"
#include "veskctl/help.h"
#include "veskctl/printable.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace veskctl {

namespace {

std::vector<std::string> splitAt(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

TEST(Description, EveryCommandHasASummaryOfOneLineAndAnExample) {
    const ProgramDescription program = describeProgram(CliHooks());
    EXPECT_GT(program.commands().size(), 15U);
    for (const CommandDescription* command : program.commands()) {
        EXPECT_FALSE(command->summary.empty()) << command->words;
        EXPECT_LE(command->summary.size(), 60U) << command->words << ": " << command->summary;
        EXPECT_NE(command->summary.back(), '.') << command->words;
        EXPECT_TRUE(!command->runs || !command->examples.empty()) << command->words;
        for (const OptionDescription& option : command->options) {
            EXPECT_FALSE(option.help.empty()) << command->words << ' ' << option.longName;
        }
    }
}

TEST(Description, ExamplesNameTheProgramThatTheyAreOf) {
    CliHooks hooks;
    hooks.programName = "another";
    const ProgramDescription program = describeProgram(hooks);
    for (const CommandDescription* command : program.commands()) {
        for (const Example& example : command->examples) {
            const std::string line = exampleLine(program, example);
            EXPECT_EQ(line.find("veskctl"), std::string::npos) << line;
            EXPECT_EQ(line.find("PROGRAM"), std::string::npos) << line;
        }
    }
    const std::vector<Example>& ofCompletion = program.find("completion")->examples;
    ASSERT_FALSE(ofCompletion.empty());
    EXPECT_EQ(exampleLine(program, ofCompletion.front()),
              "another completion bash > ~/.local/share/bash-completion/completions/another");
}

// Up to the point where a shell would take over.
TEST(Description, ExamplesAreUnderstood) {
    CliHooks hooks;
    hooks.prepare = [](CommandContext&) {
        throw std::runtime_error("the command was understood");
    };
    const ProgramDescription program = describeProgram(hooks);
    std::vector<const CommandDescription*> commands = program.commands();
    commands.push_back(&program.top);
    for (const CommandDescription* command : commands) {
        for (const Example& example : command->examples) {
            const std::string line = std::string(example.line);
            EXPECT_EQ(line.rfind(command->words, 0), 0U) << line;
            std::vector<std::string> words = {"veskctl"};
            for (const std::string& word : splitAt(line, ' ')) {
                if (word == "|" || word == ">" || word == ">>" || word == "||" || word == "&&") {
                    break;
                }
                words.push_back(word);
            }
            std::vector<const char*> arguments;
            for (const std::string& word : words) {
                arguments.push_back(word.c_str());
            }
            const CliOutcome outcome =
                evaluateCli(static_cast<int>(arguments.size()), arguments.data(), hooks, Screen());
            EXPECT_EQ(outcome.standardError.find("--help'"), std::string::npos)
                << line << ": " << outcome.standardError;
        }
    }
}

// Completion knows an option by its name alone.
TEST(Description, AnOptionTakesAValueEverywhereOrNowhere) {
    const ProgramDescription program = describeProgram(CliHooks());
    std::map<std::string, bool> takesValue;
    std::vector<const CommandDescription*> commands = program.commands();
    commands.push_back(&program.top);
    for (const CommandDescription* command : commands) {
        for (const OptionDescription& option : command->options) {
            if (!option.isWord()) {
                const bool takes = !option.value.empty();
                EXPECT_EQ(takesValue.emplace(option.longName, takes).first->second, takes)
                    << command->words << ' ' << option.longName;
            }
        }
    }
}

TEST(Description, HelpFitsTheScreen) {
    const ProgramDescription program = describeProgram(CliHooks());
    std::vector<const CommandDescription*> commands = program.commands();
    commands.push_back(&program.top);
    for (const unsigned columns : {0U, 80U, 60U}) {
        for (const CommandDescription* command : commands) {
            for (const std::string& line : splitAt(helpText(program, *command, columns), '\n')) {
                const bool breakable =
                    line.find(' ', line.find_first_not_of(' ')) != std::string::npos;
                EXPECT_TRUE(columnsOf(line) <= (columns == 0 ? 80U : columns) || !breakable ||
                            line.rfind("  veskctl ", 0) == 0)
                    << line;
            }
        }
    }
}

TEST(Description, HelpOfACommand) {
    Command show = {"show", "Show it", [](Options& options) {
                        static bool flag = false;
                        options.addFlag("--loud", flag, "Shout");
                        options.addRemark("A remark\nof two lines.");
                        return CommandRunner();
                    }};
    show.examples = {{"it show --loud", "shout it"}};
    CliHooks hooks;
    hooks.commands = {{"it", "About it", nullptr, {show}}};
    const ProgramDescription program = describeProgram(hooks);
    EXPECT_EQ(program.find("nothing"), nullptr);
    EXPECT_EQ(program.find("")->words, "");
    const std::string text = helpText(program, *program.find("it show"), 80);
    EXPECT_EQ(text.substr(0, text.find("\nOptions of every command")),
              "Usage: veskctl it show [OPTIONS]\n\nShow it.\n\nA remark of two lines.\n\n"
              "Options:\n  --loud  Shout\n\nExamples:\n  veskctl it show --loud  shout it\n");
    EXPECT_EQ(usageLine(program, *program.find("it")), "veskctl it COMMAND [OPTIONS]");
    EXPECT_EQ(usageLine(program, *program.find("disks")), "veskctl disks [COMMAND] [OPTIONS]");
    EXPECT_EQ(usageLine(program, *program.find("disks show")), "veskctl disks show ID [OPTIONS]");
}

}  // namespace

}  // namespace veskctl
