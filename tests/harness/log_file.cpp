#include "log_file.h"

#include "private_host.h"

#include <algorithm>
#include <regex>

namespace vesktest {
namespace {

const char* const kPrefixStart = "(T: ";
constexpr std::ptrdiff_t kLongestPrefix = 100;  // so that a long text is not searched to its end

// The prefix at the front of the row, if a whole one is there: thread and time are its groups.
bool matchPrefix(const std::string& row, std::size_t from, std::smatch& match) {
    static const std::regex s_prefix(R"(\(T: (\d{1,20}|thread::id of a non-executing thread)\) )"
                                     R"(\[((?:Sun|Mon|Tue|Wed|Thu|Fri|Sat) )"
                                     R"((?:Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) )"
                                     R"((?: \d|\d\d) \d\d:\d\d:\d\d \d{4,10})\] )");
    const auto begin = row.begin() + static_cast<std::ptrdiff_t>(from);
    const auto end = begin + std::min(row.end() - begin, kLongestPrefix);
    return std::regex_search(begin, end, match, s_prefix, std::regex_constants::match_continuous);
}

// One row of the file, which holds one entry or several.
void parseRow(const std::string& row, std::vector<LogEntry>& entries) {
    std::size_t from = 0;
    do {
        LogEntry entry;
        std::smatch match;
        if (matchPrefix(row, from, match)) {
            entry = {true, match.str(1), match.str(2), ""};
            from += match.str().size();
        }
        std::size_t end = row.find(kPrefixStart, from);
        while (end != std::string::npos && !matchPrefix(row, end, match)) {
            end = row.find(kPrefixStart, end + 1);
        }
        end = std::min(end, row.size());
        entry.text = row.substr(from, end - from);
        from = end;
        entries.push_back(entry);
    } while (from < row.size());
}

}  // namespace

std::vector<LogEntry> parseLog(const std::string& raw) {
    std::vector<LogEntry> entries;
    for (std::size_t from = 0; from < raw.size();) {
        const std::size_t end = std::min(raw.find('\n', from), raw.size());
        parseRow(raw.substr(from, end - from), entries);
        from = end + 1;
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

LogLines LogFile::lines(std::size_t from) const {
    const std::string text = raw();
    LogLines lines;
    for (const LogEntry& entry : parseLog(text.substr(std::min(from, text.size())))) {
        lines.push_back(entry.hasPrefix ? entry.text : kNoPrefix + entry.text);
    }
    return lines;
}

LogLines withoutTrace(LogLines lines) {
    const auto isTrace = [](const std::string& line) {
        const std::string end = line.substr(std::max<std::size_t>(line.size(), 7) - 7);
        return end == " ENTRY " || (!end.empty() && end.substr(1) == " EXIT ");
    };
    lines.erase(std::remove_if(lines.begin(), lines.end(), isTrace), lines.end());
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

::testing::AssertionResult inOrder(const LogLines& lines, const LogLines& texts) {
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
