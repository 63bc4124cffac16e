// The external code of an event.
#include "event_host.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

using vesktest::EventHost;
using vesktest::LogLines;

const char* const kMapping = "; rows\n"
                             "[Adapter]\n"
                             "7=1007\n"
                             "[VirtualDevice]\n"
                             "7=2007\n"
                             "[PhysicalDevice]\n"
                             "7=3007\n"
                             "[EventSequenceNumber]\n"
                             "SequenceNumber=0\n";

// The code after the mapping.
unsigned mapped(unsigned eventClass, unsigned code) {
    _Event event{};
    event.eventClass = static_cast<USHORT_INT>(eventClass);
    event.eventCode = static_cast<USHORT_INT>(code);
    CEventBuilder().mapEventInfo(&event);
    return event.eventCode;
}

unsigned mappedBy(const std::string& rows, unsigned code) {
    EventHost host("[PhysicalDevice]\n" + rows);
    return mapped(2, code);
}

TEST(EventMapping, ClassChoosesTheSection) {
    EventHost host(kMapping);
    EXPECT_EQ(mapped(0, 7), 1007U);
    EXPECT_EQ(mapped(1, 7), 2007U);
    EXPECT_EQ(mapped(2, 7), 3007U);
}

TEST(EventMapping, OtherClassesHaveNoSection) {
    EventHost host(std::string("[]\n8=5\n") + kMapping);
    for (const unsigned eventClass : {3U, 4U, 5U, 6U, 7U, 255U, 256U, 65535U}) {
        EXPECT_EQ(mapped(eventClass, 7), 65535U) << eventClass;
    }
    EXPECT_EQ(mapped(3, 8), 5U) << "the empty name is that of a section without a name";
}

TEST(EventMapping, CodeWithoutARowIs65535) {
    EventHost host(kMapping);
    EXPECT_EQ(mapped(2, 8), 65535U);
    EXPECT_EQ(mapped(2, 77), 65535U);
}

TEST(EventMapping, WithoutAFileIs65535) {
    EventHost host;
    EXPECT_EQ(mapped(2, 7), 65535U);
}

TEST(EventMapping, CodesAreDecimalOnBothSides) {
    EXPECT_EQ(mappedBy("31=5\n1F=6\n", 0x1F), 5U);
    EXPECT_EQ(mappedBy("65535=17\n", 65535), 17U);
    EXPECT_EQ(mappedBy("0=18\n", 0), 18U);
}

TEST(EventMapping, ValueIsCutTo16Bits) {
    EXPECT_EQ(mappedBy("7=65537\n", 7), 1U);
    EXPECT_EQ(mappedBy("7=-1\n", 7), 65535U);
    EXPECT_EQ(mappedBy("7=131071\n", 7), 65535U);
}

TEST(EventMapping, ValueMayHaveACarriageReturnOrATail) {
    EXPECT_EQ(mappedBy("7=12\r\n", 7), 12U);
    EXPECT_EQ(mappedBy("7= 13 ; thirteen\n", 7), 13U);
}

TEST(EventMapping, ValueThatIsNoNumberIsZeroAndIsLogged) {
    for (const char* row : {"7=text\n", "7 =5\n", "7=99999999999\n", "7=\n"}) {
        EventHost host(std::string("[PhysicalDevice]\n") + row);
        EXPECT_EQ(mapped(2, 7), 0U) << row;
        EXPECT_TRUE(vesktest::contains(host.host().messages(),
                                       "VeskNVMeLibrary_Helper::readEventCodeFromINIFile: Error "
                                       "converting event code to integer: stoi"))
            << row;
    }
}

TEST(EventMapping, LongerKeyInFrontHidesAShorterOne) {
    EXPECT_EQ(mappedBy("10=500\n1=600\n", 1), 0U);
    EXPECT_EQ(mappedBy("1=600\n10=500\n", 1), 600U);
    EXPECT_EQ(mappedBy("1=600\n10=500\n", 10), 500U);
}

TEST(EventMapping, RowThatEndsWithItsKeyThrows) {
    EventHost host("[PhysicalDevice]\n7\n");
    _Event event{};
    event.eventClass = 2;
    event.eventCode = 7;
    EXPECT_THROW(CEventBuilder().mapEventInfo(&event), std::out_of_range);
    EXPECT_EQ(event.eventCode, 7);
}

TEST(EventMapping, NothingButTheCodeChanges) {
    EventHost host(kMapping);
    _Event event{};
    std::memset(static_cast<void*>(&event), 0x5A, sizeof event);
    event.eventClass = 1;
    event.eventCode = 7;
    _Event expected = event;
    expected.eventCode = 2007;
    CEventBuilder().mapEventInfo(&event);
    EXPECT_EQ(std::memcmp(&event, &expected, sizeof event), 0);
}

TEST(EventMapping, BothCodesAreLogged) {
    EventHost host(kMapping);
    _Event event{};
    event.eventClass = 2;
    event.eventCode = 7;
    CEventBuilder builder;
    host.host().forgetLines();
    builder.mapEventInfo(&event);
    EXPECT_EQ(host.host().messages(),
              (LogLines{"CEventBuilder::mapEventInfo(): Original Code:  7",
                        "CEventBuilder::mapEventInfo(): Mapped Code:  3007"}));
    EXPECT_TRUE(host.host().traced("CEventBuilder::mapEventInfo()"));
}

}  // namespace
