#include "veskctl/manual.h"

#include "veskctl/format.h"
#include "veskctl/help.h"
#include "veskctl/printable.h"
#include "veskctl/program_version.h"
#include "veskctl/report.h"
#include "veskctl/spelling.h"

#include <algorithm>
#include <cctype>

namespace veskctl {

namespace {

// Characters that mean something to the formatter.
std::string plain(const std::string& text) {
    std::string result;
    for (const char character : text) {
        if (character == '\\') {
            result += "\\e";
        } else if (character == '-') {
            result += "\\-";
        } else {
            result += character;
        }
    }
    return result;
}

// As one argument of a macro.
std::string argument(const std::string& text) {
    std::string result;
    for (const char character : plain(text)) {
        result += character == '"' ? std::string("\\(dq") : std::string(1, character);
    }
    return '"' + result + '"';
}

// Each sentence begins a line, as the formatter wants it; none begins like a macro.
std::string sentences(const std::string& text) {
    constexpr unsigned kColumns = 78;
    std::string lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t stop = text.find(". ", at);
        const std::size_t end = stop == std::string::npos ? text.size() : stop + 1;
        lines += wrapped(plain(text.substr(at, end - at)), kColumns, 0) + '\n';
        at = end + (stop == std::string::npos ? 0 : 1);
    }
    if (text.empty() || text.back() != '.') {
        lines.insert(lines.size() - (lines.empty() ? 0 : 1), ".");
    }
    std::string safe;
    for (std::size_t at = 0; at < lines.size(); ++at) {
        const bool begins = at == 0 || lines[at - 1] == '\n';
        const bool macro = lines[at] == '.' || lines[at] == '\'';
        safe += begins && macro ? "\\&" : "";
        safe += lines[at];
    }
    return safe;
}

std::string optionItem(const OptionDescription& option) {
    if (option.isWord()) {
        return format(".It Ar {}\n{}", option.longName, sentences(option.help));
    }
    std::string item = ".It";
    if (!option.shortName.empty()) {
        item += format(" Fl {} ,", plain(option.shortName.substr(1)));
    }
    item += format(" Fl {}", plain(option.longName.substr(1)));
    if (!option.value.empty()) {
        item += " Ar " + argument(option.value);
    }
    return item + '\n' + sentences(option.help);
}

std::string optionList(const CommandDescription& command) {
    if (command.options.empty()) {
        return "";
    }
    std::string text = ".Bl -tag -width Ds\n";
    for (const OptionDescription& option : command.options) {
        text += optionItem(option);
    }
    return text + ".El\n";
}

std::string commandSection(const ProgramDescription& program, const CommandDescription& command) {
    std::string text = format(".Ss {}\n", plain(command.words));
    text += ".Dl " + plain(usageLine(program, command)) + "\n.Pp\n" + sentences(command.summary);
    for (const std::string& remark : command.remarks) {
        text += ".Pp\n" + sentences(remark);
    }
    return text + optionList(command);
}

std::string examples(const ProgramDescription& program, const CommandDescription& command) {
    std::string text;
    for (const Example& example : command.examples) {
        text += format(".It {}\n.Dl {}\n", argument(example.what),
                       plain(exampleLine(program, example)));
    }
    return text;
}

}  // namespace

std::string manualPage(const ProgramDescription& program) {
    std::string summary = program.top.summary;
    summary.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(summary.front())));
    std::string text = format(".Dd {}\n.Dt {} 1\n.Os\n", kReleaseDate, upperCase(program.name));
    text += format(".Sh NAME\n.Nm {}\n.Nd {}\n", program.name, plain(summary));
    text += ".Sh SYNOPSIS\n.Nm\n.Op Ar options\n.Op Ar command Op Ar options\n";
    text += ".Sh DESCRIPTION\n.Nm\nloads the library\n.Pa libVeskNvme.so\n"
            "at run time, asks it through its C functions, and shows what it says.\n"
            "Without a command, the state of everything is shown.\n"
            "Options may stand on either side of a command's words.\n";
    text += format("This is version {}.\n", kProgramVersion);
    text += ".Ss Options of every command\n" + optionList(program.top);
    text += ".Sh COMMANDS\n";
    for (const CommandDescription* command : program.commands()) {
        text += commandSection(program, *command);
    }
    text += ".Sh ENVIRONMENT\n.Bl -tag -width Ds\n";
    for (const EnvironmentVariable& variable : program.environment) {
        text += format(".It Ev {}\n{}", variable.name, sentences(variable.meaning));
    }
    text += ".El\n.Sh EXIT STATUS\n.Bl -tag -width Ds\n";
    for (const ExitCodeDescription& code : exitCodes()) {
        text += format(".It {}\n{}", code.code, sentences(code.meaning));
    }
    text += ".El\n.Pp\nThe state of the hardware changes it only where a command says so.\n";
    text += ".Sh EXAMPLES\n.Bl -tag -width Ds\n" + examples(program, program.top);
    for (const CommandDescription* command : program.commands()) {
        text += examples(program, *command);
    }
    return text + ".El\n";
}

Command manCommand() {
    return {"man",
            "Write the manual page",
            [](Options&) {
                return CommandRunner([](const CommandContext& context, Report& report) {
                    report.text = manualPage(*context.program);
                    report.fields["text"] = report.text;
                    report.forPrograms = true;
                });
            },
            {},
            false,
            {{"man | man -l -", "read it"}},
            true};
}

}  // namespace veskctl
