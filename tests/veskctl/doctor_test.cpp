#include "veskctl/doctor.h"

#include "veskctl/sequence_mark.h"
#include "veskctl/unlisted_events.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace veskctl;

namespace {

Event eventWith(unsigned classCode, unsigned code) {
    Event event;
    event.classCode = classCode;
    event.code = code;
    event.message = "Something";
    return event;
}

TEST(Doctor, NamesEachCodeWithoutARowOnce) {
    const std::vector<Finding> findings = findUnlisted(
        {eventWith(0, 3), eventWith(0, 3), eventWith(1, 1), eventWith(7, 9)}, "/a/b.ini");
    ASSERT_EQ(findings.size(), 3U);
    EXPECT_EQ(findings[0].code, "mapping_row_missing");
    EXPECT_EQ(findings[0].text, "there is no row for code 3 of class adapter, so 2 events that the "
                                "controller holds are not reported, the last one 'Something', "
                                "severity unknown");
    EXPECT_EQ(findings[1].text,
              "there is no row for code 1 of class virtual_disk, so 1 event that the "
              "controller holds is not reported, the last one 'Something', severity unknown");
    EXPECT_EQ(findings[1].path, "/a/b.ini");
    EXPECT_NE(findings[2].text.find("of class 7"), std::string::npos);
}

TEST(Doctor, LooksAtEveryCodeThatIsNotListedWithAMappingOfItsOwn) {
    std::vector<Finding> findings;
    const AlertMapping own =
        readAlertMapping("[Adapter]\n101=2101\n0=1\n2=65535\n10101=7\n", "", findings);
    const std::string text = mappingOfOtherCodes(own, {10101, 54321}) + "17\n";
    const AlertMapping mapping = readAlertMapping(text, "", findings);
    EXPECT_TRUE(findings.empty());
    EXPECT_EQ(readSequenceMark(text, "", findings).value, 17);
    for (const unsigned code :
         {0U, 1U, 2U, 10U, 101U, 1010U, 10101U}) {  // 1 and 10 begin the key of 101
        EXPECT_TRUE(mapping.isDropped(0, code)) << code;
    }
    for (const unsigned code : {3U, 11U, 999U, 9999U, 54321U}) {
        EXPECT_EQ(mapping.rowOf(0, code)->reported, code);
    }
    for (const unsigned classCode : {1U, 2U, 3U, 6U, 255U}) {
        EXPECT_EQ(mapping.rowOf(classCode, 101)->reported, 101U) << classCode;
    }
}

TEST(Doctor, TellsWhatIsInOrderToo) {
    Snapshot snapshot;
    snapshot.reach = Reach::Unreachable;
    snapshot.problems = {{ProblemKind::LibraryNotFound, "it was not found"}};
    const std::vector<Finding> findings = examine(snapshot, {"/lib/a.so", "/lib/b.so", true});
    ASSERT_GE(findings.size(), 3U);
    EXPECT_EQ(findings[0].path, "/lib/a.so");
    EXPECT_NE(findings[1].text.find("simulated"), std::string::npos);
    EXPECT_EQ(findings[2].code, "library_not_found");
    EXPECT_EQ(findings[2].severity, Severity::Error);
}

}  // namespace
