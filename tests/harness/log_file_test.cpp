// The reader of the trace log.
#include "log_file.h"
#include "private_host.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using vesktest::LogEntry;
using vesktest::LogFile;
using vesktest::LogLines;
using vesktest::PrivateHost;

}  // namespace

TEST(LogFileTest, TakesPrefixesOff) {
    const PrivateHost host;
    const LogFile log(host);
    EXPECT_FALSE(log.exists());
    EXPECT_EQ(log.raw(), "");
    EXPECT_EQ(log.lines(), LogLines{});
    host.write(vesktest::kLogPath,
               "(T: 140012345678) [Thu Nov  6 09:05:00 2025] A::b() ENTRY \n"
               "(T: thread::id of a non-executing thread) [Mon Dec 29 23:59:60 10000] [x] y\n"
               "(T: 1) [Thu Nov 20 09:05:00 2025] \n"
               "(T: 1) [Thu Nov 20 09:05:00 2025] A::b() EXIT \n");
    EXPECT_EQ(log.lines(), (LogLines{"A::b() ENTRY ", "[x] y", "", "A::b() EXIT "}));
    EXPECT_EQ(vesktest::withoutTrace(log.lines()), (LogLines{"[x] y", ""}));
    const std::vector<LogEntry> entries = log.entries();
    ASSERT_EQ(entries.size(), 4U);
    EXPECT_EQ(entries[0].thread, "140012345678");
    EXPECT_EQ(entries[0].time, "Thu Nov  6 09:05:00 2025");
    EXPECT_EQ(entries[1].thread, "thread::id of a non-executing thread");
}

TEST(LogFileTest, SplitsWhereAPrefixFollowsOnTheSameRow) {
    const PrivateHost host;
    host.write(vesktest::kLogPath, "(T: 1) [Thu Nov 20 09:05:00 2025] cut here"
                                   "(T: 2) [Thu Nov 20 09:05:01 2025] (T: 3) next\n"
                                   "(T: 1) [Thu Nov 20 09:05:00 2025] "
                                   "(T: 2) [Thu Nov 20 09:05:01 2025] last");
    EXPECT_EQ(LogFile(host).lines(), (LogLines{"cut here", "(T: 3) next", "", "last"}));
}

TEST(LogFileTest, MarksLinesWithoutAWellFormedPrefix) {
    for (const char* const row :
         {"plain", "", "(T: 0x1) [Thu Nov 20 09:05:00 2025] a",
          "(T: 1) [Thu Nov 6 09:05:00 2025] b", "(T: 1) [Xxx Nov 20 09:05:00 2025] c",
          "(T: 1) [Thu Nov 20 09:05:00 2025]", "(T: 1)[Thu Nov 20 09:05:00 2025] d"}) {
        const PrivateHost host;
        host.write(vesktest::kLogPath, std::string(row) + "\n");
        EXPECT_EQ(LogFile(host).lines(), LogLines{std::string("<no prefix> ") + row});
    }
}

TEST(LogFileTest, SearchesLines) {
    const LogLines lines = {"one", "two", "one", "three"};
    EXPECT_TRUE(vesktest::contains(lines, "two"));
    EXPECT_FALSE(vesktest::contains(lines, "tw"));
    EXPECT_TRUE(vesktest::containsPart(lines, "hre"));
    EXPECT_FALSE(vesktest::containsPart(lines, "four"));
    EXPECT_EQ(vesktest::count(lines, "one"), 2U);
    EXPECT_TRUE(vesktest::inOrder(lines, {"one", "two", "one"}));
    EXPECT_TRUE(vesktest::inOrder(lines, {}));
    const ::testing::AssertionResult result = vesktest::inOrder(lines, {"two", "three", "one"});
    EXPECT_FALSE(result);
    EXPECT_EQ(std::string(result.message()), "text 2 is missing behind line 4: \"one\"\n"
                                             "in: { \"one\", \"two\", \"one\", \"three\" }");
}
