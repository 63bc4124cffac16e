// What the disk and event calls log around their dispatch. Their answers are the builders' affair.
#include "discovery_script.h"
#include "noise.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace {

using vesktest::count;
using vesktest::inOrder;
using vesktest::LogLines;
using vesktest::noise;
using vesktest::ScriptedDriver;
using vesktest::TracedHost;

struct DiskCall {
    const char* function;
    UCHAR_ (*call)(UCHAR_, PInfo_Request);
    const char* commandLine;
};

// What stands beside the name of a test.
void PrintTo(const DiskCall& param, std::ostream* stream) {
    *stream << param.function;
}

const DiskCall kCalls[] = {
    {"ZT_PD_GetHDInfo_Ext", ZT_PD_GetHDInfo_Ext,
     "libVeskNvme: CommandHandler::navigator(): Calling ZT_PD_GetHDInfo_Ext API ...."},
    {"ZT_PD_GetConfig", ZT_PD_GetConfig,
     "libVeskNvme: CommandHandler::navigator(): Calling PD_GetConfig"},
    {"ZT_PD_GetHDRaidStatus", ZT_PD_GetHDRaidStatus,
     "libVeskNvme: CommandHandler::navigator(): Calling \"ZT_PD_GetHDRaidStatus API\" ...."},
    {"ZT_PD_GetFreeSpaceInfo", ZT_PD_GetFreeSpaceInfo,
     "libVeskNvme: CommandHandler::navigator(): Calling \"PD_GetFreeSpaceInfo\" API ...."},
    {"ZT_LD_GetInfo", ZT_LD_GetInfo,
     "libVeskNvme: CommandHandler::navigator(): Start of LD_GetInfo case"},
    {"ZT_LD_GetConfig", ZT_LD_GetConfig,
     "libVeskNvme: CommandHandler::navigator(): Calling LD_GetConfig"},
};

class DiskCalls : public ::testing::TestWithParam<DiskCall> {
protected:
    // A request for disk 0, with room for every answer, on memory that was used before.
    PInfo_Request request() {
        m_bytes = noise(16 + 2 * 312, 11);
        m_bytes[1] = 2;
        m_bytes[2] = 0;
        void* const record = m_bytes.data();
        return static_cast<PInfo_Request>(record);
    }

private:
    std::vector<std::uint8_t> m_bytes;
};

INSTANTIATE_TEST_SUITE_P(Calls, DiskCalls, ::testing::ValuesIn(kCalls),
                         [](const ::testing::TestParamInfo<DiskCall>& param) {
                             return std::string(param.param.function);
                         });

}  // namespace

TEST_P(DiskCalls, LogSuccessAndOneDispatch) {
    TracedHost logging;
    GetParam().call(0, request());
    const std::string name = GetParam().function;
    const LogLines lines = logging.lines();
    EXPECT_TRUE(inOrder(lines, {name + "() ENTRY ", "libVeskNVMe SUCESS: ERR_NONE ",
                                "CommandHandler::navigator() ENTRY ", GetParam().commandLine,
                                "CommandHandler::navigator() EXIT ", name + "() EXIT "}));
    EXPECT_EQ(lines.front(), name + "() ENTRY ");
    EXPECT_EQ(lines.back(), name + "() EXIT ");
    EXPECT_EQ(count(lines, "libVeskNVMe SUCESS: ERR_NONE "), 1U);
    EXPECT_EQ(count(lines, GetParam().commandLine), 1U);
}

TEST_P(DiskCalls, SendNothingBeforeSetUp) {
    const vesktest::PrivateHost host;
    const ScriptedDriver driver;
    EXPECT_EQ(GetParam().call(0, request()), 0);
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST_P(DiskCalls, SendNothingWithoutAController) {
    const vesktest::PrivateHost host;
    ScriptedDriver driver;
    vesktest::expectNoAdapter(driver);
    ZNV_Library_Initialize();
    EXPECT_EQ(GetParam().call(0, request()), 0);
    EXPECT_EQ(driver.callCount(), 3U);
}

TEST(SmartCall, LogsSuccessAndItsDispatch) {
    TracedHost logging;
    SMART_INFO_ARRAY health{};
    ZT_PD_GET_SMART_INFO(0, 0, 0, &health);
    const LogLines lines = logging.lines();
    EXPECT_TRUE(
        inOrder(lines, {"ZT_PD_GET_SMART_INFO() ENTRY ", "libVeskNVMe SUCESS: ERR_NONE ",
                        "CommandHandler::navigator() ENTRY ", "CommandHandler::navigator() EXIT ",
                        "ZT_PD_GET_SMART_INFO() EXIT "}));
    EXPECT_EQ(lines.back(), "ZT_PD_GET_SMART_INFO() EXIT ");
}

TEST(LocateCall, LogsSuccessAndItsDispatch) {
    TracedHost logging;
    const ScriptedDriver driver;
    PD_OEM_Data data{};
    EXPECT_EQ(ZT_PD_OEMData(0, &data), 0);
    EXPECT_TRUE(
        inOrder(logging.lines(), {"ZT_PD_OEMData() ENTRY ", "libVeskNVMe SUCESS: ERR_NONE ",
                                  "CommandHandler::navigator() ENTRY ",
                                  "CommandHandler::navigator() EXIT ", "ZT_PD_OEMData() EXIT "}));
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST(EventCall, LogsTheNumberOfEvents) {
    TracedHost logging;
    const ScriptedDriver driver;
    UCHAR_ number = 0xA7;
    std::vector<CEvent> events(64);
    EXPECT_EQ(ZT_EVT_GetEvent(0, 0, &number, events.data()), 0);
    EXPECT_EQ(number, 0);
    EXPECT_TRUE(
        inOrder(logging.lines(), {"ZT_EVT_GetEvent() ENTRY ", "libVeskNVMe SUCESS: ERR_NONE ",
                                  "libVeskNvme: CommandHandler::navigator(): Calling EVT_GETEVENT",
                                  "CommandHandler::navigator() EXIT ",
                                  "VeskNVMeLibrary::ZT_EVT_GetEvent: Number of events returned = 0",
                                  "ZT_EVT_GetEvent() EXIT "}));
    EXPECT_FALSE(vesktest::containsPart(logging.lines(), "SequenceNo: "));
}
