// A delivery that cannot store its mark, or has no memory, or meets a bad file, or is killed.
#include "event_host.h"
#include "failing_calls.h"
#include "memory_faults.h"

#include "api/error_state.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using vesktest::AllocationSize;
using vesktest::EventHost;
using vesktest::eventLines;
using vesktest::FailingCalls;
using vesktest::FailMalloc;
using vesktest::kMappingIniPath;
using vesktest::numbers;
using vesktest::QuietEventHost;
using Numbers = std::vector<unsigned>;

const char* const kMapping = "[PhysicalDevice]\n1=500\n[EventSequenceNumber]\nSequenceNumber=0\n";

// Lets each write to the mapping file fail with this error.
vesksim::FailureHandler failingWrites(int error) {
    return [error](const char* function, const std::string& path) {
        return vesktest::isWriting(function) && path == kMappingIniPath ? error : 0;
    };
}

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
    expectFailedMark(host, failingWrites(ENOSPC));
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
        const FailingCalls failing(failingWrites(EIO));
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

// A delivery with one failure in it: what it brought stays in the map under the old mark, and comes
// again.
void expectNothingLost(QuietEventHost& host) {
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_TRUE(EventHost::unlocked());
    EXPECT_EQ(host.mapping(), kMapping);
    EXPECT_EQ(EventHost::collected(), numbers(1, 3));
    EXPECT_EQ(host.deliverNumbers(), numbers(1, 3));
    EXPECT_EQ(host.mapping(), "[PhysicalDevice]\n1=500\n[EventSequenceNumber]\nSequenceNumber=3\n");
}

// Each allocation of a delivery in turn, those of the streams too.
TEST(EventDeliveryFailure, EveryFailedAllocationIsSurvived) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    unsigned nth = 1;
    for (;; ++nth) {
        ASSERT_LT(nth, 10000U);
        SCOPED_TRACE(nth);
        QuietEventHost host(kMapping);
        host.poll(eventLines(1, 3));
        CEventBuilder builder;
        std::vector<IObject*> objects;
        VeskNVMeLibrary_Error::setErrorCode(0);
        bool triggered = false;
        {
            const vesktest::FailNew fault(AllocationSize::any(), nth);
            builder.getObjectVector(objects);
            triggered = fault.triggered();
        }
        for (IObject* const object : objects) {
            std::free(object);
        }
        if (!triggered) {
            EXPECT_EQ(objects.size(), 3U);
            break;
        }
        expectNothingLost(host);
    }
    EXPECT_GT(nth, 20U) << "file buffers, paths, long lines and the list";
}

// Each read of the mapping file in turn: those of the mark, of each row, and of the rewriting.
TEST(EventDeliveryFailure, EveryFailedReadIsSurvived) {
    std::size_t nth = 1;
    for (;; ++nth) {
        ASSERT_LT(nth, 1000U);
        SCOPED_TRACE(nth);
        QuietEventHost host(kMapping);
        host.poll(eventLines(1, 3));
        VeskNVMeLibrary_Error::setErrorCode(0);
        std::size_t reads = 0;
        Numbers delivered;
        {
            const FailingCalls failing([&reads, nth](const std::string& call, const std::string&) {
                return call == "read" && ++reads == nth ? EIO : 0;
            });
            delivered = host.deliverNumbers();
        }
        if (reads < nth) {
            EXPECT_EQ(delivered, numbers(1, 3));
            break;
        }
        expectNothingLost(host);
    }
    EXPECT_GT(nth, 5U);
}

// The process is killed while it stores the mark: what the next start reads.

constexpr int kKilled = 77;

const std::string kRows = "[PhysicalDevice]\n1=500\n[EventSequenceNumber]\nSequenceNumber=";

// Runs a delivery in a child process that ends at the `step`th call on the mapping file, from 1 on,
// before the call is made. True if it came to that.
bool deliveryKilledAt(std::size_t step) {
    const pid_t child = fork();
    if (child == 0) {
        std::size_t calls = 0;
        const FailingCalls killing([&calls, step](const char*, const std::string& path) {
            if (path == kMappingIniPath && ++calls == step) {
                _exit(kKilled);
            }
            return 0;
        });
        std::vector<IObject*> objects;
        CEventBuilder().getObjectVector(objects);
        _exit(0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_TRUE(WEXITSTATUS(status) == kKilled || WEXITSTATUS(status) == 0);
    return WEXITSTATUS(status) == kKilled;
}

// What the first delivery of the next start hands out, of everything that the controller holds.
Numbers deliverAfterRestart(QuietEventHost& host) {
    CEventBuilder::destroyEventsInEventsMap();
    CEventBuilder::destroyEventsMap();
    host.poll();
    return host.deliverNumbers();
}

const struct {
    unsigned from;
    unsigned to;
    const char* before;
    const char* after;
} kRewrites[] = {{5, 6, "5\n", "6\n"},
                 {5, 7, "5", "7"},
                 {9, 10, "9\n", "10"},
                 {9, 10, "9", "10"},
                 {99, 101, "99", "101"},
                 {999, 1001, "999\n", "1001"},
                 {99999, 100005, "99999\n", "100005"},
                 {98, 99, "98\n", "99\n"},
                 {1, 20, "1\n", "20"}};

TEST(EventMark, KilledAtAnyStepLosesNoEvent) {
    for (const auto& rewrite : kRewrites) {
        const Numbers fresh = numbers(rewrite.from + 1, rewrite.to);
        bool killed = true;
        std::size_t oldMarks = 0;
        for (std::size_t step = 1; killed; ++step) {
            SCOPED_TRACE(std::string(rewrite.before) + " at step " + std::to_string(step));
            ASSERT_LT(step, 1000U);
            QuietEventHost host(kRows + rewrite.before);
            host.poll(eventLines(rewrite.from, rewrite.to));
            killed = deliveryKilledAt(step);
            const std::string mapping = host.mapping();
            if (mapping == kRows + rewrite.before) {
                ++oldMarks;
                EXPECT_TRUE(killed);
                EXPECT_EQ(deliverAfterRestart(host), fresh) << "they come again";
            } else {
                EXPECT_EQ(mapping, kRows + rewrite.after) << "old or new, and nothing between";
                EXPECT_EQ(deliverAfterRestart(host), Numbers{}) << "they were delivered";
            }
            EXPECT_EQ(host.mapping(), kRows + rewrite.after);
        }
        // The reads of the mark and of each code, the two openings for the rewrite, and its write.
        EXPECT_GE(oldMarks, fresh.size() + 4);
    }
}

TEST(EventMark, MarkIsWrittenInOneCall) {
    QuietEventHost host(kRows + "9\n");
    host.poll(eventLines(10, 12));
    std::size_t writes = 0;
    {
        const FailingCalls counting([&writes](const char* function, const std::string& path) {
            writes += vesktest::isWriting(function) && path == kMappingIniPath ? 1 : 0;
            return 0;
        });
        EXPECT_EQ(host.deliverNumbers(), (Numbers{10, 11, 12}));
    }
    EXPECT_EQ(writes, 1U) << "so that no half of it can be left behind";
}

}  // namespace
