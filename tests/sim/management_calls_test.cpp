// The three functions of the management interface: handles, and for each broken rule a number of
// its own.
#include "raw_host.h"

#include "transport/vmk_mgmt.h"

#include <algorithm>
#include <cstring>

using namespace std::string_literals;
using simtest::adapterOpening;
using simtest::CommandRecord;
using simtest::Connection;
using simtest::kCallbacks;
using simtest::kSecondCallback;
using simtest::listOpening;
using simtest::Opening;
using vesksim::SimulatedHost;

namespace {

int passThrough(std::uint64_t handle) {
    std::uint32_t request = 1;
    CommandRecord record = simtest::locate(0);
    return vmk_MgmtUserCallbackInvokeInt(handle, 0, 17, 2, &request, record.data());
}

using Handles = simtest::RawHost;

TEST_F(Handles, AreUsableUntilTheyAreDestroyed) {
    std::uint64_t first = 0;
    std::uint64_t second = 0;
    ASSERT_EQ(adapterOpening().open(&first), 0);
    ASSERT_EQ(adapterOpening().open(&second), 0);
    EXPECT_NE(first, 0U);
    EXPECT_NE(second, 0U);
    EXPECT_NE(first, second);
    EXPECT_EQ(host().openHandles(), 2U);

    EXPECT_EQ(vmk_MgmtUserDestroy(first), 0);
    EXPECT_EQ(host().openHandles(), 1U);
    EXPECT_EQ(passThrough(first), 1021);
    EXPECT_EQ(vmk_MgmtUserDestroy(first), 1021);
    EXPECT_EQ(passThrough(second), 0);
    EXPECT_EQ(vmk_MgmtUserDestroy(second), 0);
}

TEST_F(Handles, ThatWereNeverGivenOutAreUnknown) {
    EXPECT_EQ(passThrough(0), 1020);
    EXPECT_EQ(passThrough(1), 1020);
    EXPECT_EQ(vmk_MgmtUserDestroy(12345), 1020);
}

TEST_F(Handles, AndHistoryAreForgottenByAHostThatStartsOver) {
    std::uint64_t old = 0;
    ASSERT_EQ(adapterOpening().open(&old), 0);
    EXPECT_EQ(passThrough(old), 0);
    EXPECT_EQ(passThrough(0), 1020);
    EXPECT_EQ(host().commands().size(), 1U);
    EXPECT_EQ(host().refusals().size(), 1U);
    host().load({});
    EXPECT_EQ(host().openHandles(), 0U);
    EXPECT_TRUE(host().commands().empty());
    EXPECT_TRUE(host().refusals().empty());
    EXPECT_EQ(passThrough(old), 1020);
}

TEST_F(Handles, AreNotGivenWhereOpeningIsToFail) {
    host().failOpen("nvmeMgmt-vmhba2", 195887105);
    std::uint64_t handle = 0xA5;
    EXPECT_EQ(adapterOpening().open(&handle), 195887105);
    EXPECT_EQ(handle, 0xA5U);
    host().failOpen("nvmeMgmt-vmhba2", 0);
    EXPECT_EQ(adapterOpening().open(&handle), 0);
    EXPECT_EQ(vmk_MgmtUserDestroy(handle), 0);
}

using Refusals = simtest::RawHost;

void expectRefused(Opening opening, int number) {
    SimulatedHost::instance().forgetHistory();
    std::uint64_t handle = 0xA5A5;
    EXPECT_EQ(opening.open(&handle), number);
    EXPECT_EQ(handle, 0xA5A5U);
    EXPECT_EQ(SimulatedHost::instance().openHandles(), 0U);
    ASSERT_EQ(SimulatedHost::instance().refusals().size(), 1U);
    const std::string start = "vmk_MgmtUserInit (" + std::to_string(number) + "): ";
    EXPECT_EQ(SimulatedHost::instance().refusals()[0].substr(0, start.size()), start);
}

// What is written over a good opening.
struct Spoilt {
    const char* name;
    int number;
    std::size_t offset;
    std::string bytes;
};

const Spoilt kOfAnAdapter[] = {
    {"version", 1004, 0, "\1\0\0\1"s},
    {"vendor", 1005, 36, "v"},
    {"vendor without end", 1005, 42, std::string(26, 'x')},
    {"unknown name", 1006, 18, "9"},
    {"name without end", 1006, 4, std::string(32, 'n')},
    {"empty name", 1006, 4, "\0"s},
    {"one callback", 1007, 68, "\1"},
    {"three callbacks", 1007, 68, "\3"},
    {"location", 1009, kCallbacks, "\0"s},
    {"location of the second", 1009, kSecondCallback, "\2"},
    {"function address", 1010, kCallbacks + 8, "\0\x10"s},
    {"not synchronous", 1011, kCallbacks + 16, "\0"s},
    {"parameter count", 1012, kSecondCallback + 17, "\3"},
    {"callback id", 1013, kCallbacks + 56, "\x11"},
    {"callback id of the second", 1013, kSecondCallback + 56, "\x12"},
    {"size of the first parameter", 1014, kCallbacks + 20, "\x08"},
    {"size of the second parameter", 1014, kSecondCallback + 24, "\x80"},
    {"type of the first parameter", 1015, kCallbacks + 36, "\1"},
    {"type of the second parameter", 1015, kSecondCallback + 40, "\1"},
};

const Spoilt kOfTheList[] = {
    {"two callbacks", 1007, 68, "\2"},
    {"size of the array", 1014, kCallbacks + 24, "\xFF\x13"},
    {"type of the count", 1015, kCallbacks + 36, "\0"s},
};

TEST_F(Refusals, OfOpeningHaveTheirNumberAndGiveNoHandle) {
    const auto check = [](Opening opening, const Spoilt& row) {
        SCOPED_TRACE(row.name);
        std::copy(row.bytes.begin(), row.bytes.end(), opening.bytes.data() + row.offset);
        expectRefused(opening, row.number);
    };
    for (const Spoilt& row : kOfAnAdapter) {
        check(adapterOpening(), row);
    }
    for (const Spoilt& row : kOfTheList) {
        check(listOpening(), row);
    }
    std::uint64_t handle = 0;
    EXPECT_EQ(listOpening().open(&handle), 0);
    EXPECT_EQ(vmk_MgmtUserDestroy(handle), 0);
}

TEST_F(Refusals, OfWrongArgumentsOfOpening) {
    std::uint64_t handle = 0;
    EXPECT_EQ(vmk_MgmtUserInit(nullptr, 0, &handle), 1001);
    EXPECT_EQ(adapterOpening().open(nullptr), 1002);
    Opening opening = adapterOpening();
    opening.withCallbacks = false;
    expectRefused(opening, 1008);
    opening.cookie = 1;
    expectRefused(opening, 1003);
}

TEST_F(Refusals, OfInvoking) {
    const Connection connection;
    std::uint32_t request = 1;
    CommandRecord record = {};
    const auto invoke = [&](std::uint64_t instance, std::uint64_t callback, std::uint32_t count,
                            void* first, void* second) {
        return vmk_MgmtUserCallbackInvokeInt(connection.handle(), instance, callback, count, first,
                                             second);
    };
    EXPECT_EQ(invoke(1, 17, 2, &request, record.data()), 1030);
    EXPECT_EQ(invoke(0, 18, 2, &request, record.data()), 1031);
    EXPECT_EQ(invoke(0, 17, 1, &request, record.data()), 1032);
    EXPECT_EQ(invoke(0, 17, 2, nullptr, record.data()), 1033);
    EXPECT_EQ(invoke(0, 17, 2, &request, nullptr), 1033);
    EXPECT_EQ(invoke(0, 16, 2, &request, record.data()), 1034);
    EXPECT_TRUE(host().commands().empty());
}

TEST_F(Refusals, OfPassThroughRecords) {
    const Connection connection;
    std::uint8_t data[16] = {};
    const auto invoke = [&](std::uint32_t request, std::uint8_t direction, const void* address) {
        CommandRecord record = simtest::locate(0);
        record[81] = direction;
        std::memcpy(record.data() + 104, &address, sizeof(address));
        return vmk_MgmtUserCallbackInvokeInt(connection.handle(), 0, 17, 2, &request,
                                             record.data());
    };
    EXPECT_EQ(invoke(0, 1, data), 1040);
    EXPECT_EQ(invoke(1, 2, data), 1041);
    EXPECT_EQ(invoke(1, 1, nullptr), 1042);
    EXPECT_EQ(invoke(1, 0, data), 1043);
    EXPECT_TRUE(host().commands().empty());
    EXPECT_EQ(invoke(1, 1, data), 0);
    EXPECT_EQ(invoke(1, 0, nullptr), 0);
}

TEST_F(Refusals, OfAnAdapterThatIsGone) {
    Connection connection;
    vesksim::Scenario empty;
    empty.adapters.clear();
    host().update(empty);
    EXPECT_EQ(connection.send(simtest::diskRead(0)).code, 1035);
}

}  // namespace
