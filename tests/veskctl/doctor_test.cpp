#include "veskctl/doctor.h"

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
    HostFiles files;
    files.mapping.path = "/a/b.ini";
    std::vector<Finding> findings;
    files.alerts = readAlertMapping("[Adapter]\n1=2001\n2=65535\n", "", findings);
    ASSERT_TRUE(findings.empty());

    findings = findUnmapped(files, {eventWith(0, 1), eventWith(0, 2), eventWith(0, 3),
                                    eventWith(0, 3), eventWith(1, 1), eventWith(7, 9)});
    ASSERT_EQ(findings.size(), 2U)
        << "1 has a row, 2 is dropped on purpose, no section has class 7";
    EXPECT_EQ(findings[0].code, "mapping_row_missing");
    EXPECT_EQ(findings[0].text, "there is no row for code 3 of class adapter, so 2 events that the "
                                "controller holds are not reported, the last one 'Something'");
    EXPECT_EQ(findings[1].text,
              "there is no row for code 1 of class virtual_disk, so 1 event that the "
              "controller holds is not reported, the last one 'Something'");
    EXPECT_EQ(findings[1].path, "/a/b.ini");
}

TEST(Doctor, LooksAtEveryCodeWithAMappingOfItsOwn) {
    std::vector<Finding> findings;
    const AlertMapping mapping = readAlertMapping(mappingOfEveryCode(), "", findings);
    EXPECT_TRUE(findings.empty());
    for (const unsigned classCode : {0U, 1U, 2U}) {
        for (const unsigned code : {0U, 1U, 10U, 999U, 9999U}) {
            EXPECT_EQ(mapping.rowOf(classCode, code)->reported, code);
        }
        EXPECT_FALSE(mapping.rowOf(classCode, 10000));
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
