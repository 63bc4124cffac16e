// Each broken rule of the management interface is answered with its own number.
#include "raw_host.h"

#include "sim/host/simulated_host.h"
#include "transport/vmk_mgmt.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <ostream>

using simtest::adapterOpening;
using simtest::CommandRecord;
using simtest::Connection;
using simtest::listOpening;
using simtest::Opening;
using simtest::put;
using vesksim::SimulatedHost;

namespace {

struct OpenCase {
    const char* name;
    int expected;
    std::function<void(Opening&)> spoil;
};

void PrintTo(const OpenCase& openCase, std::ostream* stream) {
    *stream << openCase.name;
}

// Makes a change at an offset of the signature or of the callback table.
std::function<void(Opening&)> inSignature(std::size_t offset, std::uint64_t value,
                                          std::size_t width) {
    return [=](Opening& opening) {
        put(opening.signature.data() + offset, value, width);
    };
}
std::function<void(Opening&)> inTable(std::size_t offset, std::uint64_t value, std::size_t width) {
    return [=](Opening& opening) {
        put(opening.table.data() + offset, value, width);
    };
}

class RefusedOpening : public ::testing::TestWithParam<OpenCase> {};

TEST_P(RefusedOpening, OfAnAdapterHasItsNumberAndGivesNoHandle) {
    SimulatedHost::instance().load({});
    Opening opening = adapterOpening();
    GetParam().spoil(opening);
    std::uint64_t handle = 0xA5A5;
    EXPECT_EQ(opening.open(&handle), GetParam().expected);
    EXPECT_EQ(handle, 0xA5A5U);
    EXPECT_EQ(SimulatedHost::instance().openHandles(), 0U);
    ASSERT_EQ(SimulatedHost::instance().refusals().size(), 1U);
    EXPECT_EQ(SimulatedHost::instance().refusals()[0].find(
                  "vmk_MgmtUserInit (" + std::to_string(GetParam().expected) + "): "),
              0U);
}

INSTANTIATE_TEST_SUITE_P(
    Sim, RefusedOpening,
    ::testing::Values(OpenCase{"Cookie", 1003,
                               [](Opening& opening) {
                                   opening.cookie = 1;
                               }},
                      OpenCase{"Version", 1004, inSignature(0, 0x01000001, 4)},
                      OpenCase{"Vendor", 1005, inSignature(36, 'v', 1)},
                      OpenCase{"VendorWithoutEnd", 1005,
                               [](Opening& opening) {
                                   std::memset(opening.signature.data() + 42, 'x', 26);
                               }},
                      OpenCase{"UnknownName", 1006, inSignature(18, '9', 1)},
                      OpenCase{"NameWithoutEnd", 1006,
                               [](Opening& opening) {
                                   std::memset(opening.signature.data() + 4, 'n', 32);
                               }},
                      OpenCase{"EmptyName", 1006, inSignature(4, 0, 1)},
                      OpenCase{"OneCallback", 1007, inSignature(68, 1, 4)},
                      OpenCase{"ThreeCallbacks", 1007, inSignature(68, 3, 4)},
                      OpenCase{"NoTable", 1008,
                               [](Opening& opening) {
                                   opening.withTable = false;
                               }},
                      OpenCase{"Location", 1009, inTable(0, 0, 4)},
                      OpenCase{"LocationOfSecondRow", 1009, inTable(64, 2, 4)},
                      OpenCase{"FunctionAddress", 1010, inTable(8, 0x1000, 8)},
                      OpenCase{"NotSynchronous", 1011, inTable(16, 0, 1)},
                      OpenCase{"ParameterCount", 1012, inTable(64 + 17, 3, 1)},
                      OpenCase{"CallbackId", 1013, inTable(56, 17, 8)},
                      OpenCase{"CallbackIdOfSecondRow", 1013, inTable(64 + 56, 18, 8)},
                      OpenCase{"SizeOfFirstParameter", 1014, inTable(20, 8, 4)},
                      OpenCase{"SizeOfSecondParameter", 1014, inTable(64 + 24, 128, 4)},
                      OpenCase{"TypeOfFirstParameter", 1015, inTable(36, 1, 4)},
                      OpenCase{"TypeOfSecondParameter", 1015, inTable(64 + 40, 1, 4)}),
    [](const ::testing::TestParamInfo<OpenCase>& param) { return param.param.name; });

TEST(Refusals, NullArgumentsOfOpening) {
    SimulatedHost::instance().load({});
    std::uint64_t handle = 0;
    EXPECT_EQ(vmk_MgmtUserInit(nullptr, 0, &handle), 1001);
    EXPECT_EQ(adapterOpening().open(nullptr), 1002);
}

TEST(Refusals, TheListHasOneCallbackOfItsOwn) {
    SimulatedHost::instance().load({});
    std::uint64_t handle = 0;
    Opening opening = listOpening();
    put(opening.signature.data() + 68, 2, 4);
    EXPECT_EQ(opening.open(&handle), 1007);
    opening = listOpening();
    put(opening.table.data() + 24, 5119, 4);
    EXPECT_EQ(opening.open(&handle), 1014);
    opening = listOpening();
    put(opening.table.data() + 36, 0, 4);
    EXPECT_EQ(opening.open(&handle), 1015);
    EXPECT_EQ(listOpening().open(&handle), 0);
    EXPECT_EQ(vmk_MgmtUserDestroy(handle), 0);
}

TEST(Refusals, Invoking) {
    SimulatedHost::instance().load({});
    Connection connection;
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
    EXPECT_TRUE(SimulatedHost::instance().commands().empty());
}

TEST(Refusals, PassThroughRecords) {
    SimulatedHost::instance().load({});
    Connection connection;
    std::uint8_t data[16] = {};
    const auto invoke = [&](std::uint32_t request, std::uint8_t direction, const void* address) {
        CommandRecord record = simtest::locate(0);
        record[81] = direction;
        put(record.data() + 104, reinterpret_cast<std::uintptr_t>(address), 8);
        return vmk_MgmtUserCallbackInvokeInt(connection.handle(), 0, 17, 2, &request,
                                             record.data());
    };
    EXPECT_EQ(invoke(0, 1, data), 1040);
    EXPECT_EQ(invoke(1, 2, data), 1041);
    EXPECT_EQ(invoke(1, 1, nullptr), 1042);
    EXPECT_EQ(invoke(1, 0, data), 1043);
    EXPECT_TRUE(SimulatedHost::instance().commands().empty());
    EXPECT_EQ(invoke(1, 1, data), 0);
    EXPECT_EQ(invoke(1, 0, nullptr), 0);
}

TEST(Refusals, AnAdapterThatIsGone) {
    SimulatedHost::instance().load({});
    Connection connection;
    vesksim::Scenario empty;
    empty.adapters.clear();
    SimulatedHost::instance().update(empty);
    EXPECT_EQ(connection.send(simtest::diskRead(0)).code, 1035);
}

}  // namespace
