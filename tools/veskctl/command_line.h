// The command line, read.
#pragma once

#include "veskctl/command.h"
#include "veskctl/common_options.h"
#include "veskctl/description.h"

#include <memory>
#include <stdexcept>
#include <string>

namespace veskctl {

struct CliHooks;

// What was asked for.
struct Request {
    enum class Kind { Run, Help, Version };

    Kind kind = Kind::Run;
    std::string words;  // of the command: "disks show"
    CommandRunner run;
    bool watchable = false;
    bool aboutProgram = false;
};

// The command line cannot be read. words: of the command, as far as they were understood.
class LineError : public std::runtime_error {
public:
    LineError(std::string words, const std::string& message)
        : std::runtime_error(message), m_words(std::move(words)) {}
    const std::string& words() const { return m_words; }

private:
    std::string m_words;
};

class CommandLine {
public:
    CommandLine(const CliHooks& hooks, const ProgramDescription& program);
    ~CommandLine();

    // To be called once. Throws LineError.
    Request read(int argc, const char* const* argv);

    // As they were read.
    const CommonOptions& common() const;

private:
    class Parser;  // keeps CLI11, which takes seconds to read, out of other sources

    std::unique_ptr<Parser> m_parser;
};

}  // namespace veskctl
