#include "veskctl/report.h"

#include "veskctl/format.h"

#include <algorithm>
#include <cstring>

namespace veskctl {

namespace {

std::string coloured(const std::string& text, const char* code, bool colour) {
    return colour && *code != '\0' ? format("\x1b[{}m{}\x1b[0m", code, text) : text;
}

const char* colourCode(Tone tone) {
    switch (tone) {
    case Tone::Faint:
        return "2";
    case Tone::Warning:
        return "33";
    case Tone::Plain:
        break;
    }
    return "";
}

// Paths and texts of devices may hold bytes that are no UTF-8: replaced, or there would be no
// document.
std::string dumped(const Json& json, int indent) {
    return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

bool isControl(char character) {
    const auto code = static_cast<unsigned char>(character);
    return code < 0x20 || code == 0x7F;
}

// U+0080 to U+009F, which terminals take for controls as well.
bool isSecondaryControl(const std::string& text, std::size_t at) {
    return text[at] == '\xC2' && at + 1 < text.size() &&
           static_cast<unsigned char>(text[at + 1]) < 0xA0;
}

}  // namespace

void Blocks::addSection(const std::string& title) {
    m_sections.push_back({title, {}});
}

void Blocks::addLine(const std::string& name, const std::string& value, Tone tone) {
    m_sections.back().lines.push_back({name, value, tone});
}

std::string Blocks::render(bool colour) const {
    std::size_t width = 0;
    for (const Section& section : m_sections) {
        for (const Line& line : section.lines) {
            width = std::max(width, line.name.size());
        }
    }
    std::string text;
    for (const Section& section : m_sections) {
        if (!text.empty()) {
            text += '\n';
        }
        text += coloured(section.title, "1", colour) + '\n';
        for (const Line& line : section.lines) {
            text +=
                format("  {:<{}}  {}\n", line.name, width, toned(line.value, line.tone, colour));
        }
    }
    return text;
}

std::string renderJson(const std::string& command, const Report& report) {
    Json document;
    document["schema_version"] = kSchemaVersion;
    document["command"] = command.empty() ? Json() : Json(command);
    document.update(report.fields);
    document["errors"] = Json::array();
    for (const Problem& problem : report.problems) {
        document["errors"].push_back(problemToJson(problem));
    }
    return dumped(document, 2) + '\n';
}

std::string renderJsonLine(const Json& json) {
    return dumped(json, -1) + '\n';
}

std::string renderProblems(const std::vector<Problem>& problems) {
    std::string text;
    for (const Problem& problem : problems) {
        text += "veskctl: " + problem.message + '\n';
    }
    return text;
}

std::string renderNotes(const std::vector<std::string>& notes) {
    std::string text;
    for (const std::string& note : notes) {
        text += "veskctl: note: " + note + '\n';
    }
    return text;
}

bool colourWanted(bool isTerminal, const char* noColor, const char* term) {
    const bool refused = noColor != nullptr && *noColor != '\0';
    const bool dumb = term != nullptr && std::strcmp(term, "dumb") == 0;
    return isTerminal && !refused && !dumb;
}

std::string toned(const std::string& text, Tone tone, bool colour) {
    return coloured(text, colourCode(tone), colour);
}

std::string printable(const std::string& text) {
    const std::string valid = Json::parse(dumped(Json(text), -1)).get<std::string>();
    std::string result;
    for (std::size_t at = 0; at < valid.size(); ++at) {
        if (isSecondaryControl(valid, at)) {
            result += '?';
            ++at;
        } else {
            result += isControl(valid[at]) ? '?' : valid[at];
        }
    }
    return result;
}

void putBigNumber(Json& json, const std::string& name, const std::optional<std::uint64_t>& value) {
    constexpr std::uint64_t kExactInADouble = 1ULL << 53U;
    json[name] = valueOrNull(value);
    if (value && *value > kExactInADouble) {
        json[name + "_s"] = std::to_string(*value);
    }
}

}  // namespace veskctl
