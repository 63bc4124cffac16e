// What an operator is told of events that are lost or come twice, in docs/events.md, where no other
// test pins it.
#include "event_host.h"
#include "failing_calls.h"
#include "memory_faults.h"

#include "api/error_state.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using vesktest::eventLines;
using vesktest::FailingCalls;
using vesktest::kMappingIniPath;
using vesktest::numbers;
using vesktest::QuietEventHost;
using Numbers = std::vector<unsigned>;

std::string mappingWithMark(const std::string& mark) {
    return "[PhysicalDevice]\n1=500\n2=600\n[EventSequenceNumber]\nSequenceNumber=" + mark;
}

TEST(EventLoss, PageThatCouldNotBeReadOnceIsPassedByALaterOne) {
    QuietEventHost host(mappingWithMark("0\n"));
    host.area().putPage(0, eventLines(1, 3));
    host.area().putPage(1, eventLines(4, 6));
    host.talker().hook = [](std::size_t read) {
        return read != 1;
    };
    host.poll();
    EXPECT_EQ(host.deliverNumbers(), numbers(4, 6));
    host.poll();
    EXPECT_EQ(host.deliverNumbers(), Numbers{}) << "1 to 3 are below the mark";
}

TEST(EventLoss, LastPageThatCouldNotBeReadComesWithTheNextPoll) {
    QuietEventHost host(mappingWithMark("0\n"));
    host.area().putPage(0, eventLines(1, 3));
    host.area().putPage(1, eventLines(4, 6));
    host.talker().hook = [](std::size_t read) {
        return read != 2;
    };
    host.poll();
    EXPECT_EQ(host.deliverNumbers(), numbers(1, 3));
    host.poll();
    EXPECT_EQ(host.deliverNumbers(), numbers(4, 6));
}

TEST(EventLoss, CutLineWhoseEndCouldNotBeReadIsPassedByALaterOne) {
    const std::string cut = eventLines(3, 3);
    const std::size_t begin = vesktest::kEventPageSize - (cut.size() - 4);
    QuietEventHost host(mappingWithMark("0\n"));
    host.area().putPage(0, std::string(begin - vesktest::kEventTextStart, '\n'));
    host.area().putPage(0, eventLines(1, 2));
    host.area().put(begin, cut);
    host.area().putPage(1, eventLines(4, 6));
    host.talker().hook = [](std::size_t read) {
        return read != 2;
    };
    host.poll();
    EXPECT_EQ(host.deliverNumbers(), (Numbers{1, 2, 4, 5, 6}));
    host.poll();
    EXPECT_EQ(host.deliverNumbers(), Numbers{}) << "3 is below the mark";
}

struct Delivery {
    unsigned newest;  // the controller holds the numbers from 1 on
    Numbers delivered;
    std::string mark;  // what stands in the file behind it
};

// One bad mark, and the deliveries that follow.
void expectMarks(const std::string& mark, const std::vector<Delivery>& deliveries) {
    QuietEventHost host(mappingWithMark(mark));
    for (const Delivery& delivery : deliveries) {
        for (unsigned page = 0; page <= delivery.newest / 100; ++page) {
            host.area().putPage(
                page, eventLines(100 * page + 1, std::min(delivery.newest, 100 * page + 100)));
        }
        host.poll();
        EXPECT_EQ(host.deliverNumbers(), delivery.delivered);
        EXPECT_EQ(host.mapping(), mappingWithMark(delivery.mark));
    }
}

// Three bytes behind "=", one of them the number: the rest is filled up with NUL, and reads as 0.
// All events come again, and the number that stands in front of an old digit then jumps.
TEST(EventLoss, MoreThanOneLineEndBehindTheMarkDoublesEventsAndThenLosesThem) {
    const std::string filledUp = std::string(2, '\0') + "8";
    for (const char* const mark : {"7\r\n", "7 \n", "7  ", "7\n\n"}) {
        SCOPED_TRACE(::testing::PrintToString(mark));
        expectMarks(
            mark,
            {{8, {8}, filledUp}, {15, numbers(1, 15), "158"}, {160, numbers(159, 160), "160"}});
    }
}

// With more than 64 events behind a mark of 0, the same 64 come each time.
TEST(EventLoss, MarkThatStaysAtZeroBringsTheOldest64ForEver) {
    const std::string filledUp = std::string(4, '\0') + "64";
    expectMarks("100  \n", {{102, numbers(101, 102), std::string(3, '\0') + "102"},
                            {102, numbers(1, 64), filledUp},
                            {102, numbers(1, 64), filledUp}});
}

// Lets the opening of the mapping file with this number fail once, and delivers.
Numbers deliverWithFailedOpening(QuietEventHost& host, std::size_t which) {
    std::size_t openings = 0;
    const FailingCalls failing([&openings, which](const char* call, const std::string& path) {
        return vesktest::isOpening(call) && path == kMappingIniPath && ++openings == which ? EMFILE
                                                                                           : 0;
    });
    return host.deliverNumbers();
}

TEST(EventLoss, MappingFileThatCannotBeOpenedForARowDropsThatEvent) {
    QuietEventHost host(mappingWithMark("0\n"));
    host.poll(eventLines(1, 3));
    VeskNVMeLibrary_Error::setErrorCode(0);
    EXPECT_EQ(deliverWithFailedOpening(host, 3), (Numbers{1, 3}));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
    host.poll();
    EXPECT_EQ(host.deliverNumbers(), Numbers{});
}

TEST(EventLoss, MappingFileThatCannotBeOpenedForTheMarkBringsEverythingAgain) {
    QuietEventHost host(mappingWithMark("3\n"));
    host.poll(eventLines(1, 5));
    VeskNVMeLibrary_Error::setErrorCode(0);
    EXPECT_EQ(deliverWithFailedOpening(host, 1), numbers(1, 5));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
    EXPECT_EQ(host.mapping(), mappingWithMark("5\n"));
}

// Lines that never end are read until there is no memory.
TEST(EventLoss, EndlessMappingFileFailsTheDeliveryAndLosesNothing) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    QuietEventHost host;
    std::filesystem::create_symlink("/dev/zero", host.files().path(kMappingIniPath));
    host.poll(eventLines(1, 3));
    VeskNVMeLibrary_Error::setErrorCode(0);
    {
        const vesktest::FailNew fault(vesktest::AllocationSize::atLeast(1 << 20));
        EXPECT_EQ(host.deliverNumbers(), Numbers{});
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    std::filesystem::remove(host.files().path(kMappingIniPath));
    host.files().writeMappingIni(mappingWithMark("0\n"));
    EXPECT_EQ(host.deliverNumbers(), numbers(1, 3));
}

}  // namespace
