#include "veskctl/alert_mapping.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct MappingCase {
    const char* name;
    const char* text;
    std::vector<std::string> found;  // "code line" of each finding
};

void PrintTo(const MappingCase& mapping, std::ostream* stream) {
    *stream << mapping.name;
}

class MappingTest : public testing::TestWithParam<MappingCase> {};

TEST_P(MappingTest, NamesWhatIsWrong) {
    std::vector<veskctl::Finding> findings;
    veskctl::readAlertMapping(GetParam().text, "/a/b.ini", findings);
    std::vector<std::string> found;
    found.reserve(findings.size());
    for (const veskctl::Finding& finding : findings) {
        found.push_back(finding.code + ' ' + std::to_string(finding.line.value_or(0)));
    }
    EXPECT_EQ(found, GetParam().found);
}

const MappingCase kMappings[] = {
    {"Good", "[Adapter]\n1=2001\n10=2010\r\n; remark\n\n[PhysicalDevice]\n1=65535\n", {}},
    {"NoEquals", "[Adapter]\n1=2001\n17\n", {"ini_line_without_equals 3"}},
    {"NoRow", "[Adapter]\n1=2001\nhello\n", {"mapping_line_ignored 3"}},
    {"LeadingBlank", "[Adapter]\n1=2001\n 2=2002\n", {"mapping_line_ignored 3"}},
    {"BlankInFrontOfEquals", "[Adapter]\n1=2001\n2 =2002\n", {"mapping_line_ignored 3"}},
    {"BlankBehindEquals", "[Adapter]\n1= 2001\n", {"mapping_value_unusable 2"}},
    {"TooLarge", "[Adapter]\n1=70000\n", {"mapping_value_unusable 2"}},
    {"ShorterKeyBehindALongerOne", "[Adapter]\n10=2010\n1=2001\n", {"mapping_row_shadowed 3"}},
    {"KeyTwice", "[Adapter]\n1=2001\n1=2002\n", {"mapping_row_shadowed 3"}},
    {"Empty", "", {"mapping_empty 0"}},
    {"CommentsOnly", "[Adapter]\n;1=2001\n", {"mapping_empty 0"}},
    {"RowsOutsideTheSections", "1=2001\n[Other]\n2=2002\n", {"mapping_empty 0"}},
};

INSTANTIATE_TEST_SUITE_P(AlertMapping, MappingTest, testing::ValuesIn(kMappings),
                         [](const testing::TestParamInfo<MappingCase>& test) {
                             return std::string(test.param.name);
                         });

TEST(AlertMapping, TellsWhatTheLibraryWouldReport) {
    std::vector<veskctl::Finding> findings;
    const veskctl::AlertMapping mapping = veskctl::readAlertMapping(
        "[Adapter]\n2=2002\n3=65535\n10=2010\n[VirtualDevice]\n2=2202\n", "", findings);
    EXPECT_EQ(mapping.rowOf(0, 2)->reported, 2002U);
    EXPECT_EQ(mapping.rowOf(1, 2)->reported, 2202U);
    EXPECT_FALSE(mapping.rowOf(0, 3));
    EXPECT_FALSE(mapping.rowOf(0, 4));
    EXPECT_FALSE(mapping.rowOf(2, 2));
    EXPECT_EQ(mapping.rowOf(0, 1)->reported, 0U) << "the row of 10 is taken, and its value misread";
}

TEST(AlertMapping, TellsCommentsFromNothing) {
    std::vector<veskctl::Finding> findings;
    EXPECT_TRUE(veskctl::readAlertMapping("; 1=2001\n", "", findings).allCommentedOut);
    EXPECT_FALSE(veskctl::readAlertMapping("; a = b\n", "", findings).allCommentedOut);
}

}  // namespace
