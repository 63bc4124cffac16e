// A whole line of the trace log at once.
#include "logger_host.h"
#include "support/log_line.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

namespace {

using stg::lout;
using vesktest::LogLines;

using LogLine = vesktest::RunningLogger;

}  // namespace

TEST_F(LogLine, PiecesOfEveryTypeStandBehindEachOther) {
    const char name[4] = {'v', 'e', 's', 'k'};  // without a NUL
    stg::logLine("text ", std::string("string "), -7, " ", 18446744073709551615U, " ",
                 stg::RawByte{'b'}, " ", stg::fieldText(name));
    EXPECT_EQ(text(), "|text string -7 18446744073709551615 b vesk\n");
}

// Around the length that a line may have to be put together in one place, and far above it.
TEST_F(LogLine, IsWholeAtAnyLength) {
    std::string expected;
    for (std::size_t length = 900; length <= 1100; ++length) {
        const std::string first(length / 2, 'a');
        const std::string second(length - length / 2, 'b');
        stg::logLine(first, second);
        expected.append("|").append(first).append(second).append("\n");
    }
    const std::string huge(1000000, 'c');
    stg::logLine("before ", huge, " after");
    expected.append("|before ").append(huge).append(" after\n");
    EXPECT_TRUE(text() == expected);
}

TEST_F(LogLine, IsCutAtANulByteWithItsLineFeed) {
    const std::string cut("cut\0 away", 9);
    stg::logLine("is ", cut, " and gone");
    stg::logLine("next");
    stg::logLine(std::string(2000, 'x') + std::string(1, '\0'), " and gone");
    stg::logLine("last");
    EXPECT_EQ(text(), "|is cut|next\n|" + std::string(2000, 'x') + "|last\n");
}

TEST_F(LogLine, EndsTheLineThatTheThreadHasBegun) {
    lout << "begun, ";
    stg::logLine("ended by ", 2, " pieces");
    EXPECT_EQ(m_log.lines(), LogLines{"begun, ended by 2 pieces"});
}
