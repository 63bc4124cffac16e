// A poll: the event log becomes the event map, also when it meets exceptions and lack of memory.
#include "event_host.h"
#include "memory_faults.h"
#include "owned_events.h"
#include "virtual_slot.h"

#include "api/builder_type_factory.h"
#include "api/command_handler.h"
#include "api/error_state.h"
#include "events/znv_event_builder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

namespace {

using vesktest::AllocationSize;
using vesktest::count;
using vesktest::EventHost;
using vesktest::FailMalloc;
using vesktest::FailNew;
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

TEST(EventCollection, ReadsAll16PagesWhateverTheyHoldAndWhateverTheCommand) {
    EventHost host;
    CEventBuilder builder;
    EXPECT_EQ(CEventBuilder::events, nullptr) << "until the first poll";
    for (const int id : {5, 0, 6, -1, 99}) {
        host.talker().reads.clear();
        host.talker().codes.clear();
        builder.buidInfo(id);
        ASSERT_NE(CEventBuilder::events, nullptr);
        EXPECT_EQ(EventHost::collected(), Numbers{});
        EXPECT_EQ(host.talker().reads, kSixteenPages);
        EXPECT_EQ(host.talker().codes, std::vector<ULONG_INT>(16, 1));
    }
    host.area().putPage(15, "[SEQ]4\n");
    host.poll();
    EXPECT_EQ(EventHost::collected(), (Numbers{4})) << "pages of nothing do not end the poll";
}

TEST(EventCollection, CarryReadFollowsEachPageThatEndsInARecord) {
    EventHost host;
    host.area().put(0x2000 - 9, "[SEQ]7[TIME]56\n");
    host.area().putPage(2, "[SEQ]8\n");
    host.area().put(0x10000 - 6, "[SEQ]9");
    host.poll();
    EXPECT_EQ(EventHost::collected(), (Numbers{7, 8})) << "nothing but NUL lies behind the area";
    EXPECT_EQ((*CEventBuilder::events)[7]->timeStamp, 56U);
    Reads expected = kSixteenPages;
    expected.insert(expected.begin() + 2, {0x1FF8, 0x10});
    expected.push_back({0xFFF8, 0x10});
    EXPECT_EQ(host.talker().reads, expected);

    host.talker().reads.clear();
    host.area().clear();
    host.area().put(0, "XXXXXXXX\nXXXXXXXX\n");
    host.poll();
    EXPECT_EQ(host.talker().reads, kSixteenPages) << "the next poll begins afresh";
    EXPECT_EQ(EventHost::collected(), (Numbers{7, 8}));
}

TEST(EventCollection, LaterPollAddsAndKeepsInTheOrderOfUnsignedNumbers) {
    EventHost host;
    host.poll("[SEQ]4294967295\n[SEQ]5[TIME]1\n[SEQ]0\n");
    host.poll("[SEQ]5[TIME]9\n[SEQ]2147483648\n");
    EXPECT_EQ(EventHost::collected(), (Numbers{0, 5, 2147483648, 4294967295}));
    EXPECT_EQ((*CEventBuilder::events)[5]->timeStamp, 1U);
}

TEST(EventCollection, FailedReadsAreNotSeen) {
    EventHost host;
    for (unsigned page = 0; page < 16; ++page) {
        host.area().putPage(page, "[SEQ]" + std::to_string(page + 10) + "\n");
    }
    host.area().put(0x3000 - 6, "[SEQ]7\n");
    // The second page, the carry read behind the third, and the last page.
    host.talker().hook = [](std::size_t read) {
        return read != 2 && read != 4 && read != 17;
    };
    host.poll();
    EXPECT_EQ(EventHost::collected(),
              (Numbers{10, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24}));
    EXPECT_EQ(host.talker().reads.size(), 17U);
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
    const std::lock_guard<std::mutex> lock(CEventBuilder::mtx);  // which neither takes
    CEventBuilder::destroyEventsInEventsMap();
    ASSERT_NE(CEventBuilder::events, nullptr);
    EXPECT_TRUE(CEventBuilder::events->empty());
    for (int i = 0; i < 2; ++i) {
        CEventBuilder::destroyEventsMap();
        EXPECT_EQ(CEventBuilder::events, nullptr);
    }
}

// The type of what a poll throws.
std::string thrownBy(EventHost& host) {
    VeskNVMeLibrary_Error::setErrorCode(0);
    host.host().forgetLines();
    try {
        host.poll();
    } catch (const std::exception& error) {
        return typeid(error).name();
    } catch (int) {
        return "int";
    }
    return "nothing";
}

// The device command of the read with this number, from 1 on, throws.
void throwAtRead(EventHost& host, std::size_t which, const std::function<void()>& thrower) {
    host.talker().hook = [which, thrower](std::size_t read) {
        if (read == which) {
            thrower();
        }
        return true;
    };
}

void throwDeviceFault() {
    throw std::runtime_error("device fault");
}

TEST(EventCollection, ExceptionsLeaveAfterTheErrorIsSet) {
    const struct {
        std::function<void()> thrower;
        std::string thrown;  // a new exception, of the plain type
        INTEGER error;
        const char* line;
    } kRows[] = {
        {throwDeviceFault, typeid(std::exception).name(), 1, "device fault"},
        {[] { throw std::bad_array_new_length(); }, typeid(std::bad_alloc).name(), 1,
         "std::bad_array_new_length"},
        // What is no standard exception goes through.
        {[] { throw 42; }, "int", 0, nullptr},
    };
    for (const auto& row : kRows) {
        EventHost host;
        throwAtRead(host, 3, row.thrower);
        EXPECT_EQ(thrownBy(host), row.thrown);
        EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), row.error);
        if (row.line != nullptr) {
            EXPECT_TRUE(
                inOrder(host.host().messages(), {row.line, "libVeskNVMe FAILED: ERR_FAIL "}));
        }
        EXPECT_TRUE(EventHost::unlocked());
    }
}

TEST(EventCollection, WhatWasFoundBeforeAnExceptionStays) {
    EventHost host;
    host.area().putPage(0, "[SEQ]7\n");
    host.area().putPage(5, "[SEQ]8\n");
    throwAtRead(host, 4, throwDeviceFault);
    EXPECT_THROW(host.poll(), std::exception);
    EXPECT_EQ(EventHost::collected(), (Numbers{7}));
    host.talker().hook = nullptr;
    host.poll();
    EXPECT_EQ(EventHost::collected(), (Numbers{7, 8}));
}

TEST(EventCollection, DispatcherCatchesNothing) {
    EventHost host;
    throwAtRead(host, 1, throwDeviceFault);
    ZTCommand command{};
    command.commandId = 5;
    EXPECT_THROW(CommandHandler::navigator(command), std::exception);
    EXPECT_TRUE(EventHost::unlocked());
}

// Each allocation of a poll in turn: it throws, the error is set, and the poll that follows finds
// what the failed one did not.
TEST(EventCollection, EveryFailedAllocationIsSurvived) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    vesktest::QuietEventHost host;
    host.area().putPage(0, "[SEQ]7[MSG]PD_" + std::string(90, 'd') + "_INFO\n[SEQ]8\n");
    host.area().put(0x1000 - 100, "[SEQ]9[MSG]PD_" + std::string(90, 'd') + "\n");
    CEventBuilder builder;
    bool triggered = true;
    unsigned nth = 1;
    for (; triggered; ++nth) {
        ASSERT_LT(nth, 10000U);
        SCOPED_TRACE(nth);
        CEventBuilder::destroyEventsInEventsMap();
        CEventBuilder::destroyEventsMap();
        VeskNVMeLibrary_Error::setErrorCode(0);
        bool thrown = false;
        {
            const FailNew fault(AllocationSize::any(), nth);
            try {
                builder.getEventInfo();
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
            triggered = fault.triggered();
        }
        EXPECT_EQ(thrown, triggered);
        EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), triggered ? 1 : 0);
        EXPECT_TRUE(EventHost::unlocked());
        host.poll();
        EXPECT_EQ(EventHost::collected(), (Numbers{7, 8, 9}));
    }
    // Builder, command, map, three nodes of the map and the cut line are allocated at the least.
    EXPECT_GT(nth, 7U);
}

// What is above a record that there was no memory for is left to the next poll too, so that no
// delivery moves the mark past it. The log has wrapped: higher numbers stand in front.
TEST(EventCollection, RecordWithoutMemoryComesWithTheNextPoll) {
    for (unsigned nth = 1; nth <= 8; ++nth) {
        SCOPED_TRACE(nth);
        EventHost host("[PhysicalDevice]\n1=500\n[EventSequenceNumber]\nSequenceNumber=0\n");
        host.area().putPage(0, vesktest::eventLines(7, 8));
        host.area().putPage(2, vesktest::eventLines(1, 4));
        host.area().putPage(3, vesktest::eventLines(5, 6));
        {
            const FailMalloc fault(AllocationSize::exactly(64), nth);
            host.poll();
            EXPECT_TRUE(fault.triggered());
        }
        Numbers delivered = host.deliverNumbers();
        host.poll();
        for (const unsigned number : host.deliverNumbers()) {
            delivered.push_back(number);
        }
        EXPECT_EQ(delivered, vesktest::numbers(1, 8)) << "each once, and in order";
    }
}

TEST(EventCollection, PageWithoutABufferIsAPageWithoutText) {
    EventHost host;
    host.area().putPage(0, "[SEQ]7\n");
    host.area().putPage(1, "[SEQ]8\n");
    VeskNVMeLibrary_Error::setErrorCode(0);
    host.host().forgetLines();
    {
        const FailMalloc fault(AllocationSize::exactly(4096));
        host.poll();
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(EventHost::collected(), (Numbers{8}));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_TRUE(inOrder(host.host().messages(),
                        {"CZNVEventBuilder::buildCommand(): std::bad_alloc",
                         "libVeskNVMe FAILED: ERR_FAIL ",
                         "CEventBuilder::getEventInfo: Number of events in current page: 0",
                         "CEventBuilder::getEventInfo: Number of events in current page: 1"}));
}

TEST(EventCollection, PollWithoutAnyBufferEndsAsAnEmptyOne) {
    EventHost host;
    host.area().putPage(0, "[SEQ]7\n");
    {
        const FailMalloc fault(AllocationSize::exactly(4096), 1, vesktest::Repeat::kEachLater);
        host.poll();
        EXPECT_EQ(fault.seen(), 16U);
    }
    EXPECT_EQ(EventHost::collected(), Numbers{});
    EXPECT_EQ(count(host.host().messages(), "CZNVEventBuilder::buildCommand(): std::bad_alloc"),
              16U);
    EXPECT_EQ(count(host.host().messages(),
                    "CEventBuilder::getEventInfo: Number of events in current page: 0"),
              16U);
}

}  // namespace
