#include "veskctl/blocks.h"

#include "veskctl/format.h"
#include "veskctl/printable.h"

#include <algorithm>

namespace veskctl {

void Blocks::addSection(const std::string& title) {
    m_sections.push_back({printable(title), {}});
}

void Blocks::addLine(const std::string& name, const std::string& value, Tone tone) {
    m_sections.back().lines.push_back({name, printable(value), tone});
}

std::string Blocks::render(bool colour, std::size_t columns) const {
    std::size_t nameRoom = 0;
    for (const Section& section : m_sections) {
        for (const Line& line : section.lines) {
            nameRoom = std::max(nameRoom, line.name.size());
        }
    }
    std::string text;
    for (const Section& section : m_sections) {
        text += text.empty() ? "" : "\n";
        text += bold(section.title, colour) + '\n';
        for (const Line& line : section.lines) {
            const std::string plain =
                format("{} {:<{}}  {}", signOf(line.tone), line.name, nameRoom, line.value);
            const std::size_t valueAt = nameRoom + 4;
            const std::string fitted = wrapped(plain, columns, valueAt);
            text += (fitted[0] == ' ' ? " " : toned(fitted.substr(0, 1), line.tone, colour)) +
                    fitted.substr(1, valueAt - 1) +
                    toned(fitted.substr(valueAt), line.tone, colour) + '\n';
        }
    }
    return text;
}

}  // namespace veskctl
