#include "veskctl/sequence_mark.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace std::string_literals;

namespace {

struct MarkCase {
    const char* name;
    std::string text;    // behind "[EventSequenceNumber]" and a line feed
    std::int32_t value;  // as the library reads it
    const char* code;    // of the finding; empty: the mark is sound
    const char* remedy;
};

void PrintTo(const MarkCase& mark, std::ostream* stream) {
    *stream << mark.name;
}

class MarkTest : public testing::TestWithParam<MarkCase> {};

TEST_P(MarkTest, IsReadAsTheLibraryReadsIt) {
    std::vector<veskctl::Finding> findings;
    const veskctl::SequenceMark mark = veskctl::readSequenceMark(
        "[Adapter]\n1=2001\n\n[EventSequenceNumber]\n" + GetParam().text, "/a/b.ini", findings);
    EXPECT_EQ(mark.value, GetParam().value);
    EXPECT_EQ(mark.sound, std::string(GetParam().code).empty());
    ASSERT_EQ(findings.size(), mark.sound ? 0U : 1U);
    if (!mark.sound) {
        EXPECT_EQ(findings[0].code, GetParam().code);
        EXPECT_EQ(findings[0].path, "/a/b.ini");
        EXPECT_EQ(findings[0].remedy, GetParam().remedy);
        EXPECT_EQ(findings[0].severity, veskctl::Severity::Error);
    }
}

const MarkCase kMarks[] = {
    {"Usual", "SequenceNumber=42\n", 42, "", ""},
    {"WithoutLineEnd", "SequenceNumber=42", 42, "", ""},
    {"Zero", "SequenceNumber=0\n", 0, "", ""},
    {"Highest", "SequenceNumber=2147483647\n", 2147483647, "", ""},
    {"TooLarge", "SequenceNumber=2147483648\n", 0, "mark_too_large", "veskctl mark set NUMBER"},
    {"Endless", "SequenceNumber=99999999999999999999999\n", 0, "mark_too_large",
     "veskctl mark set NUMBER"},
    {"Negative", "SequenceNumber=-5\n", -5, "mark_not_a_number", "veskctl mark set 5"},
    {"CarriageReturn", "SequenceNumber=42\r\n", 42, "mark_crlf", "veskctl mark set 42"},
    {"LeadingBlank", "SequenceNumber= 42\n", 42, "mark_leading_blanks", "veskctl mark set 42"},
    {"BlankInFrontOfTheKey", " SequenceNumber=42\n", 0, "mark_leading_blanks",
     "veskctl mark set 42"},
    {"NulBytes",
     "SequenceNumber=\0\0"
     "7"s,
     0, "mark_nul_bytes", "veskctl mark set 7"},
    {"NulBehind", "SequenceNumber=7\0"s, 7, "mark_nul_bytes", "veskctl mark set 7"},
    {"BlanksAroundEquals", "SequenceNumber = 42\n", 0, "mark_blanks", "veskctl mark set 42"},
    {"SecondLineFeed", "SequenceNumber=42\n\n", 42, "mark_followed", "veskctl mark set 42"},
    {"RowBehind", "SequenceNumber=42\n5=6\n", 42, "mark_not_last", "veskctl mark set 42"},
    {"Letters", "SequenceNumber=abc\n", 0, "mark_not_a_number", "veskctl mark set NUMBER"},
    {"Empty", "SequenceNumber=", 0, "mark_not_a_number", "veskctl mark set NUMBER"},
    {"NoEquals", "SequenceNumber\n", 0, "ini_line_without_equals", "veskctl mark set NUMBER"},
    {"NoKey", "", 0, "mark_missing", "veskctl mark set NUMBER"},
};

INSTANTIATE_TEST_SUITE_P(Mark, MarkTest, testing::ValuesIn(kMarks),
                         [](const testing::TestParamInfo<MarkCase>& test) {
                             return std::string(test.param.name);
                         });

TEST(Mark, TellsTheLine) {
    std::vector<veskctl::Finding> findings;
    const veskctl::SequenceMark mark = veskctl::readSequenceMark(
        "a\n[EventSequenceNumber]\n;\nSequenceNumber=1\r\n", "", findings);
    EXPECT_EQ(mark.line, 4U);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].line, 4U);
}

TEST(Mark, EmptyFileHasNone) {
    std::vector<veskctl::Finding> findings;
    EXPECT_FALSE(veskctl::readSequenceMark("", "", findings).sound);
    EXPECT_EQ(findings.at(0).code, "mark_missing");
}

}  // namespace
