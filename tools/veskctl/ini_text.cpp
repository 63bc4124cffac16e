#include "veskctl/ini_text.h"

#include <algorithm>

namespace veskctl {

std::string withoutLineEnd(const std::string& text) {
    return !text.empty() && text.back() == '\r' ? text.substr(0, text.size() - 1) : text;
}

IniText::IniText(const std::string& text) {
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        m_lines.push_back(
            {static_cast<unsigned>(m_lines.size() + 1), text.substr(begin, end - begin)});
        begin = end + 1;
    }
}

std::vector<IniLine>::const_iterator IniText::find(const std::string& name) const {
    const std::string header = "[" + name + "]";
    const auto found = std::find_if(m_lines.begin(), m_lines.end(), [&](const IniLine& line) {
        return withoutLineEnd(line.text) == header;
    });
    return found == m_lines.end() ? found : found + 1;
}

bool IniText::hasSection(const std::string& name) const {
    const std::string header = "[" + name + "]";
    return std::any_of(m_lines.begin(), m_lines.end(),
                       [&](const IniLine& line) { return withoutLineEnd(line.text) == header; });
}

std::vector<IniLine> IniText::section(const std::string& name) const {
    std::vector<IniLine> lines;
    for (auto line = find(name); line != m_lines.end(); ++line) {
        const std::string text = withoutLineEnd(line->text);
        if (!text.empty() && text.front() == '[') {
            break;
        }
        if (!text.empty() && text.front() != ';') {
            lines.push_back(*line);
        }
    }
    return lines;
}

std::optional<IniHit> IniText::lookUp(const std::string& name, const std::string& key) const {
    for (const IniLine& line : section(name)) {
        if (line.text.compare(0, key.size(), key) == 0) {
            IniHit hit = {line.number, std::nullopt};
            if (line.text.size() > key.size()) {
                hit.value = withoutLineEnd(line.text.substr(key.size() + 1));
            }
            return hit;
        }
    }
    return std::nullopt;
}

}  // namespace veskctl
