// The exported disk calls over a controller that answers anything: each allocation of a call fails
// in turn, commands have no record, answers make no sense. A result code goes with each failure,
// the next call is as if nothing had been, and a sanitizer looks for what is lost. The callers'
// records end where an answer must end, so that it sees a byte too many.
#include "answering_controller.h"
#include "memory_faults.h"
#include "private_host.h"

#include "api/command_handler.h"
#include "api/error_state.h"
#include "disks/physical_disk_builder.h"
#include "support/logger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iterator>
#include <new>
#include <ostream>
#include <random>
#include <string>

namespace {

using namespace vesktest;

int callHealth(Bytes& bytes, UCHAR_ pdId = 0) {
    void* const record = bytes.data();
    return ZT_PD_GET_SMART_INFO(0, pdId, 0, static_cast<PSMART_INFO_ARRAY>(record));
}

int callLocate(Bytes& bytes) {
    void* const record = bytes.data();
    return ZT_PD_OEMData(0, static_cast<PPD_OEM_Data>(record));
}

struct DiskCall {
    const char* name;
    std::function<int(Bytes&)> call;
    Bytes before;
    Bytes after;
    bool mayThrow;  // std::bad_alloc
};

void PrintTo(const DiskCall& call, std::ostream* stream) {
    *stream << call.name;
}

template <UCHAR_ (*function)(UCHAR_, PInfo_Request)>
int callWithRequest(Bytes& bytes) {
    return function(1, asRequest(bytes));
}

DiskCall requestCall(const char* name, int (*call)(Bytes&), std::uint8_t type, std::size_t size,
                     std::initializer_list<std::uint8_t> header, const Bytes& records) {
    const Bytes before = request(type, 0, size);
    return DiskCall{name, call, before, answered(before, header, records), false};
}

// No exported call, but open to hosts all the same; its eight bytes are the number.
int callUsedSpace(Bytes& bytes) {
    unsigned long long used = 0;
    VeskNVMeLibrary_Error::setErrorCode(0);
    {
        CPhysicalDiskBuilder builder;
        builder.setPDId(1);
        builder.getUsedSpaceForPDinVD(&used);
    }
    std::memcpy(bytes.data(), &used, sizeof used);
    return VeskNVMeLibrary_Error::getErrorCode();
}

const DiskCall kCalls[] = {
    requestCall("ZT_PD_GetHDInfo_Ext", callWithRequest<ZT_PD_GetHDInfo_Ext>, 1, 2 * 248,
                {2, 0, 248, 0}, joined(diskInfo(), secondDiskInfo())),
    requestCall("ZT_PD_GetConfig", callWithRequest<ZT_PD_GetConfig>, 1, 2 * 8, {2, 0, 8, 0},
                joined(diskConfig(), secondDiskConfig())),
    requestCall("ZT_PD_GetHDRaidStatus", callWithRequest<ZT_PD_GetHDRaidStatus>, 2, 8,
                {1, 0, 0xFF, 0xFF}, {0x78, 0x56, 0, 0, 0x20, 0, 0, 0}),
    requestCall("ZT_PD_GetFreeSpaceInfo", callWithRequest<ZT_PD_GetFreeSpaceInfo>, 2, 16,
                {1, 0, 0xFF, 0xFF}, {0x34, 0x12, 0, 0, 0, 2, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8}),
    requestCall("ZT_LD_GetInfo", callWithRequest<ZT_LD_GetInfo>, 1, 2 * 312, {2, 0, 0x38, 0x01},
                joined(volumeInfo(), secondVolumeInfo())),
    requestCall("ZT_LD_GetConfig", callWithRequest<ZT_LD_GetConfig>, 1, 2 * 24, {2, 0, 24, 0},
                joined(volumeConfig(), secondVolumeConfig())),
    DiskCall{"ZT_PD_GET_SMART_INFO", [](Bytes& bytes) { return callHealth(bytes); },
             noise(2404, 81), healthRecord(), false},
    DiskCall{"getUsedSpaceForPDinVD",
             callUsedSpace,
             Bytes(8, 0),
             {0x60, 0xE3, 0x16, 0, 0, 0, 0, 0},
             false},
    DiskCall{"ZT_PD_OEMData", callLocate, noise(17, 82), noise(17, 82), true},
};

// What a call that ended in std::bad_alloc has for a result.
constexpr int kThrew = -1;

class AllocationSweep : public ::testing::TestWithParam<DiskCall> {
protected:
    AllocationSweep() : controller(pages) {
        // What is made once per process is made here, on a call that succeeds.
        expectSuccess();
    }

    void expectSuccess() {
        Bytes bytes = GetParam().before;
        EXPECT_EQ(GetParam().call(bytes), 0);
        EXPECT_EQ(bytes, GetParam().after);
    }

    // Lets the nth allocation fail, for each n that there is. `check` gets each result and
    // what the caller has then.
    template <typename Fault, typename Check>
    void sweep(AllocationSize size, Check check) {
        bool triggered = true;
        for (unsigned nth = 1; triggered; ++nth) {
            SCOPED_TRACE("allocation " + std::to_string(nth));
            ASSERT_LT(nth, 100000U);
            Bytes bytes = GetParam().before;
            int result = kThrew;
            try {
                const Fault fault(size, nth);
                result = GetParam().call(bytes);
                triggered = fault.triggered();
            } catch (const std::bad_alloc&) {
                EXPECT_TRUE(GetParam().mayThrow);
            }
            if (triggered) {
                check(result, bytes);
                expectUnused(bytes);
            } else {
                EXPECT_EQ(result, 0);
                EXPECT_GT(nth, 1U) << "the sweep saw nothing";
            }
            expectSuccess();
            if (HasFailure()) {
                return;
            }
        }
    }

    // Of a request the bytes that no answer touches.
    static void expectUnused(const Bytes& bytes) {
        if (GetParam().before.size() > 17 && GetParam().before.size() != 2404) {
            const Bytes& before = GetParam().before;
            EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 6),
                      Bytes(before.begin(), before.begin() + 6));
            EXPECT_EQ(Bytes(bytes.begin() + 10, bytes.begin() + 16),
                      Bytes(before.begin() + 10, before.begin() + 16));
        }
    }

    PrivateHost host;
    ControllerPages pages = presentPages();
    AnsweringController controller;
};

INSTANTIATE_TEST_SUITE_P(Calls, AllocationSweep, ::testing::ValuesIn(kCalls),
                         [](const ::testing::TestParamInfo<DiskCall>& param) {
                             return std::string(param.param.name);
                         });

// The talker's request for one command has 24 bytes; without it the command fails, which is no
// error.
TEST_P(AllocationSweep, EachRecordAndBufferThatCannotBeHadIsAFailure) {
    sweep<FailMalloc>(AllocationSize::atLeast(25),
                      [](int result, const Bytes&) { EXPECT_EQ(result, 1); });
}

TEST_P(AllocationSweep, EachRequestToTheDriverThatCannotBeHadIsAFailedCommand) {
    // A virtual disk that reads as zeros has no members to divide its size by.
    const bool divides = std::string(GetParam().name) == "getUsedSpaceForPDinVD";
    sweep<FailMalloc>(AllocationSize{0, 24},
                      [divides](int result, const Bytes&) { EXPECT_EQ(result, divides ? 1 : 0); });
}

TEST_P(AllocationSweep, EachObjectThatCannotBeHadIsAFailure) {
    if (!kCanFailNew) {
        GTEST_SKIP() << kWhyNewCannotFail;
    }
    const bool throws = GetParam().mayThrow;
    sweep<FailNew>(AllocationSize::any(),
                   [throws](int result, const Bytes&) { EXPECT_EQ(result, throws ? kThrew : 1); });
}

TEST_P(AllocationSweep, DispatcherThatCannotBeMadeChangesNothing) {
    if (!kCanFailNew) {
        GTEST_SKIP() << kWhyNewCannotFail;
    }
    CommandHandler::destroyMe();
    Bytes bytes = GetParam().before;
    {
        const FailNew fault(AllocationSize::exactly(sizeof(CommandHandler)));
        EXPECT_EQ(GetParam().call(bytes), 0);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(bytes, GetParam().after);
    EXPECT_EQ(CommandHandler::m_pCommandHandlerInstance, nullptr);
}

// A lost line of the log is no failure, and the answer is whole then.
TEST_P(AllocationSweep, WithTheLogOnAnAllocationIsAFailureOrALostLine) {
    const auto check = [](int result, const Bytes& bytes) {
        if (result == 0) {
            EXPECT_EQ(bytes, GetParam().after);
        } else {
            EXPECT_TRUE(result == 1 || result == kThrew) << result;
        }
    };
    stg::lout.startDebug();
    expectSuccess();
    sweep<FailMalloc>(AllocationSize::atLeast(25), check);
    if (kCanFailNew) {
        sweep<FailNew>(AllocationSize::any(), check);
    }
    stg::lout.stopDebug();
}

TEST_P(AllocationSweep, NoMemoryAtAllIsAFailure) {
    if (!kCanFailNew) {
        GTEST_SKIP() << kWhyNewCannotFail;
    }
    Bytes bytes = GetParam().before;
    int result = kThrew;
    try {
        const FailMalloc noMalloc(AllocationSize::any(), 1, Repeat::kEachLater);
        const FailNew noNew(AllocationSize::any(), 1, Repeat::kEachLater);
        result = GetParam().call(bytes);
    } catch (const std::bad_alloc&) {
        EXPECT_TRUE(GetParam().mayThrow);
    }
    EXPECT_EQ(result, GetParam().mayThrow ? kThrew : 1);
    expectSuccess();
}

// The arrays that constructors of builders make; the objects themselves are smaller. Blinking has
// no builder of records.
TEST_P(AllocationSweep, BuilderWithoutItsDisksGathersNothing) {
    if (!kCanFailNew) {
        GTEST_SKIP() << kWhyNewCannotFail;
    }
    const bool hasBuilder = !GetParam().mayThrow;
    Bytes bytes = GetParam().before;
    {
        const FailNew fault(AllocationSize::atLeast(700));
        EXPECT_EQ(GetParam().call(bytes), hasBuilder ? 1 : 0);
        EXPECT_EQ(fault.triggered(), hasBuilder);
    }
    const std::size_t size = GetParam().before.size();
    if (size == 2404) {
        EXPECT_EQ(bytes, GetParam().before);
    } else if (size > 17) {
        EXPECT_EQ(bytes[6], 0);
        EXPECT_EQ(bytes[7], 0);
    }
    expectSuccess();
}

// Without the log, whose texts could be of the same size.
class CommandRecordFailure : public ::testing::Test {
protected:
    void SetUp() override {
        if (!kCanFailNew) {
            GTEST_SKIP() << kWhyNewCannotFail;
        }
    }

    // With the nth command of the call left without a record.
    static int callWithout(unsigned nth, UCHAR_ (*call)(UCHAR_, PInfo_Request), Bytes& bytes) {
        const FailNew fault(AllocationSize::exactly(sizeof(CCommandDword)), nth);
        const int result = call(0, asRequest(bytes));
        EXPECT_TRUE(fault.triggered());
        return result;
    }

    PrivateHost host;
    ControllerPages pages = presentPages();
    AnsweringController controller{pages};
};

TEST_F(CommandRecordFailure, LeavesOutADiskOfTwo) {
    struct Case {
        UCHAR_ (*call)(UCHAR_, PInfo_Request);
        unsigned nth;
        Bytes remaining;
    };
    const Case cases[] = {{ZT_PD_GetHDInfo_Ext, 1, secondDiskInfo()},
                          {ZT_PD_GetConfig, 2, diskConfig()},
                          {ZT_LD_GetInfo, 1, secondVolumeInfo()},
                          {ZT_LD_GetConfig, 2, volumeConfig()}};
    for (const Case& now : cases) {
        Bytes record = request(1, 0, 2 * 312);
        const Bytes before = record;
        EXPECT_EQ(callWithout(now.nth, now.call, record), 1);
        EXPECT_EQ(record, answered(before, {1, 0, 0xFF, 0xFF}, now.remaining));
    }
    EXPECT_EQ(controller.commandCount(), 4U);
}

TEST_F(CommandRecordFailure, LeavesOutTheOneDiskThatWasAskedFor) {
    for (auto* const call : {ZT_PD_GetHDRaidStatus, ZT_PD_GetFreeSpaceInfo}) {
        Bytes record = request(2, 0, 16);
        const Bytes before = record;
        EXPECT_EQ(callWithout(1, call, record), 1);
        EXPECT_EQ(record, answered(before, {0, 0, 0xFF, 0xFF}, kNone));
    }
    EXPECT_EQ(controller.commandCount(), 0U);
}

// Health sends two commands.
TEST_F(CommandRecordFailure, LeavesHealthOfZerosOrNone) {
    Bytes record = noise(2404, 65);
    const Bytes before = record;
    {
        const FailNew fault(AllocationSize::exactly(sizeof(CCommandDword)));
        EXPECT_EQ(callHealth(record), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(record, before);
    EXPECT_EQ(controller.commandCount(), 1U);
    {
        const FailNew fault(AllocationSize::exactly(sizeof(CCommandDword)), 2);
        EXPECT_EQ(callHealth(record), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(record, with(with(with(healthRecord(), 71, {0}), 151, {0}), 159, {0}));
    EXPECT_EQ(controller.commandCount(), 2U);
}

struct RequestCall {
    UCHAR_ (*call)(UCHAR_, PInfo_Request);
    std::size_t recordSize;
    bool all;
};

constexpr RequestCall kRequestCalls[] = {
    {ZT_PD_GetHDInfo_Ext, 248, true},  {ZT_PD_GetConfig, 8, true},
    {ZT_PD_GetHDRaidStatus, 8, false}, {ZT_PD_GetFreeSpaceInfo, 16, false},
    {ZT_LD_GetInfo, 312, true},        {ZT_LD_GetConfig, 24, true},
};

// What holds whatever the controller said.
void expectSaneAnswer(const RequestCall& now, const Bytes& before, const Bytes& after) {
    const unsigned count = after[6] + after[7] * 256U;
    EXPECT_LE(count, now.all ? 2U : 1U);
    EXPECT_EQ(after[8] + after[9] * 256U, count > 1 ? now.recordSize : 0xFFFFU);
    Bytes untouched = after;
    put(untouched, 6, {before[6], before[7], before[8], before[9]});
    const auto records = static_cast<Bytes::difference_type>(count * now.recordSize);
    std::copy(before.begin() + 16, before.begin() + 16 + records, untouched.begin() + 16);
    EXPECT_EQ(untouched, before);
}

void callAll(std::uint8_t id) {
    for (const RequestCall& now : kRequestCalls) {
        const Bytes before = request(now.all ? 1 : 2, id, (now.all ? 2 : 1) * now.recordSize);
        Bytes record = before;
        record.shrink_to_fit();
        EXPECT_EQ(now.call(id, asRequest(record)), 0);
        expectSaneAnswer(now, before, record);
    }
    Bytes health = noise(2404, 91);
    EXPECT_EQ(callHealth(health, id), 0);
    Bytes locate = noise(17, 92);
    const Bytes locateBefore = locate;
    EXPECT_EQ(callLocate(locate), 0);
    EXPECT_EQ(locate, locateBefore);
    unsigned long long used = 0;
    CPhysicalDiskBuilder builder;
    builder.setPDId(id);
    if (builder.getUsedSpaceForPDinVD(&used) != 0) {
        EXPECT_EQ(used, 0U);
    }
}

ControllerPages pagesOf(std::uint8_t byte) {
    const Bytes page(4096, byte);
    return ControllerPages{{page, page}, {page, page}, Bytes(512, byte)};
}

// All bytes possible, present or absent as chance has it.
ControllerPages randomPages(std::uint32_t seed) {
    std::mt19937 random(seed);
    ControllerPages pages = pagesOf(0);
    for (Bytes* const page :
         {&pages.disks[0], &pages.disks[1], &pages.volumes[0], &pages.volumes[1], &pages.health}) {
        for (std::uint8_t& byte : *page) {
            byte = static_cast<std::uint8_t>(random());
        }
        if (page != &pages.health) {
            (*page)[4] = random() % 4 == 0 ? (*page)[4] : 0;
        }
        if (random() % 2 == 0) {
            (*page)[12] = static_cast<std::uint8_t>(random() % 2 == 0 ? 0 : 15);  // raid mode
            (*page)[13] = static_cast<std::uint8_t>(random() % 3);                // members
        }
    }
    return pages;
}

TEST(HostileReply, AllOnesAreAbsentDisks) {
    const PrivateHost host;
    const ControllerPages pages = pagesOf(0xFF);
    const AnsweringController controller(pages);
    callAll(0);
    Bytes record = request(1, 0, 2 * 248);
    EXPECT_EQ(ZT_PD_GetHDInfo_Ext(0, asRequest(record)), 0);
    EXPECT_EQ(record[6], 0);
    Bytes health = noise(2404, 93);
    const Bytes before = health;
    EXPECT_EQ(callHealth(health), 0);
    EXPECT_EQ(health, before);
}

TEST(HostileReply, AllOnesOfPresentDisksFillTheirFields) {
    const PrivateHost host;
    ControllerPages pages = pagesOf(0xFF);
    for (Bytes* const page :
         {&pages.disks[0], &pages.disks[1], &pages.volumes[0], &pages.volumes[1]}) {
        (*page)[4] = 0;
    }
    stg::lout.startDebug();
    {
        const AnsweringController controller(pages);
        callAll(0xFF);
        Bytes record = request(1, 0, 2 * 248);
        EXPECT_EQ(ZT_PD_GetHDInfo_Ext(0, asRequest(record)), 0);
        EXPECT_EQ(record[6], 2);
        EXPECT_EQ(Bytes(record.begin() + 16 + 76, record.begin() + 16 + 116),
                  with(Bytes(40, 0xFF), 39, {0}));
        EXPECT_EQ(record[16 + 135], 0);
        EXPECT_EQ(record[16 + 143], 0);
    }
    stg::lout.stopDebug();
}

TEST(HostileReply, AllZerosAreEmptyDisks) {
    const PrivateHost host;
    const ControllerPages pages = pagesOf(0);
    const AnsweringController controller(pages);
    callAll(0);
    Bytes record = request(1, 0, 2 * 312);
    EXPECT_EQ(ZT_LD_GetInfo(0, asRequest(record)), 0);
    EXPECT_EQ(record[6], 2);
}

void expectSaneAnswersOf(std::uint32_t firstSeed, std::uint32_t seeds) {
    for (std::uint32_t seed = firstSeed; seed < firstSeed + seeds; ++seed) {
        SCOPED_TRACE(seed);
        const ControllerPages pages = randomPages(seed);
        const AnsweringController controller(pages);
        callAll(static_cast<std::uint8_t>(seed));
        ASSERT_FALSE(::testing::Test::HasFailure());
    }
}

TEST(HostileReply, RandomBytesGiveSaneAnswers) {
    const PrivateHost host;
    expectSaneAnswersOf(0, 1000);
    stg::lout.startDebug();
    expectSaneAnswersOf(5000, 50);
    stg::lout.stopDebug();
}

TEST(HostileReply, RequestOfRandomBytesIsAnsweredOrRefused) {
    const PrivateHost host;
    const ControllerPages pages = presentPages();
    const AnsweringController controller(pages);
    std::mt19937 random(7);
    for (int i = 0; i < 1000; ++i) {
        for (const RequestCall& now : kRequestCalls) {
            Bytes before(16 + 2 * 312, 0);
            for (std::uint8_t& byte : before) {
                byte = static_cast<std::uint8_t>(random());
            }
            Bytes record = before;
            const int result = now.call(static_cast<UCHAR_>(random()), asRequest(record));
            const bool known = before[1] == 2 || (now.all && before[1] == 1);
            EXPECT_EQ(result, known ? 0 : now.all ? 1 : 6);
            expectSaneAnswer(now, before, record);
            EXPECT_EQ(record[6] != 0, known);
        }
    }
}

}  // namespace
