#include "events/event_parser.h"

#include "events/number_text.h"
#include "support/heap_record.h"
#include "support/log_line.h"
#include "support/trace.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t kPageTextBegin = 40;
constexpr std::size_t kPageEnd = 4096;
constexpr std::size_t kCarryTextBegin = 8;  // the 8 bytes before are the end of the page itself
constexpr std::size_t kCarryEnd = 16;

constexpr UCHAR_ kUnknownName = 255;

struct SeverityName {
    std::string_view name;
    UCHAR_ value;
};

// ODDITY: "INFO" and "NOTIFY" are one severity; hosts know no other for a notification.
// Pinned by EventNames.InfoAndNotifyAreOneSeverity.
constexpr SeverityName kSeverities[] = {
    {"UNKNOWN", 0}, {"OTHER", 1}, {"INFO", 2},     {"NOTIFY", 2}, {"WARNING", 3},
    {"MINOR", 4},   {"MAJOR", 5}, {"CRITICAL", 6}, {"FATAL", 7},
};

struct ClassName {
    std::string_view part;
    USHORT_INT value;
};

constexpr ClassName kClasses[] = {
    {"NVMe", 0}, {"ADAPTER", 0},  {"VD", 1},  {"PD", 2},
    {"PM", 3},   {"EXPANDER", 4}, {"MDD", 5}, {"BSL", 6},
};

void logEventLine(std::string_view line) {
    if (!stg::lout.isActive()) {
        return;
    }
    stg::lout << "EventParser:parseEventBuffer(): Current Event: ";
    // Without the NUL bytes, one of which would cut the log line.
    while (!line.empty()) {
        const std::size_t length = std::min(line.find('\0'), line.size());
        stg::lout << line.substr(0, length);
        line.remove_prefix(std::min(length + 1, line.size()));
    }
    stg::lout << '\n';
}

// A value that holds no number costs its field, not its line.
ULONG_INT numberOrZero(std::string_view value, int base, const char* complaint) {
    const NumberText number = readNumber(value, base);
    if (!number.valid) {
        stg::logLine(complaint, "stoul");
        return 0;
    }
    return number.value;
}

}  // namespace

EventParser::EventParser() {
    LOG_ENTRY;
    LOG_EXIT;
}

EventParser& EventParser::getInstance() {
    LOG_ENTRY;
    static EventParser parser;
    LOG_EXIT;
    return parser;
}

INTEGER EventParser::parseEventBuffer(char* page, std::map<unsigned int, _Event*>* events) {
    LOG_ENTRY;
    INTEGER added = 0;
    const bool carried = !m_remaining.empty();
    std::string_view text =
        carried ? std::string_view(page + kCarryTextBegin, kCarryEnd - kCarryTextBegin)
                : std::string_view(page + kPageTextBegin, kPageEnd - kPageTextBegin);
    // What stands in front of the range's first line: the cut line that it may complete.
    std::string beginning = std::move(m_remaining);
    m_remaining.clear();

    bool open = carried;  // the line at hand has an opening bracket and no line feed yet
    while (!text.empty()) {
        const std::size_t lineFeed = text.find('\n');
        const bool ended = lineFeed != std::string_view::npos;
        std::string_view line = text.substr(0, lineFeed);
        text.remove_prefix(ended ? lineFeed + 1 : text.size());
        open = !ended && (open || line.find('[') != std::string_view::npos);
        if (!beginning.empty()) {
            beginning.append(line);
            line = beginning;
        }
        if (!open && !line.empty()) {
            added += addLine(line, *events) ? 1 : 0;
        }
        // ODDITY: a line cut by the page is kept, one that the carry read does not complete is dropped
        // without a word: what follows it is read from the next page's own text.
        // Pinned by EventParser.TailOfNineBytesIsLostSilently.
        if (open && !carried) {
            m_remaining = line;
        }
        beginning.clear();
    }
    LOG_EXIT;
    return added;
}

// Whether the line gave a new record.
bool EventParser::addLine(std::string_view line, EventMap& events) {
    logEventLine(line);
    // Parsed in place first: most lines of a poll are known already, and cost no allocation so.
    _Event event = {};
    if (parseEvent(line, event) != 0) {
        return false;
    }
    const auto place = events.lower_bound(event.sequenceNo);
    if (place != events.end() && place->first == event.sequenceNo) {
        return false;
    }
    HeapRecord<_Event> record = tryAllocateZeroed<_Event>();
    if (!record) {
        stg::logLine(
            "EventParser:parseEventBuffer(): No memory for the event, left to the next poll");
        return false;
    }
    *record = event;
    events.emplace_hint(place, event.sequenceNo, record.get());
    static_cast<void>(record.release());
    return true;
}

STDSTR EventParser::getRemainingEvent() {
    LOG_ENTRY;
    LOG_EXIT;
    return m_remaining;
}

VOID_ EventParser::setRemainingEvent(STDSTR text) {
    LOG_ENTRY;
    m_remaining = std::move(text);
    LOG_EXIT;
}

RESULT EventParser::parseEvent(std::string line, PEvent event) {
    return parseEvent(std::string_view(line), *event);
}

RESULT EventParser::parseEvent(std::string_view line, _Event& event) {
    LOG_ENTRY;
    // ODDITY: 1 until a tag was read, so a first tag without key or value ends the line as bad, and the
    // same tag further behind is skipped. Pinned by EventLine.FirstTagWithoutValueFailsTheLine.
    RESULT result = 1;
    std::size_t bracket = line.find('[');
    while (bracket != std::string_view::npos) {
        const std::size_t keyEnd = std::min(line.find(']', bracket + 1), line.size());
        const std::string_view key = line.substr(bracket + 1, keyEnd - bracket - 1);
        const std::size_t valueBegin = std::min(keyEnd + 1, line.size());
        bracket = line.find('[', valueBegin);
        const std::string_view value = line.substr(valueBegin, bracket - valueBegin);
        if (!key.empty() && !value.empty()) {
            result = addToEventStruct(event, key, value);
        }
        if (result != 0) {
            break;
        }
    }
    LOG_EXIT;
    return result;
}

RESULT EventParser::addToEventStruct(PEvent event, std::string key, std::string value) {
    return addToEventStruct(*event, std::string_view(key), std::string_view(value));
}

RESULT EventParser::addToEventStruct(_Event& event, std::string_view key, std::string_view value) {
    LOG_ENTRY;
    RESULT result = 0;
    if (key == "SEQ") {
        const NumberText number = readNumber(value, 10);
        const bool inRange =
            number.value <= 0xFFFFFFFF && value.find('-') == std::string_view::npos;
        if (number.valid && inRange) {
            event.sequenceNo = static_cast<UNSIGNED_INTEGER>(number.value);
        } else {
            stg::logLine("EventParser::addToEventStruct() : Error parsing SEQ = ",
                         number.valid
                             ? "Sequence is a negative number or greater than max expected "
                               "sequence number"
                             : "stoull");
            result = 1;
        }
    } else if (key == "EVT_ID") {
        event.eventCode = static_cast<USHORT_INT>(
            numberOrZero(value, 16, "EventParser::addToEventStruct(): Error parsing EVT_ID = "));
    } else if (key == "TIME") {
        event.timeStamp = static_cast<UNSIGNED_INTEGER>(
            numberOrZero(value, 10, "EventParser::addToEventStruct(): Error parsing TIMESTAMP = "));
    } else if (key == "DEV_ID") {
        event.deviceId = static_cast<USHORT_INT>(
            numberOrZero(value, 10, "EventParser::addToEventStruct(): Error parsing DEV_ID = "));
    } else if (key == "MSG") {
        parseMSG(event, value);
    }
    LOG_EXIT;
    return result;
}

VOID_ EventParser::parseMSG(PEvent event, std::string /*key*/, std::string value) {
    parseMSG(*event, std::string_view(value));
}

VOID_ EventParser::parseMSG(_Event& event, std::string_view value) {
    LOG_ENTRY;
    const std::size_t first = value.find('_');
    if (first != std::string_view::npos) {
        const std::size_t last = value.rfind('_');
        // ODDITY: with one underscore the description is the same text as the severity name; what
        // stands between the two is then what stands behind both.
        // Pinned by EventMessage.OneUnderscoreMakesTheSeverityNameTheDescription.
        const std::string_view description =
            first == last ? value.substr(first + 1) : value.substr(first + 1, last - first - 1);
        event.eventClass = mapClassName(value.substr(0, first));
        event.severity = mapSeverity(value.substr(last + 1));
        const std::size_t length = std::min(description.size(), sizeof(event.description) - 1);
        std::memcpy(event.description, description.data(), length);
        event.description[length] = '\0';
    }
    LOG_EXIT;
}

UCHAR_ EventParser::mapSeverity(std::string name) {
    return mapSeverity(std::string_view(name));
}

UCHAR_ EventParser::mapSeverity(std::string_view name) {
    LOG_ENTRY;
    const auto* const row =
        std::find_if(std::begin(kSeverities), std::end(kSeverities),
                     [name](const SeverityName& severity) { return severity.name == name; });
    LOG_EXIT;
    return row == std::end(kSeverities) ? kUnknownName : row->value;
}

USHORT_INT EventParser::mapClassName(std::string name) {
    return mapClassName(std::string_view(name));
}

USHORT_INT EventParser::mapClassName(std::string_view name) {
    LOG_ENTRY;
    const auto* const row =
        std::find_if(std::begin(kClasses), std::end(kClasses), [name](const ClassName& known) {
            return name.find(known.part) != std::string_view::npos;
        });
    LOG_EXIT;
    return row == std::end(kClasses) ? kUnknownName : row->value;
}
