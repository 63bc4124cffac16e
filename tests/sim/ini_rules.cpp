#include "ini_rules.h"

#include <algorithm>
#include <sstream>

namespace simtest {

namespace {

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

void readRow(IniFile& file, const std::string& line) {
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == line.size() ||
        line.find_first_of(" \t\r") != std::string::npos) {
        file.broken.push_back("no row: " + line);
        return;
    }
    if (file.sections.empty()) {
        file.broken.push_back("before the first section: " + line);
        return;
    }
    const std::string key = line.substr(0, equals);
    auto& rows = file.sections.back().rows;
    for (const auto& [earlier, value] : rows) {
        // The reader compares as many characters as the key that it looks for has.
        if (startsWith(earlier, key)) {
            file.broken.push_back(key + " is found in the row of " + earlier);
        }
    }
    rows.emplace_back(key, line.substr(equals + 1));
}

}  // namespace

IniFile readIni(const std::string& text) {
    IniFile file;
    std::istringstream stream(text);
    std::string line;
    while (std::getline(stream, line)) {
        if (line.empty() || line[0] == ';') {
            continue;
        }
        if (line[0] != '[') {
            readRow(file, line);
            continue;
        }
        const std::string name = line.substr(1, line.size() - 2);
        const bool known =
            std::any_of(file.sections.begin(), file.sections.end(),
                        [&name](const IniSection& section) { return section.name == name; });
        if (line.back() != ']' || known) {
            file.broken.push_back("no section of its own: " + line);
        }
        file.sections.push_back({name, {}});
    }
    return file;
}

}  // namespace simtest
