#include "veskctl/alert_mapping.h"

#include "veskctl/format.h"
#include "veskctl/ini_text.h"
#include "veskctl/long_codes.h"
#include "veskctl/sequence_mark.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <set>

namespace veskctl {

namespace {

// In the order of the class codes. The library looks for events of any other class in a section
// without a name.
constexpr std::array<const char*, 4> kSections = {"Adapter", "VirtualDevice", "PhysicalDevice", ""};
constexpr unsigned kNotReported = 65535;

bool isNumber(const std::string& text) {
    return !text.empty() && text.size() <= 5 &&
           text.find_first_not_of(kDigits) == std::string::npos;
}

// Of one section. Finds what the library would not take for what it looks like.
class SectionReader {
public:
    SectionReader(unsigned section, const std::string& path, AlertMapping& mapping,
                  std::vector<Finding>& findings)
        : m_section(section), m_path(path), m_mapping(mapping), m_findings(findings) {}

    void take(const IniLine& line) {
        const std::string text = withoutLineEnd(line.text);
        const std::size_t end = std::min(text.find_first_not_of(kDigits), text.size());
        const std::string code = text.substr(0, end);
        if (!code.empty() && end == text.size()) {
            report(Severity::Error, "ini_line_without_equals", line.number,
                   format("'{}' has no '=': the delivery of events fails at one with code {}", text,
                          code),
                   format("write {}=CODE, or put ; in front", code));
        } else if (!isNumber(code) || text[end] != '=') {
            report(Severity::Warning, "mapping_line_ignored", line.number,
                   format("'{}' is no row", text.substr(0, 40)),
                   "a row is CODE=CODE, both in decimal, from the first column on, without blanks; "
                   "a comment begins with ;");
        } else {
            addRow(line.number, code, text.substr(end + 1));
        }
    }

private:
    void addRow(unsigned line, const std::string& code, const std::string& value) {
        const auto shadowedBy = m_beginnings.find(code);
        if (shadowedBy != m_beginnings.end()) {
            report(Severity::Warning, "mapping_row_shadowed", line,
                   format("the library does not get to the row of {}: it takes line {}, whose key "
                          "begins with {}",
                          code, shadowedBy->second, code),
                   "put the row in front of that line");
        }
        MappingRow row = {m_section, static_cast<unsigned>(std::strtoul(code.c_str(), nullptr, 10)),
                          0, line};
        if (isNumber(value) && std::strtoul(value.c_str(), nullptr, 10) <= kNotReported) {
            row.reported = static_cast<unsigned>(std::strtoul(value.c_str(), nullptr, 10));
        } else {
            // The library takes the number at the beginning, cut to 16 bits, and 0 for none.
            row.reported =
                static_cast<unsigned>(std::strtol(value.c_str(), nullptr, 10)) & kNotReported;
            report(
                Severity::Warning, "mapping_value_unusable", line,
                format("'{}' is no code from 0 to 65535, so events with code {} are reported as {}",
                       value.substr(0, 40), code, row.reported),
                format("write {}=CODE, in decimal and without blanks", code));
        }
        for (std::size_t length = 1; length <= code.size(); ++length) {
            m_beginnings.emplace(code.substr(0, length), line);
        }
        m_mapping.rows.push_back(row);
    }

    void report(Severity severity, const std::string& code, unsigned line, const std::string& text,
                const std::string& remedy) {
        m_findings.push_back({severity, code, m_path, line, text, remedy});
    }

    unsigned m_section;
    const std::string& m_path;
    AlertMapping& m_mapping;
    std::vector<Finding>& m_findings;
    std::map<std::string, unsigned> m_beginnings;  // of the keys so far, each with its first line
};

// ";101=2101"
bool isCommentedRow(const IniLine& line) {
    const std::string text = withoutLineEnd(line.text);
    const std::size_t begin = text.find_first_not_of("; \t");
    if (text.empty() || text.front() != ';' || begin == std::string::npos) {
        return false;
    }
    const std::size_t end = text.find_first_not_of(kDigits, begin);
    return end != std::string::npos && end > begin && text[end] == '=';
}

}  // namespace

namespace {

unsigned sectionOf(unsigned classCode) {
    return std::min<unsigned>(classCode, kSections.size() - 1);
}

// The first one whose key begins with the code.
std::optional<MappingRow> firstMatch(const std::vector<MappingRow>& rows, unsigned classCode,
                                     unsigned code) {
    const std::string wanted = std::to_string(code);
    const unsigned section = sectionOf(classCode);
    for (const MappingRow& row : rows) {
        const std::string key = std::to_string(row.code);
        if (row.section == section && key.compare(0, wanted.size(), wanted) == 0) {
            MappingRow taken = row;
            if (key != wanted) {
                taken.reported = 0;  // the value is read from the middle of the longer key
            }
            return taken;
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<MappingRow> AlertMapping::rowOf(unsigned classCode, unsigned code) const {
    const std::optional<MappingRow> row = firstMatch(rows, classCode, code);
    return row && row->reported != kNotReported ? row : std::nullopt;
}

bool AlertMapping::isDropped(unsigned classCode, unsigned code) const {
    const std::optional<MappingRow> row = firstMatch(rows, classCode, code);
    return row && row->reported == kNotReported;
}

std::string mappingOfOtherCodes(const AlertMapping& mapping, const std::set<unsigned>& longCodes) {
    // The library reads the file from its begin for each event: with all of 65535 codes a full log
    // takes it seconds.
    std::set<unsigned> codes = longCodes;
    for (unsigned code = 0; code < LongCodes::kFirst; ++code) {
        codes.insert(code);
    }
    std::array<std::set<unsigned>, kSections.size()> listed;
    for (const MappingRow& row : mapping.rows) {
        for (unsigned code = row.code; code > 0; code /= 10) {  // a key serves its beginnings too
            listed.at(row.section).insert(code);
        }
        if (row.code == 0) {
            listed.at(row.section).insert(0);
        }
    }
    std::string text;
    for (std::size_t section = 0; section < kSections.size(); ++section) {
        text += format("[{}]\n", kSections.at(section));
        // Rising, so that each key stands in front of those that begin with it.
        for (const unsigned code : codes) {
            const std::string key = std::to_string(code);
            const bool other = listed.at(section).count(code) == 0;
            text.append(key).append("=").append(other ? key : "65535").append("\n");
        }
    }
    return text + format("[{}]\n{}=", kMarkSection, kMarkKey);
}

AlertMapping readAlertMapping(const std::string& text, const std::string& path,
                              std::vector<Finding>& findings) {
    AlertMapping mapping;
    const IniText ini(text);
    for (unsigned section = 0; section < kSections.size(); ++section) {
        SectionReader reader(section, path, mapping, findings);
        for (const IniLine& line : ini.section(kSections.at(section))) {
            reader.take(line);
        }
    }
    if (mapping.rows.empty()) {
        mapping.allCommentedOut =
            std::any_of(ini.lines().begin(), ini.lines().end(), isCommentedRow);
        findings.push_back({Severity::Error, "mapping_empty", path, std::nullopt,
                            mapping.allCommentedOut
                                ? "all rows are commented out, so no event is reported"
                                : "there is no row, so no event is reported",
                            "write a row CODE=CODE for each code that shall be reported, in the "
                            "sections [Adapter], [VirtualDevice] and [PhysicalDevice]"});
    }
    return mapping;
}

}  // namespace veskctl
