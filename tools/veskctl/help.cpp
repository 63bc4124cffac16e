#include "veskctl/help.h"

#include "veskctl/format.h"
#include "veskctl/printable.h"
#include "veskctl/report.h"
#include "veskctl/usage_message.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace veskctl {

namespace {

constexpr unsigned kUsualColumns = 80;
constexpr unsigned kMostColumns = 100;  // longer lines are hard to read

using Entries = std::vector<std::pair<std::string, std::string>>;  // what, and what it means

class HelpPage {
public:
    explicit HelpPage(unsigned columns)
        : m_columns(std::min(columns == 0 ? kUsualColumns : columns, kMostColumns)) {}

    void addParagraph(const std::string& text, std::size_t indent = 0) {
        m_text += wrapped(text, m_columns, indent) + '\n';
    }

    void addList(const std::string& title, const Entries& entries) {
        constexpr std::size_t kMostLeft = 28;
        if (entries.empty()) {
            return;
        }
        std::size_t left = 0;
        for (const auto& [what, meaning] : entries) {
            left = what.size() > kMostLeft ? left : std::max(left, what.size());
        }
        left += 4;
        m_text += format("\n{}:\n", title);
        for (const auto& [what, meaning] : entries) {
            if (what.size() + 4 > left) {
                m_text += format("  {}\n", what);
                addParagraph(std::string(left, ' ') + meaning, left);
            } else {
                addParagraph(format("  {:<{}}{}", what, left - 2, meaning), left);
            }
        }
    }

    void addLine() { m_text += '\n'; }
    const std::string& text() const { return m_text; }

private:
    unsigned m_columns;
    std::string m_text;
};

// "show ID"
std::string wordsBehind(const CommandDescription& command) {
    std::string words;
    for (const OptionDescription& option : command.options) {
        if (option.isWord()) {
            words += format(option.required ? " {}" : " [{}]", option.longName);
        }
    }
    return words;
}

Entries commandEntries(const CommandDescription& command) {
    Entries entries;
    for (const CommandDescription& subcommand : command.subcommands) {
        entries.emplace_back(subcommand.name + wordsBehind(subcommand), subcommand.summary);
    }
    return entries;
}

Entries optionEntries(const CommandDescription& command, bool words) {
    Entries entries;
    for (const OptionDescription& option : command.options) {
        if (option.isWord() == words) {
            entries.emplace_back(optionTitle(option), option.help);
        }
    }
    return entries;
}

// Only their names: the program's own help explains them.
std::string commonOptions(const ProgramDescription& program) {
    std::string names;
    for (const OptionDescription& option : program.top.options) {
        const std::string value = option.value.substr(0, option.value.find(" ["));
        names += (names.empty() ? "" : ", ") + option.longName + (value.empty() ? "" : "=" + value);
    }
    return names;
}

}  // namespace

std::string usageLine(const ProgramDescription& program, const CommandDescription& command) {
    std::string line = program.name + (command.words.empty() ? "" : ' ' + command.words);
    line += wordsBehind(command);
    if (!command.subcommands.empty()) {
        line += command.runs ? " [COMMAND]" : " COMMAND";
    }
    return line + " [OPTIONS]";
}

std::string optionTitle(const OptionDescription& option) {
    if (option.isWord()) {
        return option.longName;
    }
    return (option.shortName.empty() ? "" : option.shortName + ", ") + option.longName +
           (option.value.empty() ? "" : ' ' + option.value);
}

std::string exampleLine(const ProgramDescription& program, const Example& example) {
    constexpr std::string_view kName = "PROGRAM";
    std::string line = example.line;
    if (const std::size_t at = line.find(kName); at != std::string::npos) {
        line.replace(at, kName.size(), program.name);
    }
    return program.name + (line.empty() ? "" : ' ' + line);
}

std::string helpText(const ProgramDescription& program, const CommandDescription& command,
                     unsigned columns) {
    const bool whole = command.words.empty();
    HelpPage page(columns);
    page.addParagraph("Usage: " + usageLine(program, command), 7);
    page.addLine();
    page.addParagraph(command.summary + '.');
    for (const std::string& remark : command.remarks) {
        page.addLine();
        page.addParagraph(remark);
    }
    page.addList("Commands", commandEntries(command));
    page.addList("Words", optionEntries(command, true));
    page.addList(whole ? "Options, before or behind the command" : "Options",
                 optionEntries(command, false));
    Entries examples;
    for (const Example& example : command.examples) {
        examples.emplace_back(exampleLine(program, example), example.what);
    }
    page.addList("Examples", examples);
    if (whole) {
        Entries codes;
        for (const ExitCodeDescription& code : exitCodes()) {
            codes.emplace_back(std::to_string(code.code), code.meaning);
        }
        page.addList("Exit codes", codes);
        page.addLine();
        page.addParagraph(format("Without a command, 'status' is meant. '{} help COMMAND' tells "
                                 "more of a command.",
                                 program.name));
    } else {
        page.addLine();
        page.addParagraph(format("Options of every command ('{} --help' explains them): {}",
                                 program.name, commonOptions(program)),
                          2);
    }
    return page.text();
}

namespace {

void runHelp(const CommandContext& context, const std::vector<std::string>& words, Report& report) {
    const CommandDescription* command = &context.program->top;
    std::string known;
    for (const std::string& word : words) {
        known += (known.empty() ? "" : " ") + word;
        const CommandDescription* next = context.program->find(known);
        if (next == nullptr) {
            report.askAbout = command->words;
            throw UsageError(unknownMessage(*context.program, *command, word));
        }
        command = next;
    }
    report.text = helpText(*context.program, *command, context.width);
    report.fields["text"] = report.text;
    report.forPrograms = true;  // it is fitted already
}

CommandRunner declareHelp(Options& options) {
    const auto words = std::make_shared<std::vector<std::string>>();
    options.addWords("COMMAND", *words, "The words of a command; none: the program itself");
    return [words](const CommandContext& context, Report& report) {
        runHelp(context, *words, report);
    };
}

}  // namespace

Command helpCommand() {
    return {"help",
            "Show what a command does, its options and examples",
            declareHelp,
            {},
            false,
            {{"help", "all commands"}, {"help disks show", "the same as disks show --help"}},
            true};
}

}  // namespace veskctl
