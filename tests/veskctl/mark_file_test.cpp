// The text of the file with another mark, as the library has to read it.
#include "veskctl/mark_file.h"

#include "veskctl/problem.h"

#include "samples.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace veskctl {

namespace {

TEST(MarkFile, OnlyTheNumberChanges) {
    struct Row {
        const char* before;
        const char* after;
    };
    const std::vector<Row> rows = {
        {"[Adapter]\n1=2\n[EventSequenceNumber]\nSequenceNumber=1234\n",
         "[Adapter]\n1=2\n[EventSequenceNumber]\nSequenceNumber=56\n"},
        // A line end of two characters has no room behind the number.
        {"[Adapter]\r\n1=2\r\n[EventSequenceNumber]\r\nSequenceNumber=1\r\n",
         "[Adapter]\r\n1=2\r\n[EventSequenceNumber]\r\nSequenceNumber=56"},
        {"[EventSequenceNumber]\n  SequenceNumber = 9\n",
         "[EventSequenceNumber]\nSequenceNumber=56\n"},
        // Behind the last "=" the library writes, so the mark goes to the end.
        {"[EventSequenceNumber]\nSequenceNumber=9\n[Adapter]\n1=2",
         "[Adapter]\n1=2\n[EventSequenceNumber]\nSequenceNumber=56\n"},
        {"; nothing else", "; nothing else\n[EventSequenceNumber]\nSequenceNumber=56\n"},
        {"", "[EventSequenceNumber]\nSequenceNumber=56\n"}};
    for (const Row& row : rows) {
        EXPECT_EQ(withMark(row.before, "file", 56), row.after);
    }
}

TEST(MarkFile, WhatTheLibraryWouldMisreadIsRefused) {
    try {
        withMark("", "file", 2147483648U);
        FAIL();
    } catch (const ProblemError& error) {
        EXPECT_EQ(error.problem().kind, ProblemKind::MarkNotStored);
        EXPECT_TRUE(contains(error.what(), "file: the library would misread the mark 2147483648"))
            << error.what();
    }
}

TEST(MarkFile, ACopyHasNoOtherMark) {
    EXPECT_EQ(copyWithMark("[EventSequenceNumber]\r\nSequenceNumber=9\r\n[Adapter]\r\n1=2", 3),
              "[-]\n\n[Adapter]\r\n1=2\n[EventSequenceNumber]\nSequenceNumber=3\n");
}

}  // namespace

}  // namespace veskctl
