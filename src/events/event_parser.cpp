#include "events/event_parser.h"

#include "events/event_log_layout.h"
#include "support/heap_record.h"
#include "support/log_line.h"
#include "support/trace.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>
#include <iterator>
#include <system_error>

namespace {

constexpr UCHAR_ kUnknownName = 255;

struct SeverityName {
    std::string_view name;
    UCHAR_ value;
};

// ODDITY: "INFO" and "NOTIFY" are one severity: records have no other value for a notification.
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

struct NumberText {
    bool valid;  // false: no digits, or more than 64 bits
    ULONG_INT value;
};

bool isHexPrefix(std::string_view text) {
    return text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X') &&
           std::isxdigit(static_cast<unsigned char>(text[2])) != 0;
}

// The number at the start of a text as strtoul reads it, without a copy of the text and without an
// exception: blanks, a sign that wraps, a "0x" before hexadecimal digits; what follows is ignored.
NumberText readNumber(std::string_view text, int base) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())) != 0) {
        text.remove_prefix(1);
    }
    const bool negative = !text.empty() && text.front() == '-';
    if (negative || (!text.empty() && text.front() == '+')) {
        text.remove_prefix(1);
    }
    if (base == 16 && isHexPrefix(text)) {
        text.remove_prefix(2);
    }
    ULONG_INT value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    static_cast<void>(end);
    return NumberText{error == std::errc(), negative ? 0 - value : value};
}

// What the standard conversions say of a text that they do not take, and so does the log.
constexpr const char* kBadNumber = "stoul";
constexpr const char* kBadSequenceNumber = "stoull";
constexpr const char* kSequenceOutOfRange =
    "Sequence is a negative number or greater than max expected sequence number";

// ODDITY: the functions below trace under the names of the operations that they do the work of and
// that do not run: those take strings by value, a copy for each tag of a poll, and the lines of the
// log are fixed. Pinned by EventParserLog.PublicFormsAreTracedOnceEach.
constexpr const char* kParseEvent = "RESULT EventParser::parseEvent(std::string, PEvent)";
constexpr const char* kAddToEventStruct =
    "RESULT EventParser::addToEventStruct(PEvent, std::string, std::string)";
constexpr const char* kParseMsg = "VOID_ EventParser::parseMSG(PEvent, std::string, std::string)";
constexpr const char* kMapSeverity = "UCHAR_ EventParser::mapSeverity(std::string)";
constexpr const char* kMapClassName = "USHORT_INT EventParser::mapClassName(std::string)";

UCHAR_ severityOf(std::string_view name) {
    LOG_ENTRY_AS(kMapSeverity);
    const auto* const row =
        std::find_if(std::begin(kSeverities), std::end(kSeverities),
                     [name](const SeverityName& severity) { return severity.name == name; });
    LOG_EXIT_AS(kMapSeverity);
    return row == std::end(kSeverities) ? kUnknownName : row->value;
}

USHORT_INT classOf(std::string_view name) {
    LOG_ENTRY_AS(kMapClassName);
    const auto* const row =
        std::find_if(std::begin(kClasses), std::end(kClasses), [name](const ClassName& known) {
            return name.find(known.part) != std::string_view::npos;
        });
    LOG_EXIT_AS(kMapClassName);
    return row == std::end(kClasses) ? kUnknownName : row->value;
}

void readMessage(_Event& event, std::string_view value) {
    LOG_ENTRY_AS(kParseMsg);
    const std::size_t first = value.find('_');
    if (first != std::string_view::npos) {
        const std::size_t last = value.rfind('_');
        // ODDITY: with one underscore the description is the same text as the severity name; what
        // stands between the two is then what stands behind both.
        // Pinned by EventMessage.OneUnderscoreMakesTheSeverityNameTheDescription.
        const std::string_view description =
            first == last ? value.substr(first + 1) : value.substr(first + 1, last - first - 1);
        event.eventClass = classOf(value.substr(0, first));
        event.severity = severityOf(value.substr(last + 1));
        const std::size_t length = std::min(description.size(), sizeof(event.description) - 1);
        std::memcpy(event.description, description.data(), length);
        event.description[length] = '\0';
    }
    LOG_EXIT_AS(kParseMsg);
}

// A value that holds no number leaves its field as it was, and costs no more.
template <typename Field>
void readField(Field& field, std::string_view value, int base, const char* complaint) {
    const NumberText number = readNumber(value, base);
    if (number.valid) {
        field = static_cast<Field>(number.value);
    } else {
        stg::logLine(complaint, kBadNumber);
    }
}

RESULT readTag(_Event& event, std::string_view key, std::string_view value) {
    LOG_ENTRY_AS(kAddToEventStruct);
    RESULT result = 0;
    if (key == "SEQ") {
        const NumberText number = readNumber(value, 10);
        const bool inRange =
            number.value <= 0xFFFFFFFF && value.find('-') == std::string_view::npos;
        if (number.valid && inRange) {
            event.sequenceNo = static_cast<UNSIGNED_INTEGER>(number.value);
        } else {
            stg::logLine("EventParser::addToEventStruct() : Error parsing SEQ = ",
                         number.valid ? kSequenceOutOfRange : kBadSequenceNumber);
            result = 1;
        }
    } else if (key == "EVT_ID") {
        readField(event.eventCode, value, 16,
                  "EventParser::addToEventStruct(): Error parsing EVT_ID = ");
    } else if (key == "TIME") {
        readField(event.timeStamp, value, 10,
                  "EventParser::addToEventStruct(): Error parsing TIMESTAMP = ");
    } else if (key == "DEV_ID") {
        readField(event.deviceId, value, 10,
                  "EventParser::addToEventStruct(): Error parsing DEV_ID = ");
    } else if (key == "MSG") {
        readMessage(event, value);
    }
    LOG_EXIT_AS(kAddToEventStruct);
    return result;
}

RESULT readLine(_Event& event, std::string_view line) {
    LOG_ENTRY_AS(kParseEvent);
    // ODDITY: 1 until a tag was read, so a first tag without key or value ends the line as bad, and
    // the same tag further behind is skipped. Pinned by EventLine.FirstTagWithoutValueFailsTheLine.
    RESULT result = 1;
    std::size_t bracket = line.find('[');
    while (bracket != std::string_view::npos) {
        const std::size_t keyEnd = std::min(line.find(']', bracket + 1), line.size());
        const std::string_view key = line.substr(bracket + 1, keyEnd - bracket - 1);
        const std::size_t valueBegin = std::min(keyEnd + 1, line.size());
        bracket = line.find('[', valueBegin);
        const std::string_view value = line.substr(valueBegin, bracket - valueBegin);
        if (!key.empty() && !value.empty()) {
            result = readTag(event, key, value);
        }
        if (result != 0) {
            break;
        }
    }
    LOG_EXIT_AS(kParseEvent);
    return result;
}

// What became of the lines of a page.
struct PageCount {
    INTEGER added = 0;
    bool complete = true;
    UNSIGNED_INTEGER lowestMissing = 0xFFFFFFFF;
};

void addLine(std::string_view line, EventMap& events, PageCount& count) {
    logEventLine(line);
    // Parsed in place first: most lines of a poll are known already, and cost no allocation so.
    _Event event = {};
    if (readLine(event, line) != 0) {
        return;
    }
    const auto place = events.lower_bound(event.sequenceNo);
    if (place != events.end() && place->first == event.sequenceNo) {
        return;
    }
    HeapRecord<_Event> record = stg::tryAllocateZeroed<_Event>();
    if (!record) {
        stg::logLine(
            "EventParser:parseEventBuffer(): No memory for the event, left to the next poll");
        count.complete = false;
        count.lowestMissing = std::min(count.lowestMissing, event.sequenceNo);
        return;
    }
    *record = event;
    events.emplace_hint(place, event.sequenceNo, record.get());
    static_cast<void>(record.release());
    ++count.added;
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

INTEGER EventParser::parseEventBuffer(char* page, EventMap* events) {
    LOG_ENTRY;
    PageCount count;
    const bool carried = !m_remaining.empty();
    std::string_view text =
        carried ? std::string_view(page + kCarryTextBegin, kCarrySize - kCarryTextBegin)
                : std::string_view(page + kEventTextBegin, kEventPageSize - kEventTextBegin);
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
            addLine(line, *events, count);
        }
        // ODDITY: a line cut by the page is kept, one that the carry read does not complete is
        // dropped without a word: the rest of it lies where no page is scanned. Pinned by
        // EventParser.TailOfNineBytesIsLostSilently.
        if (open && !carried) {
            m_remaining = line;
        }
        beginning.clear();
    }
    if (!count.complete) {
        throw EventWithoutMemory(count.lowestMissing, count.added);
    }
    LOG_EXIT;
    return count.added;
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
    return readLine(*event, line);
}

RESULT EventParser::addToEventStruct(PEvent event, std::string key, std::string value) {
    return readTag(*event, key, value);
}

VOID_ EventParser::parseMSG(PEvent event, std::string /*key*/, std::string value) {
    readMessage(*event, value);
}

UCHAR_ EventParser::mapSeverity(std::string name) {
    return severityOf(name);
}

USHORT_INT EventParser::mapClassName(std::string name) {
    return classOf(name);
}
