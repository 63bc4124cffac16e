// The names of severities and classes in an event's message.
#include "events/event_parser.h"

#include <gtest/gtest.h>

#include <string>

namespace {

int severity(const std::string& name) {
    EventParser parser;
    return parser.mapSeverity(name);
}

int classOf(const std::string& name) {
    EventParser parser;
    return parser.mapClassName(name);
}

TEST(EventNames, EachSeverityHasItsNumber) {
    EXPECT_EQ(severity("UNKNOWN"), 0);
    EXPECT_EQ(severity("OTHER"), 1);
    EXPECT_EQ(severity("INFO"), 2);
    EXPECT_EQ(severity("NOTIFY"), 2);
    EXPECT_EQ(severity("WARNING"), 3);
    EXPECT_EQ(severity("MINOR"), 4);
    EXPECT_EQ(severity("MAJOR"), 5);
    EXPECT_EQ(severity("CRITICAL"), 6);
    EXPECT_EQ(severity("FATAL"), 7);
}

TEST(EventNames, InfoAndNotifyAreOneSeverity) {
    EXPECT_EQ(severity("NOTIFY"), 2);
    EXPECT_EQ(severity("INFO"), 2);
}

TEST(EventNames, SeveritiesCompareAsWholeStrings) {
    for (const std::string& name :
         {std::string(), std::string("INFORMATION"), std::string("INF"), std::string("info"),
          std::string(" INFO"), std::string("INFO "), std::string("INFO\r"),
          std::string("INFO\0", 5), std::string("CRITICAL FATAL"), std::string("2")}) {
        EXPECT_EQ(severity(name), 255) << name;
    }
}

TEST(EventNames, EachClassHasItsNumber) {
    EXPECT_EQ(classOf("NVMe"), 0);
    EXPECT_EQ(classOf("ADAPTER"), 0);
    EXPECT_EQ(classOf("VD"), 1);
    EXPECT_EQ(classOf("PD"), 2);
    EXPECT_EQ(classOf("PM"), 3);
    EXPECT_EQ(classOf("EXPANDER"), 4);
    EXPECT_EQ(classOf("MDD"), 5);
    EXPECT_EQ(classOf("BSL"), 6);
}

TEST(EventNames, OtherClassesAre255) {
    for (const char* name : {"", "nvme", "NVME", "vd", "P D", "Adapter", "MD", "BS"}) {
        EXPECT_EQ(classOf(name), 255) << name;
    }
}

TEST(EventNames, ClassesAreLookedForAsSubstrings) {
    EXPECT_EQ(classOf("the NVMe controller"), 0);
    EXPECT_EQ(classOf("MYADAPTERS"), 0);
    EXPECT_EQ(classOf("xVDx"), 1);
    EXPECT_EQ(classOf("UPDATE"), 2);
    EXPECT_EQ(classOf("RPM"), 3);
    EXPECT_EQ(classOf("EXPANDERS"), 4);
    EXPECT_EQ(classOf("(MDD)"), 5);
    EXPECT_EQ(classOf("NOBSL"), 6);
}

TEST(EventNames, FirstClassOfTheOrderDecidesAndNotTheFirstInTheText) {
    EXPECT_EQ(classOf("PD VD"), 1);
    EXPECT_EQ(classOf("PD ADAPTER"), 0);
    EXPECT_EQ(classOf("VD NVMe"), 0);
    EXPECT_EQ(classOf("PM PD"), 2);
    EXPECT_EQ(classOf("EXPANDER PM"), 3);
    EXPECT_EQ(classOf("MDD EXPANDER"), 4);
    EXPECT_EQ(classOf("BSL MDD"), 5);
}

}  // namespace
