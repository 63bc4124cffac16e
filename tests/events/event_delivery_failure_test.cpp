// A delivery that cannot store its mark, or has no memory, or meets a bad file.
#include "event_host.h"
#include "failing_calls.h"
#include "memory_faults.h"

#include "api/error_state.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using vesktest::AllocationSize;
using vesktest::EventHost;
using vesktest::eventLines;
using vesktest::FailingCalls;
using vesktest::FailMalloc;
using vesktest::kMappingIniPath;
using vesktest::numbers;
using Numbers = std::vector<unsigned>;

const char* const kMapping = "[PhysicalDevice]\n1=500\n[EventSequenceNumber]\nSequenceNumber=0\n";

void expectFailedMark(EventHost& host, const vesksim::FailureHandler& handler) {
    host.poll(eventLines(1, 3));
    VeskNVMeLibrary_Error::setErrorCode(0);
    host.host().forgetLines();
    {
        const FailingCalls failing(handler);
        EXPECT_EQ(host.deliverNumbers(), (Numbers{1, 2, 3})) << "the caller gets its events";
    }
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_TRUE(vesktest::contains(host.host().messages(), "libVeskNVMe FAILED: ERR_FAIL "));
    EXPECT_EQ(host.mapping(), kMapping);
    EXPECT_EQ(EventHost::collected(), numbers(1, 3)) << "the map is kept";
    EXPECT_TRUE(EventHost::unlocked());

    VeskNVMeLibrary_Error::setErrorCode(0);
    EXPECT_EQ(host.deliverNumbers(), (Numbers{1, 2, 3})) << "once more, without a poll";
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
    EXPECT_EQ(host.mapping(), "[PhysicalDevice]\n1=500\n[EventSequenceNumber]\nSequenceNumber=3\n");
    EXPECT_EQ(EventHost::collected(), Numbers{});
}

TEST(EventDeliveryFailure, MarkThatCannotBeOpenedForWritingKeepsTheMap) {
    EventHost host(kMapping);
    // Read twice for marks and codes and once for its size, then opened to be written.
    std::size_t openings = 0;
    expectFailedMark(host, [&openings](const char* function, const std::string& path) {
        return vesktest::isOpening(function) && path == kMappingIniPath && ++openings == 6 ? EACCES
                                                                                           : 0;
    });
    EXPECT_EQ(openings, 6U);
}

TEST(EventDeliveryFailure, FullDiskKeepsTheMap) {
    EventHost host(kMapping);
    expectFailedMark(host, [](const char* function, const std::string& path) {
        return vesktest::isWriting(function) && path == kMappingIniPath ? ENOSPC : 0;
    });
}

TEST(EventDeliveryFailure, WithoutAMappingFileDeliversNothingAndKeepsTheMap) {
    EventHost host;
    host.poll(eventLines(1, 3));
    VeskNVMeLibrary_Error::setErrorCode(0);
    EXPECT_EQ(host.deliverNumbers(), Numbers{});
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1) << "there is no mark to store";
    EXPECT_FALSE(host.files().exists(kMappingIniPath));
    EXPECT_EQ(EventHost::collected(), numbers(1, 3));
}

TEST(EventDeliveryFailure, EventsBeyondTheBudgetAreKeptTooWhenTheMarkFails) {
    EventHost host(kMapping);
    host.area().putPage(0, eventLines(1, 60));
    host.area().putPage(1, eventLines(61, 100));
    host.poll();
    {
        const FailingCalls failing([](const char* function, const std::string& path) {
            return vesktest::isWriting(function) && path == kMappingIniPath ? EIO : 0;
        });
        EXPECT_EQ(host.deliverNumbers(), numbers(1, 64));
    }
    EXPECT_EQ(EventHost::collected(), numbers(1, 100));
    EXPECT_EQ(host.deliverNumbers(), numbers(1, 64));
}

TEST(EventDeliveryFailure, EventWithoutMemoryForItsCopyIsSkippedAndIsAFailure) {
    EventHost host(kMapping);
    host.poll(eventLines(1, 3));
    host.host().forgetLines();
    VeskNVMeLibrary_Error::setErrorCode(0);
    Numbers delivered;
    {
        const FailMalloc fault(AllocationSize::exactly(64), 2);
        delivered = host.deliverNumbers();
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(delivered, (Numbers{1, 3}));
    EXPECT_TRUE(vesktest::inOrder(host.host().messages(),
                                  {"CEventBuilder::getObjectVector: Sequence Number pushed: 1",
                                   "std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL ",
                                   "CEventBuilder::getObjectVector: Sequence Number pushed: 3"}));
    EXPECT_FALSE(vesktest::contains(host.host().messages(),
                                    "CEventBuilder::getObjectVector: Sequence Number pushed: 2"));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_EQ(host.mapping(), "[PhysicalDevice]\n1=500\n[EventSequenceNumber]\nSequenceNumber=3\n");
}

TEST(EventDeliveryFailure, LastEventWithoutMemoryComesWithTheNextDelivery) {
    EventHost host(kMapping);
    host.poll(eventLines(1, 3));
    {
        const FailMalloc fault(AllocationSize::exactly(64), 3);
        EXPECT_EQ(host.deliverNumbers(), (Numbers{1, 2}));
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(host.mapping(), "[PhysicalDevice]\n1=500\n[EventSequenceNumber]\nSequenceNumber=2\n");
    host.poll(eventLines(1, 3));
    EXPECT_EQ(host.deliverNumbers(), (Numbers{3}));
}

TEST(EventDeliveryFailure, RowThatEndsWithItsKeyDeliversWhatWasPushedAndKeepsTheRest) {
    const std::string mapping =
        "[PhysicalDevice]\n1=500\n2\n[EventSequenceNumber]\nSequenceNumber=0\n";
    EventHost host(mapping);
    host.poll(eventLines(1, 2) + "[SEQ]3[EVT_ID]2[MSG]PD_event_INFO\n" + eventLines(4, 4));
    host.host().forgetLines();
    VeskNVMeLibrary_Error::setErrorCode(0);
    EXPECT_EQ(host.deliverNumbers(), (Numbers{1, 2}));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_TRUE(vesktest::inOrder(host.host().lines(),
                                  {"CEventBuilder::getObjectVector: Sequence Number pushed: 2",
                                   "libVeskNVMe FAILED: ERR_FAIL ",
                                   "CEventBuilder::getObjectVector() EXIT "}));
    EXPECT_TRUE(vesktest::containsPart(host.host().messages(), "basic_string::substr"));
    EXPECT_TRUE(EventHost::unlocked());
    EXPECT_EQ(host.mapping(), mapping);
    EXPECT_EQ(EventHost::collected(), numbers(1, 4));
    // The row mended, all of them come.
    host.files().writeMappingIni(
        "[PhysicalDevice]\n1=500\n2=600\n[EventSequenceNumber]\nSequenceNumber=0\n");
    EXPECT_EQ(host.deliverNumbers(), (Numbers{1, 2, 3, 4}));
}

TEST(EventDeliveryFailure, MarkThatEndsWithItsKeyDeliversNothingAndKeepsTheEvents) {
    const std::string mapping = "[PhysicalDevice]\n1=500\n[EventSequenceNumber]\nSequenceNumber\n";
    EventHost host(mapping);
    host.poll(eventLines(1, 2));
    VeskNVMeLibrary_Error::setErrorCode(0);
    EXPECT_EQ(host.deliverNumbers(), Numbers{});
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_TRUE(EventHost::unlocked());
    EXPECT_EQ(host.mapping(), mapping);
    EXPECT_EQ(EventHost::collected(), numbers(1, 2));
}

TEST(EventDeliveryFailure, WithoutMemoryForTheListNothingIsLost) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    EventHost host(kMapping);
    host.poll(eventLines(1, 20));
    VeskNVMeLibrary_Error::setErrorCode(0);
    std::vector<IObject*> objects;
    {
        // The list doubles its room: from 16 pointers on to 32.
        const vesktest::FailNew fault(AllocationSize::exactly(32 * sizeof(void*)));
        CEventBuilder().getObjectVector(objects);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(objects.size(), 16U);
    for (IObject* const object : objects) {
        std::free(object);
    }
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_EQ(host.mapping(), kMapping);
    EXPECT_EQ(host.deliverNumbers(), numbers(1, 20));
}

// Each allocation of a delivery in turn. A later delivery has all the events that the failed one
// did not hand out, and nothing leaks.
TEST(EventDeliveryFailure, EveryFailedAllocationIsSurvived) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    bool triggered = true;
    for (unsigned nth = 1; triggered; ++nth) {
        ASSERT_LT(nth, 10000U);
        vesktest::QuietEventHost host(kMapping);
        host.poll(eventLines(1, 3));
        std::vector<IObject*> objects;
        bool thrown = false;
        {
            const vesktest::FailNew fault(AllocationSize::any(), nth);
            try {
                CEventBuilder().getObjectVector(objects);
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
            triggered = fault.triggered();
        }
        EXPECT_TRUE(EventHost::unlocked()) << nth;
        Numbers delivered;
        for (IObject* const object : objects) {
            delivered.push_back(static_cast<_Event*>(static_cast<void*>(object))->sequenceNo);
            std::free(object);
        }
        if (thrown) {
            EXPECT_EQ(EventHost::collected(), (Numbers{1, 2, 3})) << nth;
            EXPECT_EQ(host.deliverNumbers(), (Numbers{1, 2, 3})) << nth;
        } else {
            // A stream swallows lack of memory and ends early, as if a row were missing.
            EXPECT_TRUE(std::is_sorted(delivered.begin(), delivered.end())) << nth;
        }
    }
}

}  // namespace
