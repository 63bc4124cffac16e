// An INI file as the library reads it: by exact column, the first section of a name, the first line
// that begins with a key.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace veskctl {

// Of the numbers that the library reads.
constexpr const char* kDigits = "0123456789";

struct IniLine {
    unsigned number = 0;  // from 1
    std::string text;     // without its line feed
};

struct IniHit {
    unsigned line = 0;
    std::optional<std::string> value;  // empty: the line ends with the key, where the library fails
};

class IniText {
public:
    explicit IniText(const std::string& text);

    const std::vector<IniLine>& lines() const { return m_lines; }
    bool hasSection(const std::string& name) const;
    // The lines that the library looks at in this section: no comments, nothing empty.
    std::vector<IniLine> section(const std::string& name) const;
    std::optional<IniHit> lookUp(const std::string& section, const std::string& key) const;

private:
    // Where the section's lines begin; the end if there is no such section.
    std::vector<IniLine>::const_iterator find(const std::string& name) const;

    std::vector<IniLine> m_lines;
};

// Without a carriage return at its end.
std::string withoutLineEnd(const std::string& text);

}  // namespace veskctl
