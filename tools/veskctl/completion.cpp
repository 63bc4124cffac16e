#include "veskctl/completion.h"

#include "veskctl/format.h"
#include "veskctl/report.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace veskctl {

namespace {

// The program itself first, then all commands.
std::vector<const CommandDescription*> levels(const ProgramDescription& program) {
    std::vector<const CommandDescription*> all = program.commands();
    all.insert(all.begin(), &program.top);
    return all;
}

// Options of all commands, each name once: it means the same wherever it stands.
std::vector<OptionDescription> allOptions(const ProgramDescription& program) {
    std::vector<OptionDescription> all;
    for (const CommandDescription* command : levels(program)) {
        for (const OptionDescription& option : command->options) {
            const bool known =
                std::any_of(all.begin(), all.end(), [&option](const OptionDescription& other) {
                    return other.longName == option.longName;
                });
            if (!option.isWord() && !known) {
                all.push_back(option);
            }
        }
    }
    return all;
}

std::string joined(const std::vector<std::string>& words, const std::string& separator) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : separator) + word;
    }
    return text;
}

std::vector<std::string> namesOf(const OptionDescription& option) {
    std::vector<std::string> names = {option.longName};
    if (!option.shortName.empty()) {
        names.insert(names.begin(), option.shortName);
    }
    return names;
}

// Whose value has to be the next word.
bool takesNextWord(const OptionDescription& option) {
    return !option.value.empty() && !option.valueMayBeLeftOut;
}

std::vector<std::string> valueTakers(const ProgramDescription& program) {
    std::vector<std::string> names;
    for (const OptionDescription& option : allOptions(program)) {
        if (takesNextWord(option)) {
            const std::vector<std::string> own = namesOf(option);
            names.insert(names.end(), own.begin(), own.end());
        }
    }
    return names;
}

// The command so far, a blank, and the next of its words: "disks show". Of the first: " disks".
std::vector<std::string> steps(const ProgramDescription& program) {
    std::vector<std::string> steps;
    for (const CommandDescription* command : program.commands()) {
        const bool first = command->words == command->name;
        steps.push_back((first ? "' " : "'") + command->words + "'");
    }
    return steps;
}

struct Choice {
    std::string word;
    std::string meaning;
};

// What may follow a command's words.
std::vector<Choice> choicesBehind(const CommandDescription& command) {
    std::vector<Choice> choices;
    for (const CommandDescription& subcommand : command.subcommands) {
        choices.push_back({subcommand.name, subcommand.summary});
    }
    for (const OptionDescription& option : command.options) {
        for (const std::string& choice : option.choices) {
            if (option.isWord()) {
                choices.push_back({choice, option.help});
            }
        }
    }
    return choices;
}

std::vector<Choice> optionsOf(const ProgramDescription& program,
                              const CommandDescription& command) {
    std::vector<Choice> options;
    std::vector<const CommandDescription*> sources = {&command};
    if (&command != &program.top) {
        sources.push_back(&program.top);
    }
    for (const CommandDescription* source : sources) {
        for (const OptionDescription& option : source->options) {
            const bool elsewhere = option.longName == "--version" && source != &command;
            if (!option.isWord() && !elsewhere) {
                for (const std::string& name : namesOf(option)) {
                    options.push_back({name, option.help});
                }
            }
        }
    }
    return options;
}

bool hasFileWord(const CommandDescription& command) {
    return std::any_of(
        command.options.begin(), command.options.end(),
        [](const OptionDescription& option) { return option.isWord() && option.takesFiles(); });
}

std::string wordsOf(const std::vector<Choice>& choices) {
    std::vector<std::string> words;
    words.reserve(choices.size());
    for (const Choice& choice : choices) {
        words.push_back(choice.word);
    }
    return joined(words, " ");
}

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char character : text) {
        result += character == '\'' ? std::string("'\\''") : std::string(1, character);
    }
    return result + "'";
}

// A name that a shell's function may have.
std::string functionName(const ProgramDescription& program) {
    std::string name = "_" + program.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

std::string headline(const ProgramDescription& program, const std::string& shell) {
    return format("# {0} completion for {1}; made by '{1} completion {0}'.\n", shell, program.name);
}

}  // namespace

std::string bashCompletion(const ProgramDescription& program) {
    const std::string name = functionName(program);
    std::string text =
        headline(program, "bash") + name + "() {\n" +
        R"(    local current=${COMP_WORDS[COMP_CWORD]} before='' command='' word index
    local choices='' options='' files=''
    COMPREPLY=()
    for ((index = 1; index < COMP_CWORD; index++)); do
        word=${COMP_WORDS[index]}
        # --output=json comes as three words.
        [[ $word == '=' ]] && continue
        case $before in
)";
    text += format("            {}) before=; continue ;;\n", joined(valueTakers(program), "|"));
    text += R"(        esac
        case "$command $word" in
)";
    text += format("            {}) command=${{command:+$command }}$word ;;\n",
                   joined(steps(program), "|"));
    text += R"(        esac
        # 'help' stands before the words of any command.
        [[ $command == help ]] && command=
        before=$word
    done
    [[ $current == '=' ]] && current=
    case $before in
)";
    for (const OptionDescription& option : allOptions(program)) {
        if (!takesNextWord(option)) {
            continue;
        }
        std::string reply = "return";
        if (!option.choices.empty()) {
            reply = format("mapfile -t COMPREPLY < <(compgen -W '{}' -- \"$current\"); return",
                           joined(option.choices, " "));
        } else if (option.takesFiles() || option.takesFolders()) {
            reply = format("compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < "
                           "<(compgen -{} -- \"$current\"); return",
                           option.takesFolders() ? 'd' : 'f');
        }
        text += format("        {}) {} ;;\n", joined(namesOf(option), "|"), reply);
    }
    text += "    esac\n    case $command in\n";
    for (const CommandDescription* command : levels(program)) {
        text += format("        {}) choices={} options={}{} ;;\n", quoted(command->words),
                       quoted(wordsOf(choicesBehind(*command))),
                       quoted(wordsOf(optionsOf(program, *command))),
                       hasFileWord(*command) ? " files=yes" : "");
    }
    text += R"(    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    elif [[ -n $files ]]; then
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$current")
    fi
}
)";
    return text + format("complete -F {} {}\n", name, program.name);
}

namespace {

// Of zsh: 'word:meaning' for each.
std::string described(const std::vector<Choice>& choices) {
    std::string text;
    for (const Choice& choice : choices) {
        std::string meaning;
        for (const char character : choice.meaning) {
            meaning += character == ':' ? std::string("\\:") : std::string(1, character);
        }
        text += ' ' + quoted(choice.word + ':' + meaning);
    }
    return text;
}

}  // namespace

std::string zshCompletion(const ProgramDescription& program) {
    const std::string name = functionName(program);
    std::string text = format("#compdef {}\n", program.name) + headline(program, "zsh") + name +
                       "() {\n" + R"(    local before='' command='' word='' files=''
    local -a choices options
    for word in ${words[2,CURRENT-1]}; do
        case $before in
)";
    text += format("            ({}) before=''; continue ;;\n", joined(valueTakers(program), "|"));
    text += R"(        esac
        case "$command $word" in
)";
    text += format("            ({}) command=${{command:+$command }}$word ;;\n",
                   joined(steps(program), "|"));
    text += R"(        esac
        # 'help' stands before the words of any command.
        [[ $command == help ]] && command=''
        before=$word
    done
    if [[ $PREFIX == --*=* ]]; then
        before=${PREFIX%%=*}
        compset -P '*='
    fi
    case $before in
)";
    for (const OptionDescription& option : allOptions(program)) {
        if (!takesNextWord(option)) {
            continue;
        }
        std::string reply = "_message " + quoted(option.value);
        if (!option.choices.empty()) {
            reply = "compadd -- " + joined(option.choices, " ");
        } else if (option.takesFiles() || option.takesFolders()) {
            reply = option.takesFolders() ? "_files -/" : "_files";
        }
        text += format("        ({}) {}; return ;;\n", joined(namesOf(option), "|"), reply);
    }
    text += "    esac\n    case $command in\n";
    for (const CommandDescription* command : levels(program)) {
        text += format("        ({})\n            choices=({} )\n            options=({} )\n{}"
                       "            ;;\n",
                       quoted(command->words), described(choicesBehind(*command)),
                       described(optionsOf(program, *command)),
                       hasFileWord(*command) ? "            files=yes\n" : "");
    }
    text += R"(    esac
    if [[ $PREFIX == -* ]]; then
        _describe -o option options
    elif [[ -n $files ]]; then
        _files
    else
        _describe word choices
    fi
}
)";
    // Read as an autoloaded function or as a file.
    return text + format("if [[ ${{funcstack[1]}} == _{0} ]]; then\n    {1} \"$@\"\nelse\n"
                         "    compdef {1} {0}\nfi\n",
                         program.name, name);
}

std::string fishCompletion(const ProgramDescription& program) {
    const std::string name = "_" + functionName(program);
    std::string text = headline(program, "fish");
    text += format("function {}_at -d 'Whether these are the words of the command so far'\n", name);
    text += R"(    set -l command
    set -l before
    for word in (commandline -opc)[2..-1]
        switch "$before"
)";
    text += format("            case {}\n", joined(valueTakers(program), " "));
    text += R"(                set before
                continue
        end
        switch "$command $word"
)";
    text += format("            case {}\n", joined(steps(program), " "));
    text += R"(                set command (string trim -- "$command $word")
        end
        # 'help' stands before the words of any command.
        if test "$command" = help
            set command
        end
        set before $word
    end
    test "$command" = "$argv"
end
)";
    text += format("complete -c {} -f\n", program.name);
    for (const CommandDescription* command : levels(program)) {
        const std::string condition = format("{}_at {}", name, command->words);
        const std::string start = format("complete -c {} -n {}", program.name, quoted(condition));
        for (const Choice& choice : choicesBehind(*command)) {
            text += format("{} -a {} -d {}\n", start, choice.word, quoted(choice.meaning));
        }
        if (hasFileWord(*command)) {
            text += start + " -F\n";
        }
        for (const OptionDescription& option : command->options) {
            if (option.isWord()) {
                continue;
            }
            // The program's own go with every command.
            const bool everywhere = command == &program.top && option.longName != "--version";
            std::string line = everywhere ? format("complete -c {}", program.name) : start;
            if (!option.shortName.empty()) {
                line += " -s " + option.shortName.substr(1);
            }
            line += " -l " + option.longName.substr(2);
            if (!option.choices.empty()) {
                line += " -x -a " + quoted(joined(option.choices, " "));
            } else if (option.takesFiles() || option.takesFolders()) {
                line += " -r -F";
            } else if (takesNextWord(option)) {
                line += " -x";
            }
            text += line + " -d " + quoted(option.help) + '\n';
        }
    }
    return text;
}

namespace {

CommandRunner declareCompletion(Options& options) {
    const auto shell = std::make_shared<std::string>();
    options.addWord("SHELL", *shell, {"bash", "zsh", "fish"}, "The shell: bash, zsh or fish");
    return [shell](const CommandContext& context, Report& report) {
        const auto make = *shell == "bash"  ? bashCompletion
                          : *shell == "zsh" ? zshCompletion
                                            : fishCompletion;
        report.text = make(*context.program);
        report.fields["text"] = report.text;
        report.forPrograms = true;
    };
}

}  // namespace

Command completionCommand() {
    return {"completion",
            "Write a script with which a shell completes words",
            declareCompletion,
            {},
            false,
            {{"completion bash > ~/.local/share/bash-completion/completions/PROGRAM",
              "for bash, from the next shell on"},
             {"completion fish > ~/.config/fish/completions/PROGRAM.fish", "for fish"},
             {"completion zsh > ~/.zfunc/_PROGRAM",
              "for zsh, with ~/.zfunc in its fpath before compinit"}},
            true};
}

}  // namespace veskctl
