#include "veskctl/usage_message.h"

#include "veskctl/format.h"
#include "veskctl/spelling.h"

#include <optional>

namespace veskctl {

namespace {

std::string behind(const CommandDescription& command) {
    return command.words.empty() ? "" : format(" behind '{}'", command.words);
}

std::vector<std::string> optionNames(const CommandDescription& command) {
    std::vector<std::string> names;
    for (const OptionDescription& option : command.options) {
        if (!option.isWord()) {
            names.push_back(option.longName);
        }
    }
    return names;
}

// Words of all commands that have the option: "'events' and 'disks show'".
std::string ownersOf(const ProgramDescription& program, const std::string& option) {
    std::string owners;
    for (const CommandDescription* command : program.commands()) {
        for (const std::string& name : optionNames(*command)) {
            if (name == option) {
                owners += format("{}'{}'", owners.empty() ? "" : ", ", command->words);
            }
        }
    }
    return owners;
}

std::string unknownOption(const ProgramDescription& program, const CommandDescription& command,
                          const std::string& word) {
    const std::string name = word.substr(0, word.find('='));
    const std::string owners = ownersOf(program, name);
    if (!owners.empty()) {
        return command.words.empty()
                   ? format("{} stands behind its command: {}", name, owners)
                   : format("{} does not go with '{}', but with {}", name, command.words, owners);
    }
    std::vector<std::string> names = optionNames(command);
    for (const std::string& common : optionNames(program.top)) {
        names.push_back(common);
    }
    const std::optional<std::string> meant = nearest(name, names);
    return format("unknown option '{}'{}", name, behind(command)) +
           (meant ? format("; did you mean '{}'?", *meant) : "");
}

}  // namespace

std::string unknownMessage(const ProgramDescription& program, const CommandDescription& command,
                           const std::string& word) {
    if (word.size() > 1 && word.front() == '-') {
        return unknownOption(program, command, word);
    }
    if (command.subcommands.empty()) {
        return format("'{}' takes no further word '{}'", command.words, word);
    }
    std::vector<std::string> names;
    for (const CommandDescription& subcommand : command.subcommands) {
        names.push_back(subcommand.name);
    }
    std::optional<std::string> meant = nearest(word, names);
    const bool numbered = word.find_first_of("0123456789") != std::string::npos;
    if (!meant && numbered && program.find(command.words + " show") != nullptr) {
        meant = format("{} show {}", command.words, word);
    }
    return format("unknown command '{}'{}", word, behind(command)) +
           (meant ? format("; did you mean '{}'?", *meant) : "");
}

std::string helpHint(const ProgramDescription& program, const std::string& words) {
    return format("try '{}{}{} --help'", program.name, words.empty() ? "" : " ", words);
}

}  // namespace veskctl
