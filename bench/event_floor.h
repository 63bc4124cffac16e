// The text of the event log by hand: what a parser of one pass needs, and two that people write
// first.
#pragma once

#include "events/event_record.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>
#include <string_view>

namespace bench {

using Store = void (*)(EventMap& events, _Event* record);

// Takes a record from calloc; one that is known already is freed.
inline void storeEvent(EventMap& events, _Event* record) {
    if (!events.emplace(record->sequenceNo, record).second) {
        std::free(record);
    }
}

inline _Event* newEvent() {
    return static_cast<_Event*>(std::calloc(1, sizeof(_Event)));
}

inline UCHAR_ severityNumber(std::string_view name) {
    static constexpr std::string_view kNames[] = {"UNKNOWN", "OTHER", "INFO",    "WARNING",
                                                  "MINOR",   "MAJOR", "CRITICAL"};
    for (UCHAR_ i = 0; i < sizeof kNames / sizeof *kNames; ++i) {
        if (kNames[i] == name) {
            return i;
        }
    }
    return 255;
}

inline USHORT_INT classNumber(std::string_view name) {
    static constexpr std::string_view kNames[] = {"NVMe", "ADAPTER",  "VD",  "PD",
                                                  "PM",   "EXPANDER", "MDD", "BSL"};
    for (UCHAR_ i = 0; i < sizeof kNames / sizeof *kNames; ++i) {
        if (name.find(kNames[i]) != std::string_view::npos) {
            return i;
        }
    }
    return 255;
}

inline void readMessage(_Event& event, std::string_view value) {
    const std::size_t first = value.find('_');
    const std::size_t last = value.rfind('_');
    if (first == std::string_view::npos) {
        return;
    }
    event.eventClass = classNumber(value.substr(0, first));
    event.severity = severityNumber(value.substr(last + 1));
    const std::size_t length = std::min<std::size_t>(last - first - 1, 29);
    std::memcpy(event.description, value.data() + first + 1, length);
}

inline std::uint64_t number(const char* text, const char* end, unsigned base) {
    std::uint64_t value = 0;
    for (; text < end; ++text) {
        const auto digit =
            static_cast<unsigned>(*text <= '9' ? *text - '0' : (*text | 0x20) - 'a' + 10);
        if (digit >= base) {
            break;
        }
        value = value * base + digit;
    }
    return value;
}

// One pass: from bracket to bracket.
inline void parseOnePass(const char* line, const char* end, EventMap& events) {
    const auto find = [end](const char* from, char wanted) {
        return static_cast<const char*>(
            std::memchr(from, wanted, static_cast<std::size_t>(end - from)));
    };
    _Event* const event = newEvent();
    const char* bracket = find(line, '[');
    while (bracket != nullptr) {
        const char* const key = bracket + 1;
        const char* const keyEnd = find(key, ']');
        if (keyEnd == nullptr) {
            break;
        }
        const char* const value = keyEnd + 1;
        bracket = find(value, '[');
        const char* const valueEnd = bracket == nullptr ? end : bracket;
        switch (*key) {
        case 'S':
            event->sequenceNo = static_cast<UNSIGNED_INTEGER>(number(value, valueEnd, 10));
            break;
        case 'E':
            event->eventCode = static_cast<USHORT_INT>(number(value, valueEnd, 16));
            break;
        case 'T':
            event->timeStamp = static_cast<UNSIGNED_INTEGER>(number(value, valueEnd, 10));
            break;
        case 'D':
            event->deviceId = static_cast<USHORT_INT>(number(value, valueEnd, 10));
            break;
        default:
            readMessage(*event,
                        std::string_view(value, static_cast<std::size_t>(valueEnd - value)));
            break;
        }
    }
    storeEvent(events, event);
}

// Strings, substr and stoul.
inline void parseBySubstr(const char* begin, const char* end, EventMap& events) {
    const std::string line(begin, end);
    _Event* const event = newEvent();
    std::size_t bracket = line.find('[');
    while (bracket != std::string::npos) {
        const std::size_t keyEnd = line.find(']', bracket);
        const std::string key = line.substr(bracket + 1, keyEnd - bracket - 1);
        bracket = line.find('[', keyEnd);
        const std::string value = line.substr(keyEnd + 1, bracket - keyEnd - 1);
        if (key == "SEQ") {
            event->sequenceNo = static_cast<UNSIGNED_INTEGER>(std::stoul(value));
        } else if (key == "EVT_ID") {
            event->eventCode = static_cast<USHORT_INT>(std::stoul(value, nullptr, 16));
        } else if (key == "TIME") {
            event->timeStamp = static_cast<UNSIGNED_INTEGER>(std::stoul(value));
        } else if (key == "DEV_ID") {
            event->deviceId = static_cast<USHORT_INT>(std::stoul(value));
        } else if (key == "MSG") {
            readMessage(*event, value);
        }
    }
    storeEvent(events, event);
}

inline void parseByRegex(const char* begin, const char* end, EventMap& events) {
    static const std::regex s_line("\\[SEQ\\](\\d+)\\[EVT_ID\\]([0-9A-Fa-f]+)\\[TIME\\](\\d+)"
                                   "\\[DEV_ID\\](\\d+)\\[MSG\\](.*)");
    std::cmatch match;
    if (!std::regex_match(begin, end, match, s_line)) {
        return;
    }
    _Event* const event = newEvent();
    event->sequenceNo = static_cast<UNSIGNED_INTEGER>(std::stoul(match[1]));
    event->eventCode = static_cast<USHORT_INT>(std::stoul(match[2], nullptr, 16));
    event->timeStamp = static_cast<UNSIGNED_INTEGER>(std::stoul(match[3]));
    event->deviceId = static_cast<USHORT_INT>(std::stoul(match[4]));
    readMessage(*event, match[5].str());
    storeEvent(events, event);
}

}  // namespace bench
