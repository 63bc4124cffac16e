// The parser against a second, plain reader on pages that nobody would think of.
#include "owned_events.h"

#include "events/event_parser.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using vesktest::OwnedEvents;

// How many pages a test reads: about half a second's worth, or as VESK_RANDOM_PAGES says. Without
// optimisation, as in all builds with a sanitizer, a page takes fifty times as long.
int pageCount() {
#ifdef NDEBUG
    constexpr int kPages = 5000;
#else
    constexpr int kPages = 500;
#endif
    const char* const wanted = std::getenv("VESK_RANDOM_PAGES");
    return wanted == nullptr ? kPages : std::stoi(wanted);
}

// The second reader, written plainly from the rules of the format: on copies and exceptions, one
// byte at a time.

using EventBytes = std::array<std::uint8_t, 64>;

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

class PlainReader {
public:
    // A page of 4096 bytes or, while text remains, a carry read of 16. The number of new events.
    int read(const std::string& bytes) {
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

    const std::map<unsigned, EventBytes>& events() const { return m_events; }
    const std::string& remaining() const { return m_remaining; }
    void setRemaining(const std::string& text) { m_remaining = text; }

private:
    bool addLine(const std::string& line) {
        EventBytes event{};
        if (!readLine(line, event)) {
            return false;
        }
        const unsigned key =
            static_cast<unsigned>(event[12]) | static_cast<unsigned>(event[13]) << 8 |
            static_cast<unsigned>(event[14]) << 16 | static_cast<unsigned>(event[15]) << 24;
        return m_events.insert({key, event}).second;
    }

    std::map<unsigned, EventBytes> m_events;
    std::string m_remaining;
};

// Text of pieces that mean something to a reader, and of bytes that mean nothing.
class RandomText {
public:
    explicit RandomText(unsigned seed) : m_random(seed) {}

    std::string text(std::size_t size) {
        // Some texts are nearly well-formed, some are nearly bytes.
        const unsigned disorder = below(100);
        std::string result;
        while (result.size() < size) {
            if (below(100) < disorder) {
                result += anyPiece();
            } else {
                result += "[" + pick(kKeys) + "]" + value();
                result += below(3) == 0 ? "\n" : "";
            }
            if (below(400) == 0) {
                result.append(below(600), '\0');
            }
        }
        result.resize(size);
        return result;
    }

    unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

private:
    using Pieces = std::vector<std::string>;

    const std::string& pick(const Pieces& pieces) {
        return pieces[below(static_cast<unsigned>(pieces.size()))];
    }

    std::string anyPiece() {
        switch (below(8)) {
        case 0:
            return "[";
        case 1:
            return "]";
        case 2:
            return "\n";
        case 3:
            return std::string(1 + below(4), '\0');
        case 4:
            return pick(kKeys);
        case 5:
            return std::string(1, static_cast<char>('0' + below(10)));
        case 6:
            return std::string(1, static_cast<char>(below(256)));
        default:
            return value();
        }
    }

    std::string value() {
        switch (below(8)) {
        case 0:
            return pick(kClasses) + pick(kDescriptions) + pick(kSeverities);
        case 1:
            return std::to_string(below(40));
        case 2:
            return pick(kNumbers);
        case 3:
            return pick(kNumbers) + pick(kDescriptions);
        default:
            return std::to_string(below(100000)) + pick(kEndings);
        }
    }

    // From one text, with bars between them.
    static Pieces split(const std::string& text) {
        Pieces pieces(1);
        for (const char byte : text) {
            if (byte == '|') {
                pieces.emplace_back();
            } else {
                pieces.back() += byte;
            }
        }
        return pieces;
    }

    const Pieces kKeys = split("SEQ|SEQ|SEQ|EVT_ID|TIME|DEV_ID|MSG|seq|X|");
    const Pieces kClasses = split("PD_|VD_|NVMe_|ADAPTER PD_|PM_|EXPANDER_|MDD_|BSL_|_||x_");
    const Pieces kDescriptions =
        split("|a|_|Drive removed|a_b_c|-| text|thirty characters and some more than it|"
              "29 characters and no more...|" +
              std::string("\0x", 2));
    const Pieces kSeverities = split("_INFO|_NOTIFY|_WARNING|_MINOR|_MAJOR|_CRITICAL|_FATAL|_OTHER|"
                                     "_UNKNOWN|_|_INFO\r|INFO");
    const Pieces kNumbers =
        split("0|-1|+7| 8|0x1F|0x|0xg|1F|ffff|4294967295|4294967296|18446744073709551615|"
              "18446744073709551616|99999999999999999999|ffffffffffffffff|10000000000000000|"
              "-18446744073709551615|-18446744073709551616|\t\v\f\r 9|+-3|- 3|"
              "00000000000000000000000000000012|\2405");
    const Pieces kEndings = split("|||| |\r|-|" + std::string("\0", 1) + "|x");

    std::mt19937 m_random;
};

std::map<unsigned, EventBytes> bytesOf(const OwnedEvents& events) {
    std::map<unsigned, EventBytes> result;
    for (const unsigned key : events.keys()) {
        const _Event event = events.at(key);
        std::memcpy(result[key].data(), &event, sizeof event);
    }
    return result;
}

// Both readers on one piece of the log.
void readBoth(EventParser& parser, OwnedEvents& events, PlainReader& plain,
              const std::string& bytes) {
    std::vector<char> buffer(bytes.begin(), bytes.end());
    ASSERT_EQ(parser.parseEventBuffer(buffer.data(), events.map()), plain.read(bytes));
    ASSERT_EQ(parser.getRemainingEvent(), plain.remaining());
    ASSERT_EQ(bytesOf(events), plain.events());
    ASSERT_EQ(std::string(buffer.begin(), buffer.end()), bytes) << "the page is not written to";
}

TEST(EventParserRandom, PagesAndCarryReadsGiveWhatAPlainReaderSees) {
    RandomText random(20240601);
    const int pages = pageCount();
    int carries = 0;
    std::size_t records = 0;
    for (int number = 0; number < pages && !HasFatalFailure(); ++number) {
        SCOPED_TRACE(number);
        OwnedEvents events;
        PlainReader plain;
        EventParser parser;
        readBoth(parser, events, plain, random.text(4096));
        if (!plain.remaining().empty()) {
            ++carries;
            readBoth(parser, events, plain, random.text(16));
        }
        records += plain.events().size();
    }
    // The pages hold what they are to hold.
    EXPECT_GT(carries, pages / 10);
    EXPECT_GT(records, static_cast<std::size_t>(pages) * 10);
}

TEST(EventParserRandom, CarryReadsBehindAnyTextGiveWhatAPlainReaderSees) {
    RandomText random(42);
    const int pages = pageCount();
    for (int number = 0; number < pages && !HasFatalFailure(); ++number) {
        SCOPED_TRACE(number);
        OwnedEvents events;
        PlainReader plain;
        EventParser parser;
        const std::string text = random.text(random.below(60));
        parser.setRemainingEvent(text);
        plain.setRemaining(text);
        // Without remaining text this would be a page.
        readBoth(parser, events, plain, random.text(text.empty() ? 4096 : 16));
    }
}

}  // namespace
