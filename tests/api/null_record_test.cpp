// Calls with a null record pointer.
#include "api/command_handler.h"
#include "api/error_state.h"
#include "scripted_driver.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace {

using vesktest::LogLines;
using vesktest::TracedHost;

struct NullCall {
    const char* function;
    UCHAR_ (*call)();
    const char* line;
};

// What stands beside the name of a test.
void PrintTo(const NullCall& param, std::ostream* stream) {
    *stream << param.function;
}

UCHAR_ s_count = 0xA7;

const NullCall kCalls[] = {
    {"ZT_Adapter_GetInfo", [] { return ZT_Adapter_GetInfo(0, &s_count, nullptr); },
     "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: pAdapterInfo is NULL "},
    {"ZT_Adapter_Get_OEM_Data", [] { return ZT_Adapter_Get_OEM_Data(0, nullptr); },
     "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_Get_OEM_Data p_data is NULL"},
    {"ZT_PD_GetHDInfo_Ext", [] { return ZT_PD_GetHDInfo_Ext(0, nullptr); },
     "libVeskNvme: VeskNVMeLibrary::ZT_PD_GetHDInfo_Ext pHdInfoReq is NULL"},
    {"ZT_PD_GetConfig", [] { return ZT_PD_GetConfig(0, nullptr); },
     "libVeskNvme: VeskNVMeLibrary::ZT_PD_GetConfig pHdConfigReq is NULL"},
    {"ZT_PD_GetHDRaidStatus", [] { return ZT_PD_GetHDRaidStatus(0, nullptr); },
     "libVeskNvme: VeskNVMeLibrary::ZT_PD_GetHDRaidStatus pHdRaidStatusReq is NULL"},
    {"ZT_PD_GetFreeSpaceInfo", [] { return ZT_PD_GetFreeSpaceInfo(0, nullptr); },
     "libVeskNvme: VeskNVMeLibrary::ZT_PD_GetFreeSpaceInfo pHdFreeSpaceReq is NULL"},
    {"ZT_PD_GET_SMART_INFO", [] { return ZT_PD_GET_SMART_INFO(0, 0, 0, nullptr); },
     "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO pHdSmartReq is NULL"},
    {"ZT_PD_OEMData", [] { return ZT_PD_OEMData(0, nullptr); },
     "libVeskNvme: VeskNVMeLibrary::ZT_PD_OEMData p_pdOEMCommand is NULL"},
    {"ZT_LD_GetInfo", [] { return ZT_LD_GetInfo(0, nullptr); },
     "libVeskNvme: VeskNVMeLibrary::ZT_LD_GetInfo pVDInfo is NULL"},
    {"ZT_LD_GetConfig", [] { return ZT_LD_GetConfig(0, nullptr); },
     "libVeskNvme: VeskNVMeLibrary::ZT_LD_GetConfig pLdConfigReq is NULL"},
    {"ZT_EVT_GetEvent", [] { return ZT_EVT_GetEvent(0, 0, &s_count, nullptr); },
     "libVeskNvme: VeskNVMeLibrary::ZT_EVT_GetEvent pEvent is NULL"},
};

class NullRecord : public ::testing::TestWithParam<NullCall> {};

INSTANTIATE_TEST_SUITE_P(Calls, NullRecord, ::testing::ValuesIn(kCalls),
                         [](const ::testing::TestParamInfo<NullCall>& param) {
                             return std::string(param.param.function);
                         });

}  // namespace

TEST_P(NullRecord, Gives150AndStoresIt) {
    EXPECT_EQ(GetParam().call(), 150);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 150);
}

TEST_P(NullRecord, LogsItsLineAndDispatchesNothing) {
    TracedHost logging;
    const vesktest::ScriptedDriver driver;
    GetParam().call();
    const std::string name = GetParam().function;
    EXPECT_EQ(logging.lines(),
              (LogLines{name + "() ENTRY ", "libVeskNVMe FAILED: UNKOWN ERROR :%d 150",
                        GetParam().line, name + "() EXIT "}));
    EXPECT_EQ(CommandHandler::m_pCommandHandlerInstance, nullptr);
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST_P(NullRecord, LeavesTheCountAsItWas) {
    GetParam().call();
    EXPECT_EQ(s_count, 0xA7);
}

TEST_P(NullRecord, ReplacesAnEarlierFailure) {
    VeskNVMeLibrary_Error::setErrorCode(6);
    EXPECT_EQ(GetParam().call(), 150);
}
