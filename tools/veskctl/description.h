// A program's commands and options as data, gathered from where they are declared: what help,
// completion and the manual are made of.
#pragma once

#include "veskctl/command.h"

#include <string>
#include <vector>

namespace veskctl {

struct OptionDescription {
    std::string shortName;             // "-o"; may be empty
    std::string longName;              // "--output"; without dashes for a word behind the command
    std::string value;                 // what help shows of it: "FORMAT [table]"; empty: takes none
    std::string help;                  // without a full stop
    std::vector<std::string> choices;  // all values, where they are few
    bool valueMayBeLeftOut = false;
    bool required = false;

    bool isWord() const { return longName.rfind('-', 0) != 0; }
    bool takesFiles() const;    // the value is the path of a file
    bool takesFolders() const;  // or of a folder
};

struct CommandDescription {
    std::string name;   // the last of its words; empty for the program itself
    std::string words;  // "disks show"
    std::string summary;
    std::vector<OptionDescription>
        options;  // its own, with its words; the program's: common to all
    std::vector<std::string> remarks;
    std::vector<Example> examples;
    std::vector<CommandDescription> subcommands;
    bool runs = true;  // it is not only the first word of its subcommands
};

struct ProgramDescription {
    std::string name;
    CommandDescription top;
    std::vector<EnvironmentVariable> environment;

    // By its words with a blank between; none: the program itself. Null if there is no such
    // command.
    const CommandDescription* find(const std::string& words) const;
    // All below the program itself, each before its subcommands.
    std::vector<const CommandDescription*> commands() const;
};

struct CliHooks;

ProgramDescription describeProgram(const CliHooks& hooks);

struct ExitCodeDescription {
    int code;
    const char* meaning;
};

const std::vector<ExitCodeDescription>& exitCodes();

}  // namespace veskctl
