// The parser against a second, plain reader on pages that nobody would think of.
#include "owned_events.h"
#include "plain_event_reader.h"

#include "events/event_parser.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using vesktest::EventBytes;
using vesktest::OwnedEvents;
using vesktest::PlainEventReader;

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
void readBoth(EventParser& parser, OwnedEvents& events, PlainEventReader& plain,
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
        PlainEventReader plain;
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
        PlainEventReader plain;
        EventParser parser;
        const std::string text = random.text(random.below(60));
        parser.setRemainingEvent(text);
        plain.setRemaining(text);
        // Without remaining text this would be a page.
        readBoth(parser, events, plain, random.text(text.empty() ? 4096 : 16));
    }
}

}  // namespace
