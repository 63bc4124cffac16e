#include "veskctl/description.h"

#include "veskctl/cli.h"
#include "veskctl/common_options.h"

#include <algorithm>
#include <utility>

namespace veskctl {

namespace {

// Notes what is declared.
class DescribedOptions : public Options {
public:
    explicit DescribedOptions(CommandDescription& target) : m_target(target) {}

    void addFlag(const std::string& name, bool&, const std::string& help) override {
        add(name, "", help);
    }

    void addText(const std::string& name, std::string&, const std::string& shownAs,
                 const std::string& help) override {
        add(name, shownAs, help);
    }

    void addNumber(const std::string& name, unsigned&, unsigned, unsigned,
                   const std::string& shownAs, const std::string& help) override {
        OptionDescription& option = add(name, shownAs, help);
        option.required = option.isWord();
    }

    void addChoice(const std::string& name, std::string&, const std::vector<std::string>& choices,
                   const std::string& shownAs, const std::string& help) override {
        add(name, shownAs, help).choices = choices;
    }

    void addOptionalNumber(const std::string& name, std::optional<unsigned>&, unsigned, unsigned,
                           unsigned, const std::string& shownAs, const std::string& help) override {
        add(name, shownAs, help).valueMayBeLeftOut = true;
    }

    void addPath(std::string&, const std::string& shownAs, const std::string& help,
                 bool required) override {
        addWord(shownAs, required, help);
    }

    void addVolumeId(std::optional<unsigned>&) override {
        addWord("ID", true, "The volume: 0 or 1").choices = {"0", "1"};
    }

    void addDisk(std::string&, bool required) override {
        addWord("ID", required, "The disk: 0 or 1, or its serial number").choices = {"0", "1"};
    }

    void addWord(const std::string& name, std::string&, const std::vector<std::string>& choices,
                 const std::string& help) override {
        addWord(name, true, help).choices = choices;
    }

    void addWords(const std::string& name, std::vector<std::string>&,
                  const std::string& help) override {
        addWord(name, false, help);
    }

    void onlyWith(const std::string&, const std::string&) override {}
    void notWith(const std::string&, const std::string&) override {}

    void addRemark(const std::string& text) override {
        std::string remark = text;
        std::replace(remark.begin(), remark.end(), '\n', ' ');
        m_target.remarks.push_back(remark);
    }

private:
    OptionDescription& add(const std::string& names, const std::string& value,
                           const std::string& help) {
        OptionDescription option;
        const std::size_t comma = names.find(',');
        option.shortName = comma == std::string::npos ? "" : names.substr(0, comma);
        option.longName = comma == std::string::npos ? names : names.substr(comma + 1);
        option.value = value;
        option.help = help;
        m_target.options.push_back(std::move(option));
        return m_target.options.back();
    }

    OptionDescription& addWord(const std::string& name, bool required, const std::string& help) {
        OptionDescription& word = add(name, name, help);
        word.required = required;
        return word;
    }

    CommandDescription& m_target;
};

CommandDescription describe(const Command& command, const std::string& prefix) {
    CommandDescription description;
    description.name = command.name;
    description.words = prefix + command.name;
    description.summary = command.summary;
    description.runs = command.declare != nullptr;
    description.examples = command.examples;
    if (description.runs) {
        DescribedOptions options(description);
        command.declare(options);
    }
    for (const Command& subcommand : command.subcommands) {
        description.subcommands.push_back(describe(subcommand, description.words + ' '));
    }
    return description;
}

void collect(const CommandDescription& command, std::vector<const CommandDescription*>& all) {
    for (const CommandDescription& subcommand : command.subcommands) {
        all.push_back(&subcommand);
        collect(subcommand, all);
    }
}

bool beginsWithOneOf(const std::string& text, const std::vector<std::string>& beginnings) {
    for (const std::string& beginning : beginnings) {
        if (text.rfind(beginning, 0) == 0) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool OptionDescription::takesFiles() const {
    return beginsWithOneOf(value, {"FILE", "PATH", "OLD", "NEW"});
}

bool OptionDescription::takesFolders() const {
    return beginsWithOneOf(value, {"DIR"});
}

const CommandDescription* ProgramDescription::find(const std::string& words) const {
    if (words.empty()) {
        return &top;
    }
    for (const CommandDescription* command : commands()) {
        if (command->words == words) {
            return command;
        }
    }
    return nullptr;
}

std::vector<const CommandDescription*> ProgramDescription::commands() const {
    std::vector<const CommandDescription*> all;
    collect(top, all);
    return all;
}

ProgramDescription describeProgram(const CliHooks& hooks) {
    ProgramDescription program;
    program.name = hooks.programName;
    program.top.summary = "Shows the NVMe RAID controller of this host, its disks, volumes and "
                          "events, and says whether they are well";
    program.top.examples = {{"", "the state of everything, in a dozen lines"},
                            {"disks show 1", "all that is known of disk 1"},
                            {"-o json disks", "the same for programs"},
                            {"--watch 5", "the state, drawn anew every 5 seconds"},
                            {"help events", "what 'events' can do"}};
    DescribedOptions options(program.top);
    CommonOptions().declare(options);
    if (hooks.addOptions) {
        hooks.addOptions(options);
    }
    bool none = false;
    options.addFlag("-h,--help", none, "Show the help text, behind a command that of the command");
    options.addFlag("--version", none, "Show the name and the version of the program");
    for (const std::vector<Command>& commands : {allCommands(), hooks.commands}) {
        for (const Command& command : commands) {
            program.top.subcommands.push_back(describe(command, ""));
        }
    }
    program.environment = {{"NO_COLOR", "Set and not empty: no colour, as without a terminal"},
                           {"TERM", "The value 'dumb' means the same"},
                           {"COLUMNS", "How many columns the output may take"}};
    program.environment.insert(program.environment.end(), hooks.environment.begin(),
                               hooks.environment.end());
    return program;
}

const std::vector<ExitCodeDescription>& exitCodes() {
    static const std::vector<ExitCodeDescription> codes = {
        {0, "done"},
        {1, "the device or the library failed, or the output could not be written"},
        {2, "the command line is wrong"},
        {3, "there is no controller"},
        {130, "a second signal ended the program"}};
    return codes;
}

}  // namespace veskctl
