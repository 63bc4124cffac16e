// The process is killed while it stores the mark: what the next start reads.
#include "event_host.h"
#include "failing_calls.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using vesktest::eventLines;
using vesktest::FailingCalls;
using vesktest::kMappingIniPath;
using vesktest::numbers;
using vesktest::QuietEventHost;
using Numbers = std::vector<unsigned>;

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

// The rewrite from one mark to the next, killed at each step.
struct Rewrite {
    unsigned from;
    unsigned to;
    const char* before;
    const char* after;
};

class EventMark : public ::testing::TestWithParam<Rewrite> {};

INSTANTIATE_TEST_SUITE_P(Rewrites, EventMark,
                         ::testing::Values(Rewrite{5, 6, "5\n", "6\n"}, Rewrite{5, 7, "5", "7"},
                                           Rewrite{9, 10, "9\n", "10"}, Rewrite{9, 10, "9", "10"},
                                           Rewrite{99, 101, "99", "101"},
                                           Rewrite{999, 1001, "999\n", "1001"},
                                           Rewrite{99999, 100005, "99999\n", "100005"},
                                           Rewrite{98, 99, "98\n", "99\n"},
                                           Rewrite{1, 20, "1\n", "20"}));

TEST_P(EventMark, KilledAtAnyStepLosesNoEvent) {
    const Rewrite rewrite = GetParam();
    const Numbers fresh = numbers(rewrite.from + 1, rewrite.to);
    bool killed = true;
    std::size_t step = 1;
    std::size_t oldMarks = 0;
    for (; killed; ++step) {
        SCOPED_TRACE(step);
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

TEST(EventMarkOfFailures, EveryWriteThatFailsLeavesTheOldMark) {
    for (const Rewrite& rewrite : {Rewrite{5, 6, "5\n", "6\n"}, Rewrite{9, 10, "9\n", "10"},
                                   Rewrite{99, 101, "99", "101"}}) {
        QuietEventHost host(kRows + rewrite.before);
        host.poll(eventLines(rewrite.from, rewrite.to));
        {
            const FailingCalls failing([](const char* function, const std::string& path) {
                return vesktest::isWriting(function) && path == kMappingIniPath ? EIO : 0;
            });
            EXPECT_EQ(host.deliverNumbers(), numbers(rewrite.from + 1, rewrite.to));
        }
        EXPECT_EQ(host.mapping(), kRows + rewrite.before);
        EXPECT_EQ(deliverAfterRestart(host), numbers(rewrite.from + 1, rewrite.to));
        EXPECT_EQ(host.mapping(), kRows + rewrite.after);
    }
}

TEST(EventMarkOfFailures, MarkIsWrittenInOneCall) {
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
