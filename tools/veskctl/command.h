// What a command is to the rest of the program, and all of them.
#pragma once

#include "veskctl/library_process.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace veskctl {

struct ProgramDescription;
struct Report;

enum class OutputFormat { Table, JsonDocument, JsonLines, Csv };

struct CommandContext {
    std::string libraryName;  // as --library gave it, or the default
    OutputFormat format = OutputFormat::Table;
    bool terminal = false;  // standard output is one
    bool colour = false;
    unsigned width = 0;     // columns to keep to; 0: any number
    bool header = true;     // titles above columns
    bool quiet = false;     // no notes
    bool watching = false;  // looks again and again
    // How long the library may take for one answer, in seconds; empty: what the command holds
    // right.
    std::optional<unsigned> timeoutSeconds = std::nullopt;
    std::string host;        // what documents call it; empty: no host is looked at
    std::string hostRoot;    // stands before every path of the host's files; empty on a real host
    bool simulated = false;  // the host is known to be the simulated one
    ChildHooks child;        // for the process that holds the library
    const ProgramDescription* program = nullptr;  // that was called
};

// Fills the report. May throw: what the report holds by then is shown all the same, so lists are
// put there, empty, before anything can fail.
using CommandRunner = std::function<void(const CommandContext&, Report&)>;

// Where options are declared. The variables hold the defaults; they are written when the command
// line is read, so the runner has to keep them. shownAs: what the help text says of the value.
class Options {
public:
    virtual ~Options() = default;

    virtual void addFlag(const std::string& name, bool& value, const std::string& help) = 0;
    // Refuses an empty value.
    virtual void addText(const std::string& name, std::string& value, const std::string& shownAs,
                         const std::string& help) = 0;
    virtual void addNumber(const std::string& name, unsigned& value, unsigned lowest,
                           unsigned highest, const std::string& shownAs,
                           const std::string& help) = 0;
    virtual void addChoice(const std::string& name, std::string& value,
                           const std::vector<std::string>& choices, const std::string& shownAs,
                           const std::string& help) = 0;
    // Whose value may be left out. Empty: the option was not given.
    virtual void addOptionalNumber(const std::string& name, std::optional<unsigned>& value,
                                   unsigned alone, unsigned lowest, unsigned highest,
                                   const std::string& shownAs, const std::string& help) = 0;
    // A file's path, without a name in front. shownAs: "FILE".
    virtual void addPath(std::string& path, const std::string& shownAs, const std::string& help,
                         bool required) = 0;
    // The id of a volume, without a name in front.
    virtual void addVolumeId(std::optional<unsigned>& id) = 0;
    // The id of a disk or its serial number, without a name in front; see findSlot. Empty: all.
    virtual void addDisk(std::string& idOrSerial, bool required) = 0;
    // One of the choices, without a name in front.
    virtual void addWord(const std::string& name, std::string& value,
                         const std::vector<std::string>& choices, const std::string& help) = 0;
    // Any number of words, also none.
    virtual void addWords(const std::string& name, std::vector<std::string>& words,
                          const std::string& help) = 0;

    // Of two options that were added before.
    virtual void onlyWith(const std::string& name, const std::string& other) = 0;
    virtual void notWith(const std::string& name, const std::string& other) = 0;

    // Stands behind the options in the help text.
    virtual void addRemark(const std::string& text) = 0;
};

struct Example {
    const char* line;  // what follows the program's name, which is PROGRAM in it
    const char* what;  // it does
};

struct EnvironmentVariable {
    std::string name;
    std::string meaning;
};

struct Command {
    const char* name;
    const char* summary;
    // Declares the command's own options, if it has any; the runner reads what was parsed into
    // them. Null: the name is only the first word of its subcommands.
    CommandRunner (*declare)(Options& options) = nullptr;
    std::vector<Command> subcommands = {};
    bool watchable = false;  // only reads, so that one may look again and again
    std::vector<Example> examples = {};
    bool aboutProgram = false;  // it looks at no host
};

// In the order of the help text.
std::vector<Command> allCommands();

}  // namespace veskctl
