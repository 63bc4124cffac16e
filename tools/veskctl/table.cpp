#include "veskctl/table.h"

#include <fmt/format.h>

#include <algorithm>

namespace veskctl {

namespace {

std::string coloured(const std::string& text, const char* code, bool colour) {
    return colour && *code != '\0' ? fmt::format("\x1b[{}m{}\x1b[0m", code, text) : text;
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

}  // namespace

std::string toned(const std::string& text, Tone tone, bool colour) {
    return coloured(text, colourCode(tone), colour);
}

void Table::addSection(const std::string& title) {
    m_sections.push_back({title, {}});
}

void Table::addLine(const std::string& name, const std::string& value, Tone tone) {
    m_sections.back().lines.push_back({name, value, tone});
}

std::string Table::render(bool colour) const {
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
            text += fmt::format("  {:<{}}  {}\n", line.name, width,
                                toned(line.value, line.tone, colour));
        }
    }
    return text;
}

}  // namespace veskctl
