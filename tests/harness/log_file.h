// Reads the trace log of a PrivateHost, /scratch/log/libVeskNVMe.log, line by line.
//
// The library puts "(T: <thread id>) [<time>] " in front of what it writes. A line ends at its line
// feed, or where the next such prefix begins: text is cut at a NUL byte together with its line
// feed, and then the next line follows on the same row of the file.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace vesktest {

class PrivateHost;

struct LogEntry {
    bool hasPrefix = false;
    std::string thread;  // as it stands: digits, or the text for no thread
    std::string time;    // as it stands: 24 characters, more after the year 9999
    std::string text;    // without line feed
};

using LogLines = std::vector<std::string>;

// In front of a line of lines() that has no well-formed prefix in the file, so that it equals
// nothing that a test expects by accident.
constexpr const char* kNoPrefix = "<no prefix> ";

class LogFile {
public:
    // The host has to outlive this. Nothing is kept: each call reads the file as it is then.
    explicit LogFile(const PrivateHost& host);

    bool exists() const;
    std::string raw() const;  // empty if there is no file
    std::vector<LogEntry> entries() const;
    // The texts only, from this byte of the file on, where a line begins.
    LogLines lines(std::size_t from = 0) const;

private:
    const PrivateHost& m_host;
};

// What entries() does, for any text.
std::vector<LogEntry> parseLog(const std::string& raw);

// Less the lines that end in " ENTRY " or " EXIT ".
LogLines withoutTrace(LogLines lines);

// These compare whole lines.
bool contains(const LogLines& lines, const std::string& text);
std::size_t count(const LogLines& lines, const std::string& text);

// Whether some line has this text in it, for lines that end in something unknown.
bool containsPart(const LogLines& lines, const std::string& part);

// Success if the texts are among the lines in this order, other lines between them or not.
::testing::AssertionResult inOrder(const LogLines& lines, const LogLines& texts);

}  // namespace vesktest
