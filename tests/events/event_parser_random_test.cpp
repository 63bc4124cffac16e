// The parser against a second, plain reader on pages that nobody would think of.
#include "owned_events.h"
#include "plain_reader.h"

#include "events/event_parser.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using vesktest::OwnedEvents;
using vesktest::PlainReader;

// Without optimisation, as in all builds with a sanitizer, a page takes fifty times as long.
#ifdef NDEBUG
constexpr int kPages = 100000;
#else
constexpr int kPages = 4000;
#endif

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

    const Pieces kKeys = {"SEQ", "SEQ", "SEQ", "EVT_ID", "TIME", "DEV_ID", "MSG", "seq", "X", ""};
    const Pieces kClasses = {"PD_",  "VD_", "NVMe_", "ADAPTER PD_", "PM_", "EXPANDER_", "MDD_",
                             "BSL_", "_",   "",      "x_"};
    const Pieces kDescriptions = {"",
                                  "a",
                                  "_",
                                  "Drive removed",
                                  "a_b_c",
                                  "-",
                                  " text",
                                  "thirty characters and some more than it",
                                  "29 characters and no more...",
                                  std::string("\0x", 2)};
    const Pieces kSeverities = {"_INFO",  "_NOTIFY", "_WARNING", "_MINOR", "_MAJOR",  "_CRITICAL",
                                "_FATAL", "_OTHER",  "_UNKNOWN", "_",      "_INFO\r", "INFO"};
    const Pieces kNumbers = {"0",
                             "-1",
                             "+7",
                             " 8",
                             "0x1F",
                             "0x",
                             "0xg",
                             "1F",
                             "ffff",
                             "4294967295",
                             "4294967296",
                             "18446744073709551615",
                             "18446744073709551616",
                             "99999999999999999999",
                             "ffffffffffffffff",
                             "10000000000000000",
                             "-18446744073709551615",
                             "-18446744073709551616",
                             "\t\v\f\r 9",
                             "+-3",
                             "- 3",
                             "00000000000000000000000000000012",
                             "\xA0"
                             "5"};
    const Pieces kEndings = {"", "", "", "", " ", "\r", "-", std::string("\0", 1), "x"};

    std::mt19937 m_random;
};

::testing::AssertionResult sameEvents(const OwnedEvents& actual, const PlainReader& expected) {
    std::vector<unsigned> keys;
    for (const auto& entry : expected.events()) {
        keys.push_back(entry.first);
    }
    if (actual.keys() != keys) {
        return ::testing::AssertionFailure() << "other keys";
    }
    for (const auto& entry : expected.events()) {
        const _Event event = actual.at(entry.first);
        const PlainReader::Event& bytes = entry.second;
        if (vesktest::eventBytes(&event) != std::vector<std::uint8_t>(bytes.begin(), bytes.end())) {
            return ::testing::AssertionFailure()
                   << "record " << entry.first << " is "
                   << ::testing::PrintToString(vesktest::eventBytes(&event)) << ", expected "
                   << ::testing::PrintToString(bytes);
        }
    }
    return ::testing::AssertionSuccess();
}

// Both readers on one piece of the log.
void readBoth(EventParser& parser, OwnedEvents& events, PlainReader& plain,
              const std::string& bytes) {
    std::vector<char> buffer(bytes.begin(), bytes.end());
    ASSERT_EQ(parser.parseEventBuffer(buffer.data(), events.map()), plain.read(bytes));
    ASSERT_EQ(parser.getRemainingEvent(), plain.remaining());
    ASSERT_TRUE(sameEvents(events, plain));
    ASSERT_EQ(std::string(buffer.begin(), buffer.end()), bytes) << "the page is not written to";
}

TEST(EventParserRandom, PagesAndCarryReadsGiveWhatAPlainReaderSees) {
    RandomText random(20240601);
    std::size_t carries = 0;
    std::size_t records = 0;
    for (int number = 0; number < kPages; ++number) {
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
        if (HasFatalFailure()) {
            return;
        }
    }
    // The pages hold what they are to hold.
    EXPECT_GT(carries, static_cast<std::size_t>(kPages / 10));
    EXPECT_GT(records, static_cast<std::size_t>(kPages) * 10);
}

TEST(EventParserRandom, CarryReadsBehindAnyTextGiveWhatAPlainReaderSees) {
    RandomText random(42);
    for (int number = 0; number < kPages; ++number) {
        SCOPED_TRACE(number);
        OwnedEvents events;
        PlainReader plain;
        EventParser parser;
        const std::string text = random.text(random.below(60));
        parser.setRemainingEvent(text);
        plain.setRemaining(text);
        // Without remaining text this would be a page.
        readBoth(parser, events, plain, random.text(text.empty() ? 4096 : 16));
        if (HasFatalFailure()) {
            return;
        }
    }
}

}  // namespace
