#include "log_file.h"

#include "private_host.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

namespace vesktest {
namespace {

constexpr std::string_view kPrefixStart = "(T: ";

// Takes parts off the front of a text, all or nothing.
class Scanner {
public:
    explicit Scanner(std::string_view text) : m_rest(text) {}

    std::string_view rest() const { return m_rest; }

    bool skip(std::string_view expected) {
        if (m_rest.substr(0, expected.size()) != expected) {
            return false;
        }
        m_rest.remove_prefix(expected.size());
        return true;
    }

    template <std::size_t N>
    bool skipOneOf(const std::array<std::string_view, N>& choices) {
        return std::any_of(choices.begin(), choices.end(),
                           [this](std::string_view choice) { return skip(choice); });
    }

    // Between `least` and `most` decimal digits, as many as there are.
    bool skipDigits(std::size_t least, std::size_t most) {
        std::size_t length = 0;
        while (length < most && length < m_rest.size() && m_rest[length] >= '0' &&
               m_rest[length] <= '9') {
            ++length;
        }
        if (length < least) {
            return false;
        }
        m_rest.remove_prefix(length);
        return true;
    }

private:
    std::string_view m_rest;
};

bool skipThread(Scanner& scanner) {
    return scanner.skip("thread::id of a non-executing thread") || scanner.skipDigits(1, 20);
}

// "Thu Nov  6 09:05:00 2025"
bool skipTime(Scanner& scanner) {
    static constexpr std::array<std::string_view, 7> kDays = {"Sun ", "Mon ", "Tue ", "Wed ",
                                                              "Thu ", "Fri ", "Sat "};
    static constexpr std::array<std::string_view, 12> kMonths = {"Jan ", "Feb ", "Mar ", "Apr ",
                                                                 "May ", "Jun ", "Jul ", "Aug ",
                                                                 "Sep ", "Oct ", "Nov ", "Dec "};
    if (!scanner.skipOneOf(kDays) || !scanner.skipOneOf(kMonths)) {
        return false;
    }
    const bool day = scanner.skip(" ") ? scanner.skipDigits(1, 1) : scanner.skipDigits(2, 2);
    return day && scanner.skip(" ") && scanner.skipDigits(2, 2) && scanner.skip(":") &&
           scanner.skipDigits(2, 2) && scanner.skip(":") && scanner.skipDigits(2, 2) &&
           scanner.skip(" ") && scanner.skipDigits(4, 10);
}

std::string taken(std::string_view before, const Scanner& scanner) {
    return std::string(before.substr(0, before.size() - scanner.rest().size()));
}

struct Prefix {
    LogEntry entry;  // without its text
    std::size_t length = 0;
};

// The prefix at the front of the text, if a whole one is there.
std::optional<Prefix> prefixOf(std::string_view text) {
    Scanner scanner(text);
    if (!scanner.skip(kPrefixStart)) {
        return std::nullopt;
    }
    Prefix prefix;
    prefix.entry.hasPrefix = true;
    const std::string_view thread = scanner.rest();
    if (!skipThread(scanner)) {
        return std::nullopt;
    }
    prefix.entry.thread = taken(thread, scanner);
    if (!scanner.skip(") [")) {
        return std::nullopt;
    }
    const std::string_view time = scanner.rest();
    if (!skipTime(scanner)) {
        return std::nullopt;
    }
    prefix.entry.time = taken(time, scanner);
    if (!scanner.skip("] ")) {
        return std::nullopt;
    }
    prefix.length = text.size() - scanner.rest().size();
    return prefix;
}

// Where the next whole prefix begins, or npos.
std::size_t findPrefix(std::string_view text) {
    std::size_t position = text.find(kPrefixStart);
    while (position != std::string_view::npos && !prefixOf(text.substr(position))) {
        position = text.find(kPrefixStart, position + 1);
    }
    return position;
}

// One row of the file, which holds one entry or several.
void parseRow(std::string_view row, std::vector<LogEntry>& entries) {
    do {
        LogEntry entry;
        if (const std::optional<Prefix> prefix = prefixOf(row)) {
            entry = prefix->entry;
            row.remove_prefix(prefix->length);
        }
        const std::size_t end = std::min(findPrefix(row), row.size());
        entry.text = std::string(row.substr(0, end));
        row.remove_prefix(end);
        entries.push_back(entry);
    } while (!row.empty());
}

bool endsWith(const std::string& text, std::string_view end) {
    return text.size() >= end.size() &&
           std::string_view(text).substr(text.size() - end.size()) == end;
}

}  // namespace

std::vector<LogEntry> parseLog(const std::string& raw) {
    std::vector<LogEntry> entries;
    std::string_view rest = raw;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        parseRow(rest.substr(0, end), entries);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return entries;
}

LogFile::LogFile(const PrivateHost& host) : m_host(host) {}

bool LogFile::exists() const {
    return m_host.exists(kLogPath);
}

std::string LogFile::raw() const {
    return exists() ? m_host.read(kLogPath) : std::string();
}

std::vector<LogEntry> LogFile::entries() const {
    return parseLog(raw());
}

LogLines LogFile::lines() const {
    LogLines lines;
    for (const LogEntry& entry : entries()) {
        lines.push_back(entry.hasPrefix ? entry.text : kNoPrefix + entry.text);
    }
    return lines;
}

LogLines LogFile::linesWithoutTrace() const {
    LogLines lines = this->lines();
    lines.erase(std::remove_if(lines.begin(), lines.end(),
                               [](const std::string& line) {
                                   return endsWith(line, " ENTRY ") || endsWith(line, " EXIT ");
                               }),
                lines.end());
    return lines;
}

bool contains(const LogLines& lines, const std::string& text) {
    return count(lines, text) != 0;
}

std::size_t count(const LogLines& lines, const std::string& text) {
    return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), text));
}

bool containsPart(const LogLines& lines, const std::string& part) {
    return std::any_of(lines.begin(), lines.end(), [&part](const std::string& line) {
        return line.find(part) != std::string::npos;
    });
}

::testing::AssertionResult inOrder(const LogLines& lines,
                                   std::initializer_list<std::string> texts) {
    auto from = lines.begin();
    std::size_t number = 0;
    for (const std::string& text : texts) {
        const auto found = std::find(from, lines.end(), text);
        if (found == lines.end()) {
            return ::testing::AssertionFailure()
                   << "text " << number << " is missing behind line " << (from - lines.begin())
                   << ": " << ::testing::PrintToString(text)
                   << "\nin: " << ::testing::PrintToString(lines);
        }
        from = found + 1;
        ++number;
    }
    return ::testing::AssertionSuccess();
}

}  // namespace vesktest
