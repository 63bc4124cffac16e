// Each exported disk call over a controller whose answers make no sense. The callers' records end
// where an answer must end, so that a sanitizer sees a byte too many.
#include "answering_driver.h"
#include "disk_records.h"
#include "private_host.h"

#include "api/error_state.h"
#include "disks/physical_disk_builder.h"
#include "support/logger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>

namespace {

using vesktest::AnsweringDriver;
using vesktest::asRequest;
using vesktest::Bytes;
using vesktest::ControllerPages;
using vesktest::PrivateHost;
using vesktest::request;

struct RequestCall {
    UCHAR_ (*call)(UCHAR_, PInfo_Request);
    std::size_t recordSize;
    bool all;
};

constexpr RequestCall kCalls[] = {
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
    vesktest::put(untouched, 6, {before[6], before[7], before[8], before[9]});
    const auto records = static_cast<Bytes::difference_type>(count * now.recordSize);
    std::copy(before.begin() + 16, before.begin() + 16 + records, untouched.begin() + 16);
    EXPECT_EQ(untouched, before);
}

void callAll(std::uint8_t id) {
    for (const RequestCall& now : kCalls) {
        const Bytes before = request(now.all ? 1 : 2, id, (now.all ? 2 : 1) * now.recordSize);
        Bytes record = before;
        record.shrink_to_fit();
        EXPECT_EQ(now.call(id, asRequest(record)), 0);
        expectSaneAnswer(now, before, record);
    }
    Bytes health = vesktest::noise(2404, 91);
    void* const healthRecord = health.data();
    EXPECT_EQ(ZT_PD_GET_SMART_INFO(0, id, 0, static_cast<PSMART_INFO_ARRAY>(healthRecord)), 0);
    Bytes locate = vesktest::noise(17, 92);
    const Bytes locateBefore = locate;
    void* const locateRecord = locate.data();
    EXPECT_EQ(ZT_PD_OEMData(0, static_cast<PPD_OEM_Data>(locateRecord)), 0);
    EXPECT_EQ(locate, locateBefore);
    unsigned long long used = 0;
    CPhysicalDiskBuilder builder;
    builder.setPDId(id);
    EXPECT_LE(builder.getUsedSpaceForPDinVD(&used), 1);
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
    const AnsweringDriver driver(pages);
    callAll(0);
    Bytes record = request(1, 0, 2 * 248);
    EXPECT_EQ(ZT_PD_GetHDInfo_Ext(0, asRequest(record)), 0);
    EXPECT_EQ(record[6], 0);
    Bytes health = vesktest::noise(2404, 93);
    const Bytes before = health;
    void* const healthRecord = health.data();
    EXPECT_EQ(ZT_PD_GET_SMART_INFO(0, 0, 0, static_cast<PSMART_INFO_ARRAY>(healthRecord)), 0);
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
        const AnsweringDriver driver(pages);
        callAll(0xFF);
        Bytes record = request(1, 0, 2 * 248);
        EXPECT_EQ(ZT_PD_GetHDInfo_Ext(0, asRequest(record)), 0);
        EXPECT_EQ(record[6], 2);
        EXPECT_EQ(Bytes(record.begin() + 16 + 76, record.begin() + 16 + 116),
                  vesktest::with(Bytes(40, 0xFF), 39, {0}));
        EXPECT_EQ(record[16 + 135], 0);
        EXPECT_EQ(record[16 + 143], 0);
    }
    stg::lout.stopDebug();
}

TEST(HostileReply, AllZerosAreEmptyDisks) {
    const PrivateHost host;
    const ControllerPages pages = pagesOf(0);
    const AnsweringDriver driver(pages);
    callAll(0);
    Bytes record = request(1, 0, 2 * 312);
    EXPECT_EQ(ZT_LD_GetInfo(0, asRequest(record)), 0);
    EXPECT_EQ(record[6], 2);
}

TEST(HostileReply, RandomBytesGiveSaneAnswers) {
    const PrivateHost host;
    for (std::uint32_t seed = 0; seed < 1000; ++seed) {
        SCOPED_TRACE(seed);
        const ControllerPages pages = randomPages(seed);
        const AnsweringDriver driver(pages);
        callAll(static_cast<std::uint8_t>(seed));
        ASSERT_FALSE(::testing::Test::HasFailure());
    }
}

TEST(HostileReply, RandomBytesAreLogged) {
    const PrivateHost host;
    stg::lout.startDebug();
    for (std::uint32_t seed = 5000; seed < 5050; ++seed) {
        SCOPED_TRACE(seed);
        const ControllerPages pages = randomPages(seed);
        const AnsweringDriver driver(pages);
        callAll(static_cast<std::uint8_t>(seed));
        ASSERT_FALSE(::testing::Test::HasFailure());
    }
    stg::lout.stopDebug();
}

TEST(HostileReply, RequestOfRandomBytesIsAnsweredOrRefused) {
    const PrivateHost host;
    const ControllerPages pages = vesktest::presentPages();
    const AnsweringDriver driver(pages);
    std::mt19937 random(7);
    for (int i = 0; i < 1000; ++i) {
        for (const RequestCall& now : kCalls) {
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
