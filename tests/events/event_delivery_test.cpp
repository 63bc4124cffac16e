// A delivery: new events go to the caller, and the mark moves.
#include "event_host.h"
#include "owned_events.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using vesktest::EventHost;
using vesktest::eventLines;
using vesktest::inOrder;
using vesktest::numbers;
using Numbers = std::vector<unsigned>;

// Event code 1 of a physical disk is 500, code 2 is 600; code 3 is in the file as not reported.
std::string mappingWithMark(const std::string& mark) {
    return "[PhysicalDevice]\n1=500\n2=600\n3=65535\n[EventSequenceNumber]\nSequenceNumber=" + mark;
}

TEST(EventDelivery, BeforeTheFirstPollTouchesNothing) {
    EventHost host(mappingWithMark("5\n"));
    host.host().forgetLines();
    EXPECT_EQ(host.deliverNumbers(), Numbers{});
    EXPECT_EQ(host.mapping(), mappingWithMark("5\n"));
    EXPECT_EQ(CEventBuilder::events, nullptr);
    EXPECT_EQ(host.host().messages(), vesktest::LogLines{}) << "the file was not even read";
}

TEST(EventDelivery, HandsOutNewEventsOldestFirst) {
    EventHost host(mappingWithMark("0\n"));
    host.poll(eventLines(12, 12) + eventLines(3, 3) + eventLines(7, 7));
    EXPECT_EQ(host.deliverNumbers(), (Numbers{3, 7, 12}));
    EXPECT_EQ(host.mapping(), mappingWithMark("12"));
    EXPECT_EQ(EventHost::collected(), Numbers{});
    EXPECT_NE(CEventBuilder::events, nullptr);
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

TEST(EventDelivery, AppendsToTheVector) {
    EventHost host(mappingWithMark("0\n"));
    host.poll(eventLines(1, 2));
    int other = 0;
    std::vector<IObject*> objects = {reinterpret_cast<IObject*>(&other)};
    CEventBuilder().getObjectVector(objects);
    ASSERT_EQ(objects.size(), 3U);
    EXPECT_EQ(static_cast<void*>(objects[0]), &other);
    std::free(objects[1]);
    std::free(objects[2]);
}

TEST(EventDelivery, StoredMarkIsNotDeliveredAgain) {
    EventHost host(mappingWithMark("5\n"));
    host.poll(eventLines(1, 9));
    EXPECT_EQ(host.deliverNumbers(), (Numbers{6, 7, 8, 9}));
    EXPECT_EQ(host.mapping(), mappingWithMark("9\n"));
}

TEST(EventDelivery, FirstStartTakesEveryNumberFromOneOn) {
    for (const char* mark : {"0\n", "0"}) {
        EventHost host(mappingWithMark(mark));
        host.poll(eventLines(0, 3));
        EXPECT_EQ(host.deliverNumbers(), (Numbers{1, 2, 3}));
        EXPECT_EQ(EventHost::collected(), Numbers{}) << "number 0 is never delivered";
    }
}

TEST(EventDelivery, WithoutAStoredNumberTheMarkIsZero) {
    EventHost host("[PhysicalDevice]\n1=500\n");
    host.poll(eventLines(0, 2));
    EXPECT_EQ(host.deliverNumbers(), (Numbers{1, 2}));
    EXPECT_EQ(host.mapping(), std::string("[PhysicalDevice]\n1=\0\0\0"
                                          "2",
                                          23))
        << "the last value of the file is taken";
}

TEST(EventDelivery, RowBehindTheMarkIsOverwritten) {
    EventHost host("[EventSequenceNumber]\nSequenceNumber=0\n[PhysicalDevice]\n1=500\n");
    host.poll(eventLines(1, 3));
    EXPECT_EQ(host.deliverNumbers(), (Numbers{1, 2, 3}));
    EXPECT_EQ(host.mapping(),
              "[EventSequenceNumber]\nSequenceNumber=0\n[PhysicalDevice]\n1=" + std::string("\0\0\0"
                                                                                            "3",
                                                                                            4));
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

TEST(EventDelivery, SameEventsPolledAgainAreNotDeliveredAgain) {
    EventHost host(mappingWithMark("0\n"));
    host.poll(eventLines(1, 3));
    EXPECT_EQ(host.deliverNumbers(), (Numbers{1, 2, 3}));
    host.poll(eventLines(1, 4));
    EXPECT_EQ(host.deliverNumbers(), (Numbers{4}));
    EXPECT_EQ(host.mapping(), mappingWithMark("4\n"));
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

TEST(EventDelivery, ExactlyAsManyAsTheBudgetComeInOne) {
    EventHost host(mappingWithMark("0\n"));
    host.poll(eventLines(1, 64));
    EXPECT_EQ(host.deliverNumbers(), numbers(1, 64));
    host.poll(eventLines(1, 65));
    EXPECT_EQ(host.deliverNumbers(), (Numbers{65}));
}

TEST(EventDelivery, HundredEventsWithUnmappedOnesBetween) {
    EventHost host(mappingWithMark("0\n"));
    // Every mapped one has an unmapped one in front: odd numbers are code 9, which has no row.
    for (unsigned page = 0; page < 4; ++page) {
        std::string text;
        for (unsigned number = 50 * page + 1; number <= 50 * page + 50; ++number) {
            text += "[SEQ]" + std::to_string(number) +
                    (number % 2 == 0 ? "[EVT_ID]1" : "[EVT_ID]9") + "[MSG]PD_event_INFO\n";
        }
        host.area().putPage(page, text);
    }
    host.poll();
    Numbers first = host.deliverNumbers();
    ASSERT_EQ(first.size(), 64U);
    EXPECT_EQ(first.front(), 2U);
    EXPECT_EQ(first.back(), 128U);
    EXPECT_EQ(host.mapping(), mappingWithMark("128"));
    host.poll();
    Numbers second = host.deliverNumbers();
    ASSERT_EQ(second.size(), 36U);
    EXPECT_EQ(second.front(), 130U);
    EXPECT_EQ(second.back(), 200U);
    EXPECT_EQ(host.mapping(), mappingWithMark("200"));
}

TEST(EventDelivery, UnmappedEventsAtTheEndDoNotMoveTheMark) {
    EventHost host(mappingWithMark("0\n"));
    const std::string text = eventLines(1, 2) + "[SEQ]3[EVT_ID]9[MSG]PD_no row_INFO\n"
                                                "[SEQ]4[EVT_ID]3[MSG]PD_65535 in the file_INFO\n"
                                                "[SEQ]5[EVT_ID]1[MSG]FAN_no section_INFO\n";
    host.poll(text);
    EXPECT_EQ(host.deliverNumbers(), (Numbers{1, 2}));
    EXPECT_EQ(host.mapping(), mappingWithMark("2\n"));
    EXPECT_EQ(EventHost::collected(), Numbers{});
    host.poll(text);
    EXPECT_EQ(host.deliverNumbers(), Numbers{});
    EXPECT_EQ(host.mapping(), mappingWithMark("2\n"));
}

TEST(EventDelivery, MappedEventBehindUnmappedOnesMovesTheMarkPastThem) {
    EventHost host(mappingWithMark("0\n"));
    host.poll("[SEQ]3[EVT_ID]9[MSG]PD_no row_INFO\n" + eventLines(4, 4));
    EXPECT_EQ(host.deliverNumbers(), (Numbers{4}));
    EXPECT_EQ(host.mapping(), mappingWithMark("4\n"));
}

TEST(EventDelivery, UnmappedEventsLeaveNoLineOfTheirOwn) {
    EventHost host(mappingWithMark("0\n"));
    host.poll("[SEQ]3[EVT_ID]9[MSG]PD_no row_INFO\n");
    host.host().forgetLines();
    host.deliver();
    EXPECT_EQ(
        host.host().messages(),
        (vesktest::LogLines{
            " VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile: Sequence Number: 0",
            " VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile: Sequence Number after stoi: 0",
            "CEventBuilder::getObjectVector: Read Last processed SEQ number = 0",
            "CEventBuilder::getObjectVector: Event map size: 1",
            "CEventBuilder::mapEventInfo(): Original Code:  9",
            "CEventBuilder::mapEventInfo(): Mapped Code:  65535",
            "VeskNVMeLibrary_Helper::writeSEQNumberToFile(): File is open",
            "VeskNVMeLibrary_Helper::writePropertyToFile(): The EOF position = 75",
            "VeskNVMeLibrary_Helper::  CHARs = ", "", "VeskNVMeLibrary_Helper::  CHARs = 0",
            "VeskNVMeLibrary_Helper::writePropertyToFile(): The previous SEQ number was of length "
            "= ",
            "VeskNVMeLibrary_Helper::writePropertyToFile() : Write SEQ Number pos = 73",
            "VeskNVMeLibrary_Helper::writePropertyToFile() : Write SEQ Number = 0",
            "VeskNVMeLibrary_Helper::writePropertyToFile() : Write complete..."}));
}

TEST(EventDelivery, EachPushedNumberIsLogged) {
    EventHost host(mappingWithMark("0\n"));
    host.poll(eventLines(7, 8));
    host.host().forgetLines();
    host.deliver();
    EXPECT_TRUE(inOrder(host.host().lines(),
                        {"CEventBuilder::getObjectVector() ENTRY ",
                         "CEventBuilder::getObjectVector: Read Last processed SEQ number = 0",
                         "CEventBuilder::getObjectVector: Event map size: 2",
                         "CEventBuilder::mapEventInfo(): Original Code:  1",
                         "CEventBuilder::mapEventInfo(): Mapped Code:  500",
                         "CEventBuilder::getObjectVector: Sequence Number pushed: 7",
                         "CEventBuilder::getObjectVector: Sequence Number pushed: 8",
                         "VeskNVMeLibrary_Helper::writePropertyToFile() : Write SEQ Number = 8",
                         "CEventBuilder::destroyEventsInEventsMap() ENTRY ",
                         "CEventBuilder::destroyEventsInEventsMap() EXIT ",
                         "CEventBuilder::getObjectVector() EXIT "}));
}

TEST(EventDelivery, NumbersAboveTheSignedRangeAreSkipped) {
    EventHost host(mappingWithMark("0\n"));
    host.poll(eventLines(1, 1) + eventLines(2147483647, 2147483648) +
              "[SEQ]4294967295[EVT_ID]1"
              "[MSG]PD_event_INFO\n");
    EXPECT_EQ(host.deliverNumbers(), (Numbers{1, 2147483647}));
    EXPECT_EQ(host.mapping(), mappingWithMark("2147483647"));
    host.poll(eventLines(2147483648, 2147483649));
    EXPECT_EQ(host.deliverNumbers(), Numbers{});
    EXPECT_EQ(host.mapping(), mappingWithMark("2147483647"));
}

TEST(EventDelivery, ControllersResetIsNotDetected) {
    EventHost host(mappingWithMark("100"));
    host.poll(eventLines(1, 50));
    EXPECT_EQ(host.deliverNumbers(), Numbers{});
    EXPECT_EQ(host.mapping(), mappingWithMark("100"));
    host.poll(eventLines(99, 101));
    EXPECT_EQ(host.deliverNumbers(), (Numbers{101}));
}

TEST(EventDelivery, NegativeMarkLetsNumbersPassAsSigned) {
    EventHost host(mappingWithMark("-2\n"));
    host.poll("[SEQ]4294967295[EVT_ID]1[MSG]PD_event_INFO\n");
    EXPECT_EQ(host.deliverNumbers(), (Numbers{4294967295}));
    EXPECT_EQ(host.mapping(), mappingWithMark("-1\n"));
    host.poll(eventLines(0, 0));
    EXPECT_EQ(host.deliverNumbers(), (Numbers{0}));
}

TEST(EventDelivery, RowWithAValueThatIsNoNumberIsDeliveredWithCodeZero) {
    EventHost host("[PhysicalDevice]\n1=text\n[EventSequenceNumber]\nSequenceNumber=0\n");
    host.poll(eventLines(1, 1));
    const std::vector<_Event> events = host.deliver();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].eventCode, 0);
}

TEST(EventDelivery, CopiesStayWhenTheMapGoes) {
    EventHost host(mappingWithMark("0\n"));
    host.poll(eventLines(1, 1));
    std::vector<IObject*> objects;
    CEventBuilder().getObjectVector(objects);
    ASSERT_EQ(objects.size(), 1U);
    CEventBuilder::destroyEventsInEventsMap();
    CEventBuilder::destroyEventsMap();
    const auto* const event = static_cast<const _Event*>(static_cast<void*>(objects[0]));
    EXPECT_EQ(event->sequenceNo, 1U);
    std::free(objects[0]);
}

TEST(EventDelivery, MarkGrowsByteByByte) {
    EventHost host(mappingWithMark("8\n"));
    const struct {
        unsigned number;
        const char* mark;
    } kSteps[] = {{9, "9\n"},   {10, "10"},     {99, "99"},         {100, "100"},
                  {101, "101"}, {1000, "1000"}, {123456, "123456"}, {2147483647, "2147483647"}};
    for (const auto& step : kSteps) {
        host.poll(eventLines(step.number, step.number));
        EXPECT_EQ(host.deliverNumbers(), (Numbers{step.number}));
        EXPECT_EQ(host.mapping(), mappingWithMark(step.mark));
    }
}

}  // namespace
