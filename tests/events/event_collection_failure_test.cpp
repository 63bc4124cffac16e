// A poll that meets exceptions and lack of memory.
#include "event_host.h"
#include "memory_faults.h"

#include "api/command_handler.h"
#include "api/error_state.h"
#include "events/znv_event_builder.h"

#include <gtest/gtest.h>

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

template <typename Exception>
void throwAtRead(EventHost& host, std::size_t which, const Exception& exception) {
    host.talker().hook = [which, exception](std::size_t read) {
        if (read == which) {
            throw exception;
        }
        return true;
    };
}

TEST(EventCollection, ExceptionsLeaveAfterTheErrorIsSet) {
    EventHost host;
    throwAtRead(host, 3, std::runtime_error("device fault"));
    EXPECT_EQ(thrownBy(host), typeid(std::exception).name()) << "a new exception";
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_TRUE(inOrder(host.host().messages(), {"device fault", "libVeskNVMe FAILED: ERR_FAIL "}));
    EXPECT_TRUE(EventHost::unlocked());
}

TEST(EventCollection, LackOfMemoryLeavesAfterTheErrorIsSet) {
    EventHost host;
    throwAtRead(host, 3, std::bad_array_new_length());
    EXPECT_EQ(thrownBy(host), typeid(std::bad_alloc).name()) << "a new exception";
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_TRUE(inOrder(host.host().messages(),
                        {"std::bad_array_new_length", "libVeskNVMe FAILED: ERR_FAIL "}));
    EXPECT_TRUE(EventHost::unlocked());
}

TEST(EventCollection, WhatIsNoStandardExceptionGoesThrough) {
    EventHost host;
    throwAtRead(host, 3, 42);
    EXPECT_EQ(thrownBy(host), "int");
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
    EXPECT_TRUE(EventHost::unlocked());
}

TEST(EventCollection, WhatWasFoundBeforeAnExceptionStays) {
    EventHost host;
    host.area().putPage(0, "[SEQ]7\n");
    host.area().putPage(5, "[SEQ]8\n");
    throwAtRead(host, 4, std::runtime_error("device fault"));
    thrownBy(host);
    EXPECT_EQ(EventHost::collected(), (Numbers{7}));
    host.talker().hook = nullptr;
    host.poll();
    EXPECT_EQ(EventHost::collected(), (Numbers{7, 8}));
}

TEST(EventCollection, DispatcherCatchesNothing) {
    EventHost host;
    throwAtRead(host, 1, std::runtime_error("device fault"));
    ZTCommand command{};
    command.commandId = 5;
    EXPECT_THROW(CommandHandler::navigator(command), std::exception);
    EXPECT_TRUE(EventHost::unlocked());
}

TEST(EventCollection, BuilderThatCannotBeMadeIsLackOfMemory) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    EventHost host;
    std::string thrown;
    {
        const FailNew fault(AllocationSize::exactly(sizeof(CZNVEventBuilder)));
        thrown = thrownBy(host);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(thrown, typeid(std::bad_alloc).name());
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_TRUE(
        inOrder(host.host().messages(), {"std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL "}));
    EXPECT_TRUE(EventHost::unlocked());
}

TEST(EventCollection, MapThatCannotBeMadeIsLackOfMemoryAndStaysNull) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    EventHost host;
    std::string thrown;
    {
        const FailNew fault(AllocationSize::exactly(sizeof(*CEventBuilder::events)));
        thrown = thrownBy(host);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(thrown, typeid(std::bad_alloc).name());
    EXPECT_EQ(CEventBuilder::events, nullptr);
    EXPECT_TRUE(EventHost::unlocked());
}

// Each allocation of a poll in turn: nothing leaks, and the lock and the error state are as they
// are to be.
TEST(EventCollection, EveryFailedAllocationIsSurvived) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    vesktest::QuietEventHost host;
    host.area().putPage(0, "[SEQ]7[MSG]PD_" + std::string(90, 'd') + "_INFO\n[SEQ]8\n");
    host.area().put(0x1000 - 100, "[SEQ]9[MSG]PD_" + std::string(90, 'd') + "\n");
    bool triggered = true;
    for (unsigned nth = 1; triggered; ++nth) {
        ASSERT_LT(nth, 10000U);
        CEventBuilder::destroyEventsInEventsMap();
        CEventBuilder::destroyEventsMap();
        std::string thrown = "nothing";
        {
            const FailNew fault(AllocationSize::any(), nth);
            try {
                CEventBuilder().getEventInfo();
            } catch (const std::bad_alloc&) {
                thrown = "bad_alloc";
            }
            triggered = fault.triggered();
        }
        EXPECT_TRUE(EventHost::unlocked()) << nth;
    }
    EXPECT_EQ(EventHost::collected(), (Numbers{7, 8, 9}));
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

TEST(EventCollection, RecordWithoutMemoryComesWithTheNextPoll) {
    EventHost host;
    host.area().putPage(0, "[SEQ]7\n[SEQ]8\n[SEQ]9\n");
    {
        const FailMalloc fault(AllocationSize::exactly(64), 2);
        host.poll();
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(EventHost::collected(), (Numbers{7, 9}));
    host.poll();
    EXPECT_EQ(EventHost::collected(), (Numbers{7, 8, 9}));
}

}  // namespace
