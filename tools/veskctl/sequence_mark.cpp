#include "veskctl/sequence_mark.h"

#include "veskctl/format.h"
#include "veskctl/ini_text.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>

namespace veskctl {

namespace {

constexpr const char* kAllAgain =
    "so the library reads 0, and each delivery brings everything again that the controller holds";

unsigned lineAt(const std::string& text, std::size_t position) {
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(position);
    return static_cast<unsigned>(std::count(text.begin(), end, '\n') + 1);
}

// Where the line begins.
std::size_t beginOfLine(const std::string& text, unsigned line) {
    std::size_t begin = 0;
    for (unsigned number = 1; number < line; ++number) {
        begin = text.find('\n', begin) + 1;
    }
    return begin;
}

// As std::stoi: what it refuses reads as 0.
std::int32_t asTheLibraryReads(const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const long number = std::strtol(text.c_str(), &end, 10);
    const bool fits = errno == 0 && number >= std::numeric_limits<std::int32_t>::min() &&
                      number <= std::numeric_limits<std::int32_t>::max();
    return end == text.c_str() || !fits ? 0 : static_cast<std::int32_t>(number);
}

// The first digits, whatever stands around them.
std::optional<std::uint32_t> plainNumber(const std::string& text) {
    const std::size_t begin = text.find_first_of(kDigits);
    if (begin == std::string::npos) {
        return std::nullopt;
    }
    const std::size_t end = std::min(text.find_first_not_of(kDigits, begin), text.size());
    errno = 0;
    const unsigned long number = std::strtoul(text.substr(begin, end - begin).c_str(), nullptr, 10);
    const bool fits = errno == 0 && number <= std::numeric_limits<std::int32_t>::max();
    return fits ? std::optional<std::uint32_t>(static_cast<std::uint32_t>(number)) : std::nullopt;
}

class MarkReader {
public:
    MarkReader(const std::string& text, const std::string& path, std::vector<Finding>& findings)
        : m_text(text), m_path(path), m_findings(findings) {}

    SequenceMark read() {
        const IniText ini(m_text);
        const std::optional<IniHit> hit = ini.lookUp(kMarkSection, kMarkKey);
        if (!hit) {
            reportMissing(ini);
            return m_mark;
        }
        m_mark.line = hit->line;
        if (!hit->value) {
            report("ini_line_without_equals",
                   format("'{}' has no '=' and no number, so no event can be delivered", kMarkKey));
            return m_mark;
        }
        m_mark.value = asTheLibraryReads(*hit->value);
        m_mark.plainValue = plainNumber(*hit->value);
        // The library writes from behind the last "=" to the end of the file.
        const std::size_t place = beginOfLine(m_text, hit->line) + std::string(kMarkKey).size();
        const std::size_t lastEquals = m_text.rfind('=');
        if (m_text[place] != '=') {
            report("mark_blanks",
                   format("no '=' stands right behind '{}', {}", kMarkKey, kAllAgain));
        } else if (lastEquals != place) {
            report(
                "mark_not_last",
                format("line {} has a '=' too, and stands behind the mark: the library writes the "
                       "mark there, over what is there now",
                       lineAt(m_text, lastEquals)));
        } else {
            m_mark.sound = judge(m_text.substr(place + 1));
        }
        return m_mark;
    }

private:
    void report(const std::string& code, const std::string& text) {
        m_findings.push_back(
            {Severity::Error, code, m_path, m_mark.line, text,
             format("veskctl mark set {}",
                    m_mark.plainValue ? format("{}", *m_mark.plainValue) : "NUMBER")});
    }

    void reportMissing(const IniText& ini) {
        for (const IniLine& line : ini.lines()) {
            const std::size_t begin = line.text.find_first_not_of(" \t");
            if (begin != std::string::npos && begin > 0 &&
                line.text.compare(begin, std::string(kMarkKey).size(), kMarkKey) == 0) {
                m_mark.line = line.number;
                m_mark.plainValue = plainNumber(line.text);
                report("mark_leading_blanks",
                       format("blanks stand in front of '{}', {}", kMarkKey, kAllAgain));
                return;
            }
        }
        const std::size_t lastEquals = m_text.rfind('=');
        std::string text = format("there is no mark of delivered events (a line {}=0 in a section "
                                  "[{}] at the end), {}",
                                  kMarkKey, kMarkSection, kAllAgain);
        if (lastEquals != std::string::npos) {
            text += format("; and it writes its number over what stands behind the '=' of line {}",
                           lineAt(m_text, lastEquals));
        }
        report("mark_missing", text);
    }

    // tail: all behind the "=" of the mark. Where more than one byte follows the number, the
    // library fills the room that a new number of the same length leaves with NUL bytes in front of
    // it, and then reads 0.
    bool judge(const std::string& tail) {
        const std::size_t end = std::min(tail.find_first_not_of(kDigits), tail.size());
        const std::string rest = tail.substr(end);
        if (tail.find('\0') != std::string::npos) {
            report("mark_nul_bytes", format("NUL bytes stand beside the number, {}",
                                            m_mark.value == 0 ? kAllAgain : "which may be lost"));
        } else if (!tail.empty() && (tail.front() == ' ' || tail.front() == '\t')) {
            report("mark_leading_blanks",
                   "blanks stand in front of the number: the library reads 0 instead of the next "
                   "number that it writes, and everything comes again");
        } else if (end == 0) {
            report("mark_not_a_number",
                   tail.substr(0, 1) == "-"
                       ? "the number is below 0"
                       : format("there is no number behind '=', {}", kAllAgain));
        } else if (!m_mark.plainValue) {
            report("mark_too_large", format("the number is above 2147483647, {}", kAllAgain));
        } else if (rest == "\r\n") {
            report("mark_crlf",
                   "the line ends with a carriage return and a line feed: the library reads 0 "
                   "instead of the next number that it writes, and everything comes again");
        } else if (rest.size() > 1 || (rest.size() == 1 && rest != "\n" && rest != "\r")) {
            report("mark_followed",
                   "something follows the number: the library reads 0 instead of the next number "
                   "that it writes, and everything comes again");
        } else {
            return true;
        }
        return false;
    }

    const std::string& m_text;
    const std::string& m_path;
    std::vector<Finding>& m_findings;
    SequenceMark m_mark;
};

}  // namespace

SequenceMark readSequenceMark(const std::string& text, const std::string& path,
                              std::vector<Finding>& findings) {
    return MarkReader(text, path, findings).read();
}

}  // namespace veskctl
