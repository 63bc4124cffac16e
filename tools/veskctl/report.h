// What a command has to say, in both forms: sections of aligned lines for people, and a document.
// How both become text.
#pragma once

#include "veskctl/problem.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace veskctl {

// Raised when a field changes its meaning or goes away; new fields do not raise it.
constexpr int kSchemaVersion = 1;

enum class Tone { Plain, Faint, Warning };

// Sections of "Name  value" lines.
class Blocks {
public:
    void addSection(const std::string& title);
    // Belongs to the section that was added last.
    void addLine(const std::string& name, const std::string& value, Tone tone = Tone::Plain);

    // Values stand in one column over all sections.
    std::string render(bool colour) const;

private:
    struct Line {
        std::string name;
        std::string value;
        Tone tone;
    };
    struct Section {
        std::string title;
        std::vector<Line> lines;
    };

    std::vector<Section> m_sections;
};

struct Report {
    Json fields = Json::object();  // of the document
    // The array of `fields` that is written line by line as NDJSON, and row by row as CSV. Empty:
    // the document is the one item.
    std::string items;

    // For people, in this order.
    std::string lead;
    Blocks blocks;
    std::string text;

    std::vector<std::string> notes;  // lines for standard error that are no problems
    std::vector<Problem> problems;
    bool simulated = false;  // what was shown is the simulated host
    // Of a command whose exit code is an answer. Problems outweigh it.
    std::optional<int> exitCode = std::nullopt;
};

// The whole document, with a line end. An empty command name stands for none and reads null.
std::string renderJson(const std::string& command, const Report& report);

// One line, with its end.
std::string renderJsonLine(const Json& json);

// The lines for standard error.
std::string renderProblems(const std::vector<Problem>& problems);
std::string renderNotes(const std::vector<std::string>& notes);

// Whether output may be coloured. noColor and term are the values of NO_COLOR and TERM, null where
// not set. An empty NO_COLOR counts as not set, as its convention has it.
bool colourWanted(bool isTerminal, const char* noColor, const char* term);

// The text in the colour of the tone, if there are colours.
std::string toned(const std::string& text, Tone tone, bool colour);

// For a terminal: bytes that are no UTF-8 become replacement characters, control characters become
// question marks, so that a device cannot steer the terminal.
std::string printable(const std::string& text);

// Null where there is nothing.
template <class Value>
Json valueOrNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json();
}

// Many readers keep numbers as doubles: beyond 2^53 those lose digits, so such a number stands
// there a second time, as text, under its name and "_s".
void putBigNumber(Json& json, const std::string& name, const std::optional<std::uint64_t>& value);

}  // namespace veskctl
