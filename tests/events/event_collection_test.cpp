// A poll: the event log becomes the event map.
#include "event_host.h"
#include "owned_events.h"
#include "virtual_slot.h"

#include "api/builder_type_factory.h"
#include "api/command_handler.h"
#include "events/znv_event_builder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using vesktest::count;
using vesktest::EventHost;
using vesktest::inOrder;
using Numbers = std::vector<unsigned>;
using Reads = std::vector<vesktest::PagedTalker::Read>;

const Reads kSixteenPages = {
    {0x0, 0x1000},    {0x1000, 0x1000}, {0x2000, 0x1000}, {0x3000, 0x1000},
    {0x4000, 0x1000}, {0x5000, 0x1000}, {0x6000, 0x1000}, {0x7000, 0x1000},
    {0x8000, 0x1000}, {0x9000, 0x1000}, {0xA000, 0x1000}, {0xB000, 0x1000},
    {0xC000, 0x1000}, {0xD000, 0x1000}, {0xE000, 0x1000}, {0xF000, 0x1000}};

TEST(EventCollection, BuilderIsTwoOwnedPointers) {
    ASSERT_EQ(sizeof(CEventBuilder), 24U);
    CEventBuilder builder;
    void* members[2] = {nullptr, nullptr};
    std::memcpy(members, reinterpret_cast<const unsigned char*>(&builder) + 8, sizeof members);
    EXPECT_EQ(members[0], static_cast<void*>(builder.getObject()));
    EXPECT_NE(members[0], nullptr);
    EXPECT_NE(members[1], nullptr);
}

TEST(EventCollection, VirtualOperationsStandInTheirOrder) {
    EXPECT_EQ(vesktest::virtualSlot(&CEventBuilder::buidInfo), 2);
    EXPECT_EQ(vesktest::virtualSlot(&CEventBuilder::getObject), 3);
    EXPECT_EQ(vesktest::virtualSlot(&CEventBuilder::getObjectVector), 4);
    EXPECT_EQ(vesktest::virtualSlot(&CEventBuilder::getSpecificObject), 5);
    EXPECT_EQ(vesktest::virtualSlot(&CEventBuilder::setSpecificParams), 6);
}

TEST(EventCollection, FactoryMakesTheBuilderForBothCommands) {
    for (const USHORT_INT id : {USHORT_INT{5}, USHORT_INT{6}}) {
        const std::unique_ptr<IBuilder> builder(BuilderTypeFactory::getBuilder(id));
        EXPECT_NE(dynamic_cast<CEventBuilder*>(builder.get()), nullptr) << id;
    }
}

TEST(EventCollection, MapIsNullUntilTheFirstPoll) {
    EventHost host;
    EXPECT_EQ(CEventBuilder::events, nullptr);
    { CEventBuilder builder; }
    EXPECT_EQ(CEventBuilder::events, nullptr);
    host.poll();
    ASSERT_NE(CEventBuilder::events, nullptr);
    EXPECT_TRUE(CEventBuilder::events->empty());
}

TEST(EventCollection, ReadsAll16PagesInOrderWithNoEarlyEnd) {
    EventHost host;
    host.poll();
    EXPECT_EQ(host.talker().reads, kSixteenPages);
    EXPECT_EQ(host.talker().codes, std::vector<ULONG_INT>(16, 1));
}

TEST(EventCollection, CommandIdIsIgnored) {
    EventHost host;
    host.area().putPage(0, "[SEQ]1\n");
    for (const int id : {0, 6, -1, 99}) {
        CEventBuilder().buidInfo(id);
        EXPECT_EQ(EventHost::collected(), (Numbers{1}));
    }
    EXPECT_EQ(host.talker().reads.size(), 64U);
}

TEST(EventCollection, TakesTheRecordsOfEveryPage) {
    EventHost host;
    for (unsigned page = 0; page < 16; ++page) {
        host.area().putPage(page, "[SEQ]" + std::to_string(page + 10) + "\n");
    }
    host.poll();
    EXPECT_EQ(EventHost::collected(), vesktest::numbers(10, 25));
}

TEST(EventCollection, PageOfNothingDoesNotEndThePoll) {
    EventHost host;
    host.area().putPage(15, "[SEQ]4\n");
    host.poll();
    EXPECT_EQ(EventHost::collected(), (Numbers{4}));
}

TEST(EventCollection, CutRecordIsCompletedWithACarryRead) {
    EventHost host;
    host.area().put(0x2000 - 9, "[SEQ]7[TIME]56\n");
    host.area().putPage(2, "[SEQ]8\n");
    host.poll();
    EXPECT_EQ(EventHost::collected(), (Numbers{7, 8}));
    EXPECT_EQ((*CEventBuilder::events)[7]->timeStamp, 56U);
    Reads expected = kSixteenPages;
    expected.insert(expected.begin() + 2, {0x1FF8, 0x10});
    EXPECT_EQ(host.talker().reads, expected);
}

TEST(EventCollection, CarryReadOfThe16thPageIsSentAllTheSame) {
    EventHost host;
    host.area().put(0x10000 - 6, "[SEQ]7");
    host.poll();
    Reads expected = kSixteenPages;
    expected.push_back({0xFFF8, 0x10});
    EXPECT_EQ(host.talker().reads, expected);
    EXPECT_EQ(EventHost::collected(), Numbers{}) << "nothing but NUL lies behind the area";
}

TEST(EventCollection, RecordCutAtEveryPageEndNeedsACarryReadEach) {
    EventHost host;
    for (unsigned page = 0; page < 16; ++page) {
        host.area().put((page + 1) * 0x1000 - 5, "[SEQ]" + std::to_string(page + 10) + "\n");
    }
    host.poll();
    EXPECT_EQ(host.talker().reads.size(), 32U);
    EXPECT_EQ(EventHost::collected(), vesktest::numbers(10, 24)) << "the last tail is out of reach";
}

TEST(EventCollection, RecordIsCutAtEveryByte) {
    // The tail, line feed included, has to be among the next page's first 8 bytes.
    const std::string line = "[SEQ]7[EVT_ID]1F[TIME]1000[MSG]PD_Lost_CRITICAL\n";
    ASSERT_EQ(line.size(), 48U);
    for (const std::size_t page : {std::size_t{1}, std::size_t{15}}) {
        for (std::size_t cut = 8; cut <= 48; ++cut) {
            SCOPED_TRACE(cut);
            vesktest::QuietEventHost host;
            host.area().put(page * 0x1000 - cut, line);
            host.poll();
            EXPECT_EQ(EventHost::collected(), cut >= 40 ? Numbers{7} : Numbers{});
            EXPECT_EQ(host.talker().reads.size(), cut == 48 ? 16U : 17U);
        }
    }
}

TEST(EventCollection, CutRecordDoesNotSurviveFromOnePollToTheNext) {
    EventHost host;
    host.area().put(0x10000 - 6, "[SEQ]7");
    host.poll();
    host.area().clear();
    host.area().put(0, "XXXXXXXX\nXXXXXXXX\n");
    host.poll();
    EXPECT_EQ(EventHost::collected(), Numbers{});
    EXPECT_EQ(host.talker().reads.size(), 17U + 16U);
}

TEST(EventCollection, LaterPollAddsAndKeeps) {
    EventHost host;
    host.poll("[SEQ]1[TIME]1\n[SEQ]2\n");
    host.poll("[SEQ]1[TIME]9\n[SEQ]3\n");
    EXPECT_EQ(EventHost::collected(), (Numbers{1, 2, 3}));
    EXPECT_EQ((*CEventBuilder::events)[1]->timeStamp, 1U);
}

TEST(EventCollection, MapIsOrderedByUnsignedNumbers) {
    EventHost host;
    host.poll("[SEQ]4294967295\n[SEQ]5\n[SEQ]2147483648\n[SEQ]0\n");
    EXPECT_EQ(EventHost::collected(), (Numbers{0, 5, 2147483648, 4294967295}));
}

TEST(EventCollection, FailedReadsAreNotSeen) {
    EventHost host;
    for (unsigned page = 0; page < 16; ++page) {
        host.area().putPage(page, "[SEQ]" + std::to_string(page + 10) + "\n");
    }
    host.talker().hook = [](std::size_t read) {
        return read != 2 && read != 16;
    };
    host.poll();
    Numbers expected = vesktest::numbers(10, 24);
    expected.erase(expected.begin() + 1);
    EXPECT_EQ(EventHost::collected(), expected);
    EXPECT_EQ(host.talker().reads, kSixteenPages);
}

TEST(EventCollection, FailedCarryReadDropsTheRecord) {
    EventHost host;
    host.area().put(0x1000 - 6, "[SEQ]7\n");
    host.area().putPage(1, "[SEQ]8\n");
    host.talker().hook = [](std::size_t read) {
        return read != 2;
    };
    host.poll();
    EXPECT_EQ(EventHost::collected(), (Numbers{8}));
}

TEST(EventCollection, CountsOfEachPageAreLogged) {
    EventHost host;
    host.area().put(40, vesktest::eventLines(1, 2));
    host.area().put(0x1000 - 12, "[SEQ]7[TIME]5\n");
    host.area().putPage(1, "[SEQ]8\n[SEQ]1\n");
    host.host().forgetLines();
    host.poll();
    EXPECT_TRUE(inOrder(host.host().messages(),
                        {"CEventBuilder::makeIOCTL(): Event data offset:0",
                         "CZNVEventBuilder: CDW12 = 1278",
                         "CEventBuilder::makeIOCTL(): Event data offset:4088",
                         "EventParser:parseEventBuffer(): Current Event: [SEQ]7[TIME]5",
                         "CEventBuilder::getEventInfo: Number of events in current page: 3",
                         "CEventBuilder::getEventInfo: Total number of events in events map: 3",
                         "CEventBuilder::makeIOCTL(): Event data offset:4096",
                         "CEventBuilder::getEventInfo: Number of events in current page: 1",
                         "CEventBuilder::getEventInfo: Total number of events in events map: 4",
                         "CEventBuilder::makeIOCTL(): Event data offset:8192",
                         "CEventBuilder::getEventInfo: Number of events in current page: 0",
                         "CEventBuilder::getEventInfo: Total number of events in events map: 4",
                         "CEventBuilder::makeIOCTL(): Event data offset:61440",
                         "CEventBuilder::getEventInfo: Number of events in current page: 0",
                         "CEventBuilder::getEventInfo: Total number of events in events map: 4"}));
    EXPECT_EQ(count(host.host().messages(),
                    "CEventBuilder::getEventInfo: Number of events in current page: 0"),
              14U);
}

TEST(EventCollection, EveryRecordIsLoggedInKeyOrder) {
    EventHost host;
    host.poll("[SEQ]12[EVT_ID]22\n");
    host.host().forgetLines();
    host.poll("[SEQ]7[EVT_ID]1F[TIME]1000[DEV_ID]3[MSG]PD_Drive removed_CRITICAL\n");
    EXPECT_TRUE(inOrder(
        host.host().messages(),
        {"CEventBuilder::getEventInfo: Total number of events in events map: 2",
         "CEventBuilder::getEventInfo : Seq no: 7", "CEventBuilder::getEventInfo : Class: 2",
         "CEventBuilder::getEventInfo : Code: 31", "CEventBuilder::getEventInfo : Device ID: 3",
         "CEventBuilder::getEventInfo : Timestamp: 1000",
         "CEventBuilder::getEventInfo : Severity: 6",
         "CEventBuilder::getEventInfo : Event description: Drive removed",
         "CEventBuilder::getEventInfo : Seq no: 12", "CEventBuilder::getEventInfo : Class: 0",
         "CEventBuilder::getEventInfo : Code: 34", "CEventBuilder::getEventInfo : Device ID: 0",
         "CEventBuilder::getEventInfo : Timestamp: 0", "CEventBuilder::getEventInfo : Severity: 0",
         "CEventBuilder::getEventInfo : Event description: "}));
}

TEST(EventCollection, LockIsHeldThroughoutAndReleased) {
    EventHost host;
    std::size_t locked = 0;
    host.talker().hook = [&locked](std::size_t) {
        locked += EventHost::unlocked() ? 0 : 1;
        return true;
    };
    host.poll();
    EXPECT_EQ(locked, 16U);
    EXPECT_TRUE(EventHost::unlocked());
}

TEST(EventCollection, OneReadSetsOffsetAndLengthAndIsSent) {
    EventHost host;
    host.host().forgetLines();
    CZNVEventBuilder command;
    CEventBuilder().makeIOCTL(&command, 0x5000, 0x10);
    EXPECT_EQ(command.getZNVEventOffset(), 0x5000U);
    EXPECT_EQ(command.getZNVEventPageLength(), 0x10U);
    EXPECT_EQ(host.talker().reads, (Reads{{0x5000, 0x10}}));
    EXPECT_TRUE(vesktest::contains(host.host().messages(),
                                   "CEventBuilder::makeIOCTL(): Event data offset:20480"));
}

TEST(EventCollection, DispatcherRunsCommandFiveAndHandsNothingBack) {
    EventHost host;
    host.area().putPage(0, "[SEQ]7\n");
    host.host().forgetLines();
    ZTCommand command{};
    command.commandId = 5;
    EXPECT_EQ(CommandHandler::navigator(command), 0);
    EXPECT_EQ(EventHost::collected(), (Numbers{7}));
    EXPECT_TRUE(
        inOrder(host.host().lines(),
                {"CommandHandler::navigator() ENTRY ",
                 "libVeskNvme: CommandHandler::navigator(): Calling VeskNVMe_GetEvent",
                 "CEventBuilder::CEventBuilder() ENTRY ", "CEventBuilder::buidInfo() ENTRY ",
                 "CEventBuilder::getEventInfo() ENTRY ", "CEventBuilder::makeIOCTL() ENTRY ",
                 "CEventBuilder::makeIOCTL() EXIT ", "CEventBuilder::getEventInfo() EXIT ",
                 "CEventBuilder::buidInfo() EXIT ", "CEventBuilder::~CEventBuilder() ENTRY ",
                 "CEventBuilder::~CEventBuilder() EXIT ", "CommandHandler::navigator() EXIT "}));
}

TEST(EventCollection, BuildersOwnEventIsNotFilled) {
    EventHost host;
    CEventBuilder builder;
    const auto* const event = reinterpret_cast<const unsigned char*>(builder.getObject());
    const std::vector<std::uint8_t> before = vesktest::eventBytes(event);
    host.area().putPage(0, "[SEQ]7[EVT_ID]1F[TIME]1000\n");
    builder.buidInfo(5);
    EXPECT_EQ(static_cast<const void*>(builder.getObject()), static_cast<const void*>(event));
    EXPECT_EQ(vesktest::eventBytes(event), before);
}

TEST(EventCollection, EmptyingKeepsTheMapAndDeletingEndsIt) {
    EventHost host;
    CEventBuilder::destroyEventsInEventsMap();
    EXPECT_EQ(CEventBuilder::events, nullptr) << "nothing to empty";
    host.poll("[SEQ]7\n[SEQ]8\n");
    CEventBuilder::destroyEventsInEventsMap();
    ASSERT_NE(CEventBuilder::events, nullptr);
    EXPECT_TRUE(CEventBuilder::events->empty());
    CEventBuilder::destroyEventsMap();
    EXPECT_EQ(CEventBuilder::events, nullptr);
    CEventBuilder::destroyEventsMap();
    EXPECT_EQ(CEventBuilder::events, nullptr);
}

TEST(EventCollection, NeitherClearingOperationTakesTheLock) {
    EventHost host;
    host.poll("[SEQ]7\n");
    const std::lock_guard<std::mutex> lock(CEventBuilder::mtx);
    CEventBuilder::destroyEventsInEventsMap();
    CEventBuilder::destroyEventsMap();
    EXPECT_EQ(CEventBuilder::events, nullptr);
}

}  // namespace
