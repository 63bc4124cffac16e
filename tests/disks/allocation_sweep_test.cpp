// Each exported disk call with each of its allocations failing in turn: the result code that goes
// with it, no more, and the next call is as if nothing had been. A sanitizer looks for what is
// lost.
#include "answering_driver.h"
#include "disk_records.h"
#include "memory_faults.h"
#include "private_host.h"

#include "api/command_handler.h"
#include "api/error_state.h"
#include "disks/physical_disk_builder.h"
#include "support/logger.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <iterator>
#include <new>
#include <ostream>
#include <string>

namespace {

using vesktest::AllocationSize;
using vesktest::answered;
using vesktest::AnsweringDriver;
using vesktest::asRequest;
using vesktest::Bytes;
using vesktest::ControllerPages;
using vesktest::FailMalloc;
using vesktest::FailNew;
using vesktest::joined;
using vesktest::PrivateHost;
using vesktest::request;

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

int callHealth(Bytes& bytes) {
    void* const record = bytes.data();
    return ZT_PD_GET_SMART_INFO(0, 0, 0, static_cast<PSMART_INFO_ARRAY>(record));
}

int callLocate(Bytes& bytes) {
    void* const record = bytes.data();
    return ZT_PD_OEMData(0, static_cast<PPD_OEM_Data>(record));
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
                {2, 0, 248, 0}, joined(vesktest::diskInfo(), vesktest::secondDiskInfo())),
    requestCall("ZT_PD_GetConfig", callWithRequest<ZT_PD_GetConfig>, 1, 2 * 8, {2, 0, 8, 0},
                joined(vesktest::diskConfig(), vesktest::secondDiskConfig())),
    requestCall("ZT_PD_GetHDRaidStatus", callWithRequest<ZT_PD_GetHDRaidStatus>, 2, 8,
                {1, 0, 0xFF, 0xFF}, {0x78, 0x56, 0, 0, 0x20, 0, 0, 0}),
    requestCall("ZT_PD_GetFreeSpaceInfo", callWithRequest<ZT_PD_GetFreeSpaceInfo>, 2, 16,
                {1, 0, 0xFF, 0xFF}, {0x34, 0x12, 0, 0, 0, 2, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8}),
    requestCall("ZT_LD_GetInfo", callWithRequest<ZT_LD_GetInfo>, 1, 2 * 312, {2, 0, 0x38, 0x01},
                joined(vesktest::volumeInfo(), vesktest::secondVolumeInfo())),
    requestCall("ZT_LD_GetConfig", callWithRequest<ZT_LD_GetConfig>, 1, 2 * 24, {2, 0, 24, 0},
                joined(vesktest::volumeConfig(), vesktest::secondVolumeConfig())),
    DiskCall{"ZT_PD_GET_SMART_INFO", callHealth, vesktest::noise(2404, 81),
             vesktest::healthRecord(), false},
    DiskCall{"getUsedSpaceForPDinVD",
             callUsedSpace,
             Bytes(8, 0),
             {0x60, 0xE3, 0x16, 0, 0, 0, 0, 0},
             false},
    DiskCall{"ZT_PD_OEMData", callLocate, vesktest::noise(17, 82), vesktest::noise(17, 82), true},
};

// What a call that ended in std::bad_alloc has for a result.
constexpr int kThrew = -1;

class AllocationSweep : public ::testing::TestWithParam<DiskCall> {
protected:
    AllocationSweep() : driver(pages) {
        // What is made once per process is made here, on a call that succeeds.
        expectSuccess();
    }

    void startLog() {
        stg::lout.startDebug();
        expectSuccess();
    }

    void expectSuccess() {
        Bytes bytes = GetParam().before;
        EXPECT_EQ(GetParam().call(bytes), 0);
        EXPECT_EQ(bytes, GetParam().after);
    }

    // Lets the nth allocation fail, for each n that there is. `check` gets each result.
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
                check(result);
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
    ControllerPages pages = vesktest::presentPages();
    AnsweringDriver driver;
};

INSTANTIATE_TEST_SUITE_P(Calls, AllocationSweep, ::testing::ValuesIn(kCalls),
                         [](const ::testing::TestParamInfo<DiskCall>& param) {
                             return std::string(param.param.name);
                         });

// The talker's request for one command has 24 bytes; without it the command fails, which is no
// error.
TEST_P(AllocationSweep, EachRecordAndBufferThatCannotBeHadIsAFailure) {
    sweep<FailMalloc>(AllocationSize::atLeast(25), [](int result) { EXPECT_EQ(result, 1); });
}

TEST_P(AllocationSweep, EachRequestToTheDriverThatCannotBeHadIsAFailedCommand) {
    // A virtual disk that reads as zeros has no members to divide its size by.
    const bool divides = std::string(GetParam().name) == "getUsedSpaceForPDinVD";
    sweep<FailMalloc>(AllocationSize{0, 24},
                      [divides](int result) { EXPECT_EQ(result, divides ? 1 : 0); });
}

TEST_P(AllocationSweep, EachObjectThatCannotBeHadIsAFailure) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    const bool throws = GetParam().mayThrow;
    sweep<FailNew>(AllocationSize::any(),
                   [throws](int result) { EXPECT_EQ(result, throws ? kThrew : 1); });
}

TEST_P(AllocationSweep, DispatcherThatCannotBeMadeChangesNothing) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
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

TEST_P(AllocationSweep, EachMallocThatFailsIsSurvivedWithTheLogOn) {
    startLog();
    sweep<FailMalloc>(AllocationSize::any(),
                      [](int result) { EXPECT_TRUE(result == 0 || result == 1) << result; });
    stg::lout.stopDebug();
}

TEST_P(AllocationSweep, EachNewThatFailsIsSurvivedWithTheLogOn) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    startLog();
    sweep<FailNew>(AllocationSize::any(), [](int result) {
        EXPECT_TRUE(result == 0 || result == 1 || (result == kThrew && GetParam().mayThrow))
            << result;
    });
    stg::lout.stopDebug();
}

TEST_P(AllocationSweep, NoMemoryAtAllIsAFailure) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    Bytes bytes = GetParam().before;
    int result = kThrew;
    try {
        const FailMalloc noMalloc(AllocationSize::any(), 1, vesktest::Repeat::kEachLater);
        const FailNew noNew(AllocationSize::any(), 1, vesktest::Repeat::kEachLater);
        result = GetParam().call(bytes);
    } catch (const std::bad_alloc&) {
        EXPECT_TRUE(GetParam().mayThrow);
    }
    EXPECT_EQ(result, GetParam().mayThrow ? kThrew : 1);
    expectSuccess();
}

// The last call, which blinks, has no builder of records.
class BuilderSweep : public AllocationSweep {};

INSTANTIATE_TEST_SUITE_P(Calls, BuilderSweep,
                         ::testing::ValuesIn(std::begin(kCalls), std::end(kCalls) - 1),
                         [](const ::testing::TestParamInfo<DiskCall>& param) {
                             return std::string(param.param.name);
                         });

// The arrays that constructors of builders make; the objects themselves are smaller.
TEST_P(BuilderSweep, BuilderWithoutItsDisksGathersNothing) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    Bytes bytes = GetParam().before;
    {
        const FailNew fault(AllocationSize::atLeast(700));
        EXPECT_EQ(GetParam().call(bytes), 1);
        EXPECT_TRUE(fault.triggered());
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

}  // namespace
