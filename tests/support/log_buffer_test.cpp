// The limit of one unfinished line: 1,048,575 bytes.
#include "traced_host.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using stg::lout;
using vesktest::LogEntry;
using vesktest::TracedHost;

}  // namespace

TEST(LogBuffer, TextOfTheLimitWaitsForItsLineFeed) {
    TracedHost logging;
    lout << std::string(1048574, 'a');
    lout << 'b';
    EXPECT_EQ(logging.log().raw(), "");
    lout << '\n';
    const std::vector<LogEntry> entries = logging.log().entries();
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].text.size(), 1048575U);
    EXPECT_EQ(entries[0].text.back(), 'b');
}

TEST(LogBuffer, TextAboveTheLimitIsWrittenAndTheRestGetsItsOwnPrefix) {
    TracedHost logging;
    for (int i = 0; i < 1024; ++i) {
        lout << std::string(1024, 'a');
    }
    lout << "rest" << '\n';
    const std::vector<LogEntry> entries = logging.log().entries();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_TRUE(entries[0].hasPrefix);
    EXPECT_TRUE(entries[0].text == std::string(1048576, 'a'));
    EXPECT_TRUE(entries[1].hasPrefix);
    EXPECT_EQ(entries[1].text, "rest");
}

TEST(LogBuffer, CharacterAboveTheLimitIsWrittenToo) {
    TracedHost logging;
    lout << std::string(1048575, 'a');
    EXPECT_EQ(logging.log().raw(), "");
    lout << 'b';
    const std::vector<LogEntry> entries = logging.log().entries();
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].text.size(), 1048576U);
}

TEST(LogBuffer, LongTextOfOneStatementIsWrittenInOne) {
    TracedHost logging;
    lout << std::string(2097152, 'x');
    const std::string raw = logging.log().raw();
    EXPECT_EQ(raw.find("(T: "), 0U);
    EXPECT_EQ(raw.find("(T: ", 1), std::string::npos);
    const std::size_t text = raw.find("] ") + 2;
    EXPECT_EQ(raw.size() - text, 2097152U);
    EXPECT_EQ(raw.find_first_not_of('x', text), std::string::npos);
}
