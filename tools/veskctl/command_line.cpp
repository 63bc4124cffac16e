#include "veskctl/command_line.h"

#include "veskctl/cli.h"
#include "veskctl/format.h"
#include "veskctl/usage_message.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace veskctl {

namespace {

class CliOptions : public Options {
public:
    explicit CliOptions(CLI::App& app) : m_app(app) {}

    void addFlag(const std::string& name, bool& value, const std::string& help) override {
        m_app.add_flag(name, value, help);
    }

    void addText(const std::string& name, std::string& value, const std::string& shownAs,
                 const std::string& help) override {
        const auto refuseEmpty = [](const std::string& given) {
            return std::string(given.empty() ? "the value is empty" : "");
        };
        m_app.add_option(name, value, help)->option_text(shownAs)->check(refuseEmpty, "");
    }

    void addNumber(const std::string& name, unsigned& value, unsigned lowest, unsigned highest,
                   const std::string& shownAs, const std::string& help) override {
        m_app.add_option(name, value, help)
            ->option_text(shownAs)
            ->check([=](const std::string& given) { return demandNumber(given, lowest, highest); },
                    "")
            ->required(isWord(name));
    }

    void addChoice(const std::string& name, std::string& value,
                   const std::vector<std::string>& choices, const std::string& shownAs,
                   const std::string& help) override {
        m_app.add_option(name, value, help)
            ->option_text(shownAs)
            ->check([=](const std::string& given) { return demandChoice(given, choices); }, "");
    }

    void addOptionalNumber(const std::string& name, std::optional<unsigned>& value, unsigned alone,
                           unsigned lowest, unsigned highest, const std::string& shownAs,
                           const std::string& help) override {
        const auto store = [=, &value](const CLI::results_t& given) {
            value = alone;
            if (!given.empty() && !given.front().empty()) {
                const std::string fault = demandNumber(given.front(), lowest, highest);
                if (!fault.empty()) {
                    throw CLI::ValidationError(name, fault);
                }
                value = static_cast<unsigned>(std::stoul(given.front()));
            }
            return true;
        };
        m_app.add_option(name, store, help)->option_text(shownAs)->expected(0, 1);
    }

    void addPath(std::string& path, const std::string& shownAs, const std::string& help,
                 bool required) override {
        m_app.add_option(shownAs, path, help)->option_text(" ")->required(required);
    }

    void addVolumeId(std::optional<unsigned>& id) override {
        const auto check = [](const std::string& value) {
            return isId(value) ? std::string()
                               : format("there is no volume '{}', the ids are 0 and 1", value);
        };
        const auto store = [&id](const std::string& value) {
            id = value == "0" ? 0U : 1U;
        };
        m_app.add_option_function<std::string>("ID", store, "The volume: 0 or 1")
            ->option_text(" ")
            ->check(check, "")
            ->required();
    }

    void addDisk(std::string& idOrSerial, bool required) override {
        // A number as short as an id was meant as one, and so was a single letter.
        const auto check = [](const std::string& value) {
            constexpr std::size_t kLeastSerial = 4;
            const bool number = value.find_first_not_of("-0123456789") == std::string::npos;
            const bool serial = value.size() >= (number ? kLeastSerial : 2);
            return isId(value) || serial
                       ? std::string()
                       : format("there is no disk '{}', the ids are 0 and 1", value);
        };
        m_app.add_option("ID", idOrSerial, "The disk: 0 or 1, or its serial number")
            ->option_text(" ")
            ->check(check, "")
            ->required(required);
    }

    void addWord(const std::string& name, std::string& value,
                 const std::vector<std::string>& choices, const std::string& help) override {
        m_app.add_option(name, value, help)
            ->check([=](const std::string& given) { return demandChoice(given, choices); }, "")
            ->required();
    }

    void addWords(const std::string& name, std::vector<std::string>& words,
                  const std::string& help) override {
        m_app.add_option(name, words, help);
    }

    void onlyWith(const std::string& name, const std::string& other) override {
        m_app.get_option(name)->needs(m_app.get_option(other));
    }

    void notWith(const std::string& name, const std::string& other) override {
        m_app.get_option(name)->excludes(m_app.get_option(other));
    }

    void addRemark(const std::string&) override {}  // for the help text

private:
    // It stands behind the command, without a name in front.
    static bool isWord(const std::string& name) { return name.front() != '-'; }

    // Each gives the fault, or nothing.
    static std::string demandNumber(const std::string& given, unsigned lowest, unsigned highest) {
        constexpr std::size_t kMostDigits = 10;  // of what surely fits
        const bool digits = !given.empty() && given.size() <= kMostDigits &&
                            given.find_first_not_of("0123456789") == std::string::npos;
        if (digits && std::stoul(given) >= lowest && std::stoul(given) <= highest) {
            return "";
        }
        return format("'{}' is no number from {} to {}", given, lowest, highest);
    }

    static std::string demandChoice(const std::string& given,
                                    const std::vector<std::string>& choices) {
        if (std::find(choices.begin(), choices.end(), given) != choices.end()) {
            return "";
        }
        std::string known;
        for (const std::string& choice : choices) {
            known += (known.empty() ? "" : ", ") + choice;
        }
        return format("'{}' is none of {}", given, known);
    }

    static bool isId(const std::string& value) { return value == "0" || value == "1"; }

    CLI::App& m_app;
};

template <class Kind>
bool isA(const CLI::ParseError& error) {
    return dynamic_cast<const Kind*>(&error) != nullptr;
}

}  // namespace

class CommandLine::Parser {
public:
    Parser(const CliHooks& hooks, const ProgramDescription& program) : m_program(program) {
        m_app.set_version_flag("--version", "");
        m_app.require_subcommand(0, 1);
        addCommonOptions(m_app, hooks);
        addCommands(m_app, "", allCommands(), hooks);
        addCommands(m_app, "", hooks.commands, hooks);
    }

    const CommonOptions& common() const { return m_common; }

    Request read(int argc, const char* const* argv) {
        try {
            m_app.parse(argc, argv);
        } catch (const CLI::CallForHelp&) {
            demandKnownWords();
            return aboutProgram(Request::Kind::Help);
        } catch (const CLI::CallForVersion&) {
            return aboutProgram(Request::Kind::Version);
        } catch (const CLI::ParseError& error) {
            throw LineError(words(), message(error));
        }
        const Runnable& command = chosen();
        handDown(command);
        return {Request::Kind::Run, command.words, command.run, command.watchable,
                command.aboutProgram};
    }

private:
    struct Runnable {
        CLI::App* app;
        std::string words;
        bool watchable;
        bool aboutProgram;
        CommandRunner run;
    };

    void addCommands(CLI::App& parent, const std::string& prefix,
                     const std::vector<Command>& commands, const CliHooks& hooks) {
        for (const Command& command : commands) {
            CLI::App* subcommand = parent.add_subcommand(command.name, command.summary);
            addCommonOptions(*subcommand, hooks);
            const std::string words = prefix + command.name;
            if (command.declare != nullptr) {
                CliOptions options(*subcommand);
                m_runnable.push_back({subcommand, words, command.watchable, command.aboutProgram,
                                      command.declare(options)});
            } else {
                subcommand->require_subcommand(1);
            }
            addCommands(*subcommand, words + ' ', command.subcommands, hooks);
        }
    }

    void addCommonOptions(CLI::App& target, const CliHooks& hooks) {
        CliOptions options(target);
        m_common.declare(options);
        if (hooks.addOptions) {
            hooks.addOptions(options);
        }
    }

    // The last word that was understood.
    const CLI::App& level() const {
        const CLI::App* level = &m_app;
        while (!level->get_subcommands().empty()) {
            level = level->get_subcommands().front();
        }
        return *level;
    }

    // All words of the command, as far as they were understood.
    std::string words() const {
        std::string words;
        const CLI::App* level = &m_app;
        while (!level->get_subcommands().empty()) {
            level = level->get_subcommands().front();
            words += (words.empty() ? "" : " ") + level->get_name();
        }
        return words;
    }

    const CommandDescription& description() const {
        const CommandDescription* command = m_program.find(words());
        return command == nullptr ? m_program.top : *command;
    }

    Request aboutProgram(Request::Kind kind) const {
        Request request;
        request.kind = kind;
        request.words = words();
        return request;
    }

    // Help of the program is no answer to who asked for that of a command.
    void demandKnownWords() const {
        for (const std::string& unknown : m_app.remaining(true)) {
            if (unknown.rfind('-', 0) != 0 && !description().subcommands.empty()) {
                throw LineError(words(), unknownMessage(m_program, description(), unknown));
            }
        }
    }

    // CLI11 complains of a missing command where there is an unknown one, or an unknown option
    // only.
    std::string message(const CLI::ParseError& error) const {
        const std::vector<std::string> unknown = m_app.remaining(true);
        const bool required = isA<CLI::RequiredError>(error);
        if (isA<CLI::ExtrasError>(error) || (required && !unknown.empty())) {
            return unknownMessage(m_program, description(), unknown.front());
        }
        if (required && level().get_require_subcommand_min() > 0) {
            return format("no command was given behind '{}'", words());
        }
        std::string text = error.what();
        const std::string about = text.substr(0, text.find(": "));
        if (required) {
            return format("'{}' needs {}", words(), text.substr(0, text.find(' ')));
        }
        if (isA<CLI::ArgumentMismatch>(error)) {
            const bool tooMany = text.find("At Most") != std::string::npos;
            return about + (tooMany ? " is given more than once" : " needs a value");
        }
        if (isA<CLI::ExcludesError>(error)) {
            const std::string excludes = " excludes ";
            const std::size_t at = text.find(excludes);
            return at == std::string::npos ? text
                                           : text.substr(0, at) + " does not go with " +
                                                 text.substr(at + excludes.size());
        }
        return text;
    }

    // Subcommands stand behind the command that they belong to, and were parsed with it. Without
    // any word it is the first of all.
    const Runnable& chosen() const {
        const auto last =
            std::find_if(m_runnable.rbegin(), m_runnable.rend(),
                         [](const Runnable& candidate) { return candidate.app->parsed(); });
        return last == m_runnable.rend() ? m_runnable.front() : *last;
    }

    // Options that stand between the words of a command count for what was chosen. Throws
    // LineError where they do not belong to it.
    static void handDown(const Runnable& command) {
        for (const CLI::App* above = command.app->get_parent(); above != nullptr;
             above = above->get_parent()) {
            for (const CLI::Option* given : above->get_options()) {
                if (given->empty()) {
                    continue;
                }
                CLI::Option* own = command.app->get_option_no_throw(given->get_name());
                if (own == nullptr) {
                    throw LineError(command.words, format("{} does not go with '{}'",
                                                          given->get_name(), command.words));
                }
                if (own->empty()) {
                    own->add_result(given->results());
                    own->run_callback();
                }
            }
        }
    }

    const ProgramDescription& m_program;
    CommonOptions m_common;
    CLI::App m_app;
    std::vector<Runnable> m_runnable;
};

CommandLine::CommandLine(const CliHooks& hooks, const ProgramDescription& program)
    : m_parser(std::make_unique<Parser>(hooks, program)) {}

CommandLine::~CommandLine() = default;

Request CommandLine::read(int argc, const char* const* argv) {
    return m_parser->read(argc, argv);
}

const CommonOptions& CommandLine::common() const {
    return m_parser->common();
}

}  // namespace veskctl
