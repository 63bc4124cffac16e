#include "plain_event_reader.h"

#include <cstddef>
#include <exception>
#include <utility>
#include <vector>

namespace vesktest {
namespace {

void put(EventBytes& event, std::size_t offset, std::size_t size, unsigned long number) {
    for (std::size_t i = 0; i < size; ++i) {
        event[offset + i] = static_cast<std::uint8_t>(number >> (8 * i));
    }
}

unsigned long classNumber(const std::string& text) {
    static const std::vector<std::pair<std::string, unsigned long>> kClasses = {
        {"NVMe", 0}, {"ADAPTER", 0},  {"VD", 1},  {"PD", 2},
        {"PM", 3},   {"EXPANDER", 4}, {"MDD", 5}, {"BSL", 6}};
    for (const auto& entry : kClasses) {
        if (text.find(entry.first) != std::string::npos) {
            return entry.second;
        }
    }
    return 255;
}

unsigned long severityNumber(const std::string& text) {
    static const std::map<std::string, unsigned long> kSeverities = {
        {"UNKNOWN", 0}, {"OTHER", 1}, {"INFO", 2},     {"NOTIFY", 2}, {"WARNING", 3},
        {"MINOR", 4},   {"MAJOR", 5}, {"CRITICAL", 6}, {"FATAL", 7}};
    const auto found = kSeverities.find(text);
    return found == kSeverities.end() ? 255 : found->second;
}

void putMessage(EventBytes& event, const std::string& value) {
    const std::size_t first = value.find('_');
    if (first == std::string::npos) {
        return;
    }
    const std::size_t last = value.rfind('_');
    const std::string severity = value.substr(last + 1);
    const std::string description =
        first == last ? severity : value.substr(first + 1, last - first - 1);
    put(event, 0, 2, classNumber(value.substr(0, first)));
    put(event, 10, 1, severityNumber(severity));
    std::size_t length = 0;
    while (length < description.size() && length < 29) {
        event[34 + length] = static_cast<std::uint8_t>(description[length]);
        ++length;
    }
    event[34 + length] = 0;
}

// False for a bad sequence number.
bool putTag(EventBytes& event, const std::string& key, const std::string& value) {
    if (key == "SEQ") {
        try {
            const unsigned long long number = std::stoull(value);
            if (value.find('-') != std::string::npos || number > 4294967295ULL) {
                return false;
            }
            put(event, 12, 4, number);
        } catch (const std::exception&) {
            return false;
        }
        return true;
    }
    try {
        if (key == "EVT_ID") {
            put(event, 2, 2, std::stoul(value, nullptr, 16));
        } else if (key == "TIME") {
            put(event, 4, 4, std::stoul(value));
        } else if (key == "DEV_ID") {
            put(event, 8, 2, std::stoul(value));
        } else if (key == "MSG") {
            putMessage(event, value);
        }
    } catch (const std::exception&) {
        return true;  // the field stays as it is
    }
    return true;
}

bool readLine(const std::string& line, EventBytes& event) {
    bool good = false;
    std::size_t position = 0;
    for (;;) {
        while (position < line.size() && line[position] != '[') {
            ++position;
        }
        if (position >= line.size()) {
            return good;
        }
        std::string key;
        std::string value;
        ++position;
        while (position < line.size() && line[position] != ']') {
            key += line[position++];
        }
        ++position;
        while (position < line.size() && line[position] != '[') {
            value += line[position++];
        }
        if (!key.empty() && !value.empty()) {
            good = putTag(event, key, value);
        }
        if (!good) {
            return false;
        }
    }
}

}  // namespace

int PlainEventReader::read(const std::string& bytes) {
    const bool carry = !m_remaining.empty();
    std::string line = m_remaining;
    bool lineDone = !carry;
    int count = 0;
    std::size_t position = carry ? 8 : 40;
    const std::size_t end = carry ? 16 : 4096;
    while (position < end) {
        const char byte = bytes.at(position++);
        const bool lineEnds = byte == '\n';
        if (byte == '[') {
            lineDone = false;
        }
        if (lineEnds) {
            lineDone = true;
        } else {
            line += byte;
        }
        if ((lineEnds || position == end) && lineDone && !line.empty()) {
            count += addLine(line) ? 1 : 0;
            line.clear();
        }
    }
    m_remaining = !carry && !lineDone ? line : std::string();
    return count;
}

bool PlainEventReader::addLine(const std::string& line) {
    EventBytes event{};
    if (!readLine(line, event)) {
        return false;
    }
    const unsigned key = static_cast<unsigned>(event[12]) | static_cast<unsigned>(event[13]) << 8 |
                         static_cast<unsigned>(event[14]) << 16 |
                         static_cast<unsigned>(event[15]) << 24;
    return m_events.insert({key, event}).second;
}

}  // namespace vesktest
