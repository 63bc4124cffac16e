// A delivery: an event's code becomes the external one, new events go to the caller, and the mark
// moves.
#include "event_host.h"
#include "owned_events.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using vesktest::EventHost;
using vesktest::eventLines;
using vesktest::inOrder;
using vesktest::LogLines;
using vesktest::numbers;
using Numbers = std::vector<unsigned>;

// The code after the mapping.
unsigned mapped(unsigned eventClass, unsigned code) {
    _Event event{};
    event.eventClass = static_cast<USHORT_INT>(eventClass);
    event.eventCode = static_cast<USHORT_INT>(code);
    CEventBuilder().mapEventInfo(&event);
    return event.eventCode;
}

const char* const kSections = "; rows\n"
                              "[]\n8=5\n"
                              "[Adapter]\n7=1007\n"
                              "[VirtualDevice]\n7=2007\n"
                              "[PhysicalDevice]\n7=3007\n"
                              "[EventSequenceNumber]\nSequenceNumber=0\n";

TEST(EventMapping, ClassChoosesTheSectionAndCodesWithoutARowAre65535) {
    EventHost host(kSections);
    const struct {
        unsigned eventClass;
        unsigned code;
        unsigned mapped;
    } kRows[] = {{0, 7, 1007},
                 {1, 7, 2007},
                 {2, 7, 3007},
                 {2, 8, 65535},
                 {2, 77, 65535},
                 {3, 7, 65535},
                 {4, 7, 65535},
                 {5, 7, 65535},
                 {6, 7, 65535},
                 {7, 7, 65535},
                 {255, 7, 65535},
                 {256, 7, 65535},
                 {65535, 7, 65535},
                 // The empty name is that of a section without a name.
                 {3, 8, 5}};
    for (const auto& row : kRows) {
        EXPECT_EQ(mapped(row.eventClass, row.code), row.mapped) << row.eventClass;
    }
}

TEST(EventMapping, RowsAreReadAsTheyStand) {
    const struct {
        const char* rows;
        unsigned code;
        unsigned mapped;
    } kRows[] = {
        // Codes are decimal on both sides.
        {"31=5\n1F=6\n", 0x1F, 5},
        {"65535=17\n", 65535, 17},
        {"0=18\n", 0, 18},
        // The value is cut to 16 bits, and may have a carriage return or a tail.
        {"7=65537\n", 7, 1},
        {"7=-1\n", 7, 65535},
        {"7=131071\n", 7, 65535},
        {"7=12\r\n", 7, 12},
        {"7= 13 ; thirteen\n", 7, 13},
        // A longer key in front hides a shorter one.
        {"10=500\n1=600\n", 1, 0},
        {"1=600\n10=500\n", 1, 600},
        {"1=600\n10=500\n", 10, 500},
        // Without a file.
        {nullptr, 7, 65535},
    };
    for (const auto& row : kRows) {
        EventHost host(row.rows == nullptr ? "" : std::string("[PhysicalDevice]\n") + row.rows);
        EXPECT_EQ(mapped(2, row.code), row.mapped) << host.mapping();
    }
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

TEST(EventMapping, RowThatEndsWithItsKeyThrows) {
    EventHost host("[PhysicalDevice]\n7\n");
    _Event event{};
    event.eventClass = 2;
    event.eventCode = 7;
    EXPECT_THROW(CEventBuilder().mapEventInfo(&event), std::out_of_range);
    EXPECT_EQ(event.eventCode, 7);
}

// Event code 1 of a physical disk is 500, code 2 is 600; code 3 is in the file as not reported.
std::string mappingWithMark(const std::string& mark) {
    return "[PhysicalDevice]\n1=500\n2=600\n3=65535\n[EventSequenceNumber]\nSequenceNumber=" + mark;
}

// One poll and the delivery behind it.
struct Step {
    std::string log;
    Numbers delivered;
    std::string mark;  // in the file afterwards
};

void expectDeliveries(const std::string& mark, const std::vector<Step>& steps) {
    EventHost host(mappingWithMark(mark));
    for (const Step& step : steps) {
        SCOPED_TRACE(step.log);
        host.poll(step.log);
        EXPECT_EQ(host.deliverNumbers(), step.delivered);
        EXPECT_EQ(host.mapping(), mappingWithMark(step.mark));
        ASSERT_NE(CEventBuilder::events, nullptr);
        EXPECT_EQ(EventHost::collected(), Numbers{}) << "the map is emptied and stays";
    }
}

TEST(EventDelivery, NewEventsComeOnceAndOldestFirst) {
    expectDeliveries("0\n",
                     {{eventLines(12, 12) + eventLines(3, 3) + eventLines(7, 7), {3, 7, 12}, "12"},
                      {eventLines(1, 13), {13}, "13"},
                      {eventLines(1, 13), {}, "13"}});
    expectDeliveries("5\n", {{eventLines(1, 9), {6, 7, 8, 9}, "9\n"}});
}

TEST(EventDelivery, FirstStartTakesEveryNumberFromOneOn) {
    expectDeliveries("0\n", {{eventLines(0, 3), {1, 2, 3}, "3\n"}});
    expectDeliveries("0", {{eventLines(0, 3), {1, 2, 3}, "3"}});
}

TEST(EventDelivery, MarkGrowsByteByByte) {
    const Step kRows[] = {{eventLines(9, 9), {9}, "9\n"},
                          {eventLines(10, 10), {10}, "10"},
                          {eventLines(99, 99), {99}, "99"},
                          {eventLines(100, 101), {100, 101}, "101"},
                          {eventLines(1000, 1000), {1000}, "1000"},
                          {eventLines(123456, 123456), {123456}, "123456"},
                          {eventLines(2147483647, 2147483647), {2147483647}, "2147483647"}};
    expectDeliveries("8\n", {std::begin(kRows), std::end(kRows)});
}

TEST(EventDelivery, UnmappedEventsAreSkippedAndMoveNoMark) {
    const std::string text = eventLines(1, 2) + "[SEQ]3[EVT_ID]9[MSG]PD_no row_INFO\n"
                                                "[SEQ]4[EVT_ID]3[MSG]PD_65535 in the file_INFO\n"
                                                "[SEQ]5[EVT_ID]1[MSG]FAN_no section_INFO\n";
    expectDeliveries("0\n", {{text, {1, 2}, "2\n"},
                             {text, {}, "2\n"},
                             // A mapped one behind them moves it past them.
                             {text + eventLines(6, 6), {6}, "6\n"}});
}

TEST(EventDelivery, NumbersAboveTheSignedRangeAreSkipped) {
    expectDeliveries("0\n", {{eventLines(1, 1) + eventLines(2147483647, 2147483648) +
                                  "[SEQ]4294967295[EVT_ID]1[MSG]PD_event_INFO\n",
                              {1, 2147483647},
                              "2147483647"},
                             {eventLines(2147483648, 2147483649), {}, "2147483647"}});
}

TEST(EventDelivery, NegativeMarkLetsNumbersPassAsSigned) {
    expectDeliveries("-2\n",
                     {{"[SEQ]4294967295[EVT_ID]1[MSG]PD_event_INFO\n", {4294967295}, "-1\n"},
                      {eventLines(0, 0), {0}, std::string(2, '\0') + "0"}});
}

TEST(EventDelivery, ControllersResetIsNotDetected) {
    expectDeliveries("100", {{eventLines(1, 50), {}, "100"}, {eventLines(99, 101), {101}, "101"}});
}

TEST(EventDelivery, BeforeTheFirstPollTouchesNothing) {
    EventHost host(mappingWithMark("5\n"));
    host.host().forgetLines();
    EXPECT_EQ(host.deliverNumbers(), Numbers{});
    EXPECT_EQ(host.mapping(), mappingWithMark("5\n"));
    EXPECT_EQ(CEventBuilder::events, nullptr);
    EXPECT_EQ(host.host().messages(), LogLines{}) << "the file was not even read";
}

TEST(EventDelivery, RecordIsAsParsedButForItsCode) {
    EventHost host(mappingWithMark("0\n"));
    host.poll("[SEQ]67305985[EVT_ID]2[TIME]168364039[DEV_ID]3083[MSG]PD_ok_FATAL\n");
    const std::vector<_Event> events = host.deliver();
    ASSERT_EQ(events.size(), 1U);
    std::vector<std::uint8_t> expected(64);
    const std::vector<std::uint8_t> begin = {0x02, 0x00, 0x58, 0x02, 0x07, 0x08, 0x09, 0x0A,
                                             0x0B, 0x0C, 0x07, 0x00, 0x01, 0x02, 0x03, 0x04};
    std::copy(begin.begin(), begin.end(), expected.begin());
    expected[34] = 'o';
    expected[35] = 'k';
    EXPECT_EQ(vesktest::eventBytes(events.data()), expected);
}

TEST(EventDelivery, AppendsCopiesThatStayWhenTheMapGoes) {
    EventHost host(mappingWithMark("0\n"));
    host.poll(eventLines(7, 7));
    int other = 0;
    std::vector<IObject*> objects = {reinterpret_cast<IObject*>(&other)};
    CEventBuilder().getObjectVector(objects);
    CEventBuilder::destroyEventsMap();
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(static_cast<void*>(objects[0]), &other);
    const auto* const event = static_cast<const _Event*>(static_cast<void*>(objects[1]));
    EXPECT_EQ(vesktest::fieldsOf(*event), "7 500 0 0 2 2|event");
    std::free(objects[1]);
}

TEST(EventDelivery, HundredEventsComeInTwoDeliveries) {
    EventHost host(mappingWithMark("0\n"));
    host.area().putPage(0, eventLines(1, 60));
    host.area().putPage(1, eventLines(61, 100));
    host.poll();
    EXPECT_EQ(EventHost::collected(), numbers(1, 100));

    EXPECT_EQ(host.deliverNumbers(), numbers(1, 64)) << "the 64 lowest";
    EXPECT_EQ(host.mapping(), mappingWithMark("64"));
    EXPECT_EQ(EventHost::collected(), Numbers{}) << "also what was not delivered is gone";
    EXPECT_EQ(host.deliverNumbers(), Numbers{});
    EXPECT_EQ(host.mapping(), mappingWithMark("64"));

    host.poll();
    EXPECT_EQ(EventHost::collected(), numbers(1, 100));
    EXPECT_EQ(host.deliverNumbers(), numbers(65, 100));
    EXPECT_EQ(host.mapping(), mappingWithMark("100"));
    host.poll();
    EXPECT_EQ(host.deliverNumbers(), Numbers{});
    EXPECT_EQ(host.mapping(), mappingWithMark("100"));
}

TEST(EventDelivery, UnmappedEventsDoNotCountAmongThe64) {
    // Odd numbers are code 9, which has no row.
    const auto lines = [](unsigned first, unsigned last) {
        std::string text;
        for (unsigned number = first; number <= last; ++number) {
            text += "[SEQ]" + std::to_string(number) +
                    (number % 2 == 0 ? "[EVT_ID]1" : "[EVT_ID]9") + "[MSG]PD_event_INFO\n";
        }
        return text;
    };
    EventHost host(mappingWithMark("0\n"));
    for (unsigned page = 0; page < 4; ++page) {
        host.area().putPage(page, lines(50 * page + 1, 50 * page + 50));
    }
    Numbers even;
    for (unsigned number = 2; number <= 200; number += 2) {
        even.push_back(number);
    }
    host.poll();
    EXPECT_EQ(host.deliverNumbers(), Numbers(even.begin(), even.begin() + 64));
    EXPECT_EQ(host.mapping(), mappingWithMark("128"));
    host.poll();
    EXPECT_EQ(host.deliverNumbers(), Numbers(even.begin() + 64, even.end()));
    EXPECT_EQ(host.mapping(), mappingWithMark("200"));
}

TEST(EventDelivery, WithoutAPollBetweenTheSecondIsEmptyAndRewritesTheMark) {
    EventHost host(mappingWithMark("0\n"));
    host.poll(eventLines(1, 3));
    EXPECT_EQ(host.deliverNumbers(), (Numbers{1, 2, 3}));
    EXPECT_EQ(host.mapping(), mappingWithMark("3\n"));
    host.host().forgetLines();
    EXPECT_EQ(host.deliverNumbers(), Numbers{});
    EXPECT_EQ(host.mapping(), mappingWithMark("3\n"));
    EXPECT_TRUE(inOrder(host.host().messages(),
                        {"CEventBuilder::getObjectVector: Read Last processed SEQ number = 3",
                         "CEventBuilder::getObjectVector: Event map size: 0",
                         "VeskNVMeLibrary_Helper::writePropertyToFile() : Write SEQ Number = 3",
                         "VeskNVMeLibrary_Helper::writePropertyToFile() : Write complete..."}));
}

TEST(EventDelivery, WithoutAStoredNumberTheMarkIsZero) {
    EventHost host("[PhysicalDevice]\n1=500\n");
    host.poll(eventLines(0, 2));
    EXPECT_EQ(host.deliverNumbers(), (Numbers{1, 2}));
    EXPECT_EQ(host.mapping(), "[PhysicalDevice]\n1=" + std::string(3, '\0') + "2")
        << "the last value of the file is taken";
}

TEST(EventDelivery, RowBehindTheMarkIsOverwritten) {
    EventHost host("[EventSequenceNumber]\nSequenceNumber=0\n[PhysicalDevice]\n1=500\n");
    host.poll(eventLines(1, 3));
    EXPECT_EQ(host.deliverNumbers(), (Numbers{1, 2, 3}));
    EXPECT_EQ(host.mapping(), "[EventSequenceNumber]\nSequenceNumber=0\n[PhysicalDevice]\n1=" +
                                  std::string(3, '\0') + "3");
    host.poll(eventLines(1, 1));
    const std::vector<_Event> events = host.deliver();
    ASSERT_EQ(events.size(), 1U) << "the mark itself did not move";
    EXPECT_EQ(events[0].eventCode, 0) << "and the row's value is no number any more";
}

TEST(EventDelivery, MarkThatIsNoNumberReadsAsZero) {
    EventHost host(mappingWithMark("none\n"));
    host.poll(eventLines(1, 2));
    EXPECT_EQ(host.deliverNumbers(), (Numbers{1, 2}));
    EXPECT_TRUE(vesktest::contains(host.host().messages(),
                                   "VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile: Error "
                                   "converting sequence number to integer: stoi"));
}

TEST(EventDelivery, UnmappedEventsLeaveNoLineOfTheirOwn) {
    EventHost host(mappingWithMark("0\n"));
    host.poll("[SEQ]3[EVT_ID]9[MSG]PD_no row_INFO\n");
    host.host().forgetLines();
    host.deliver();
    LogLines lines;
    for (const std::string& line : host.host().messages()) {
        if (line.rfind("CEventBuilder::", 0) == 0) {
            lines.push_back(line);
        }
    }
    EXPECT_EQ(lines, (LogLines{"CEventBuilder::getObjectVector: Read Last processed SEQ number = 0",
                               "CEventBuilder::getObjectVector: Event map size: 1",
                               "CEventBuilder::mapEventInfo(): Original Code:  9",
                               "CEventBuilder::mapEventInfo(): Mapped Code:  65535"}));
}

TEST(EventDelivery, EachPushedNumberIsLogged) {
    EventHost host(mappingWithMark("0\n"));
    host.poll(eventLines(7, 8));
    host.host().forgetLines();
    host.deliver();
    EXPECT_TRUE(inOrder(
        host.host().lines(),
        {"CEventBuilder::getObjectVector() ENTRY ",
         "CEventBuilder::getObjectVector: Read Last processed SEQ number = 0",
         "CEventBuilder::getObjectVector: Event map size: 2",
         "CEventBuilder::mapEventInfo() ENTRY ", "CEventBuilder::mapEventInfo(): Original Code:  1",
         "CEventBuilder::mapEventInfo(): Mapped Code:  500", "CEventBuilder::mapEventInfo() EXIT ",
         "CEventBuilder::getObjectVector: Sequence Number pushed: 7",
         "CEventBuilder::getObjectVector: Sequence Number pushed: 8",
         "VeskNVMeLibrary_Helper::writePropertyToFile() : Write SEQ Number = 8",
         "CEventBuilder::destroyEventsInEventsMap() ENTRY ",
         "CEventBuilder::destroyEventsInEventsMap() EXIT ",
         "CEventBuilder::getObjectVector() EXIT "}));
}

}  // namespace
