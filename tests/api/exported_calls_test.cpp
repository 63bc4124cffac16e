// The exported calls that take a record, without a controller: null records, one dispatch, the log
// lines around it; and the error state that they return.
#include "api/command_handler.h"
#include "api/error_state.h"
#include "discovery_script.h"
#include "noise.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace {

using vesktest::count;
using vesktest::inOrder;
using vesktest::LogLines;
using vesktest::noise;
using vesktest::ScriptedDriver;
using vesktest::TracedHost;
using ErrorStateClass = VeskNVMeLibrary_Error;

const char* const kSuccess = "libVeskNVMe SUCESS: ERR_NONE ";

}  // namespace

// ---- The error state ----

namespace {

struct ErrorCode {
    INTEGER code;
    INTEGER number;  // that hosts receive
    const char* line;
};

const ErrorCode kErrorCodes[] = {
    {ERR_NONE, 0, "libVeskNVMe SUCESS: ERR_NONE "},
    {ERR_FAIL, 1, "libVeskNVMe FAILED: ERR_FAIL "},
    {ERR_REQ_OUT_OF_RANGE, 5, "libVeskNVMe FAILED: ERR_REQ_OUT_OF_RANGE "},
    {ERR_INVALID_REQUEST, 6, "libVeskNVMe FAILED: ERR_INVALID_REQUEST "},
    {ERR_INVALID_ADAPTER_ID, 13, "libVeskNVMe FAILED: ERR_INVALID_ADAPTER_ID "},
    {ERR_NOT_SUPPORTED, 19, "libVeskNVMe FAILED: ERR_NOT_SUPPORTED "},
    {ERR_RESCANING, 187, "libVeskNVMe FAILED: ERR_RESCANING "},
    {2, 2, "libVeskNVMe FAILED: UNKOWN ERROR :%d 2"},
    {255, 255, "libVeskNVMe FAILED: UNKOWN ERROR :%d 255"},
    {256, 256, "libVeskNVMe FAILED: UNKOWN ERROR :%d 256"},
    {-1, -1, "libVeskNVMe FAILED: UNKOWN ERROR :%d -1"},
    {2147483647, 2147483647, "libVeskNVMe FAILED: UNKOWN ERROR :%d 2147483647"},
    {-2147483647 - 1, -2147483647 - 1, "libVeskNVMe FAILED: UNKOWN ERROR :%d -2147483648"},
    {ERR_NONE, 0, "libVeskNVMe SUCESS: ERR_NONE "},
};

}  // namespace

TEST(ErrorState, LogsTheLineOfEachCode) {
    TracedHost logging;
    EXPECT_EQ(ErrorStateClass::getErrorCode(), 0) << "clear at load";
    for (const ErrorCode& row : kErrorCodes) {
        logging.forgetLines();
        ErrorStateClass::setErrorCode(row.code);
        EXPECT_EQ(logging.lines(), LogLines{row.line});
        EXPECT_EQ(ErrorStateClass::getErrorCode(), row.number);
        EXPECT_EQ(ErrorStateClass::getErrorCode(), row.number) << "reading does not clear";
    }
}

TEST(ErrorState, NullArgumentIsLoggedAsUnknown) {
    TracedHost logging;
    ErrorStateClass::setErrorCode(ERR_NULL_ARGUMENT);
    EXPECT_EQ(logging.lines(), LogLines{"libVeskNVMe FAILED: UNKOWN ERROR :%d 150"});
    EXPECT_EQ(ErrorStateClass::getErrorCode(), 150);
}

// ---- The calls with a record ----

namespace {

UCHAR_ s_count = 0xA7;

template <typename Record>
Record* as(void* record) {
    return static_cast<Record*>(record);
}

// The eleven. The steps are what the dispatcher says between its trace lines, and what the call
// says behind them.
struct RecordCall {
    const char* name;
    UCHAR_ (*call)(void* record);
    const char* nullLine;
    LogLines steps;
};

const RecordCall kRecordCalls[] = {
    {"ZT_Adapter_GetInfo()",
     [](void* record) { return ZT_Adapter_GetInfo(0, &s_count, as<CController>(record)); },
     "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: pAdapterInfo is NULL ",
     // The count is a raw 0, which cuts its line.
     {"libVeskNvme: CommandHandler::navigator(): Calling ZT_Adapter_GetInfo API .... ",
      "BuilderTypeFactory::getBuilder() ENTRY ", "BuilderTypeFactory::getBuilder() EXIT ",
      "libVeskNvme: CommandHandler::navigator(): end of ZT_Adapter_GetInfo",
      "CommandHandler::navigator() EXIT ",
      "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: Count: ",
      "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: VendorID: 0",
      "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: SubVendorID: 0",
      "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: DeviceID: 0",
      "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: SubDeviceID: 0",
      "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: FW Major Version: 0",
      "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: FW Minor Version: 0",
      "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: FW RevisionNumber: 0",
      "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: FW BuildNumber: 0",
      "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: Current LinkSpeed: 0",
      "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: Current LinkWidth: 0",
      "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: Max LinkSpeed: 0",
      "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: Max LinkWidth: 0"}},
    {"ZT_Adapter_Get_OEM_Data()",
     [](void* record) { return ZT_Adapter_Get_OEM_Data(0, as<Adapter_OEM_Data>(record)); },
     "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_Get_OEM_Data p_data is NULL",
     {"libVeskNvme: CommandHandler::navigator(): Calling ADAPTER_GET_OEM_DATA"}},
    {"ZT_PD_GetHDInfo_Ext()",
     [](void* record) { return ZT_PD_GetHDInfo_Ext(0, as<Info_Request>(record)); },
     "libVeskNvme: VeskNVMeLibrary::ZT_PD_GetHDInfo_Ext pHdInfoReq is NULL",
     {"libVeskNvme: CommandHandler::navigator(): Calling ZT_PD_GetHDInfo_Ext API ....",
      "libVeskNvme: CommandHandler::navigator(): ZT_Adapter_GetInfo : AdapterID = ",
      "libVeskNvme: CommandHandler::navigator(): end of ZT_PD_GetHDInfo_Ext."}},
    {"ZT_PD_GetConfig()",
     [](void* record) { return ZT_PD_GetConfig(0, as<Info_Request>(record)); },
     "libVeskNvme: VeskNVMeLibrary::ZT_PD_GetConfig pHdConfigReq is NULL",
     {"libVeskNvme: CommandHandler::navigator(): Calling PD_GetConfig",
      "libVeskNvme: CommandHandler::navigator(): End of PD_GetConfig case"}},
    {"ZT_PD_GetHDRaidStatus()",
     [](void* record) { return ZT_PD_GetHDRaidStatus(0, as<Info_Request>(record)); },
     "libVeskNvme: VeskNVMeLibrary::ZT_PD_GetHDRaidStatus pHdRaidStatusReq is NULL",
     {"libVeskNvme: CommandHandler::navigator(): Calling \"ZT_PD_GetHDRaidStatus API\" ....",
      "libVeskNvme: CommandHandler::navigator(): End of \"ZT_PD_GetHDRaidStatus\"."}},
    {"ZT_PD_GetFreeSpaceInfo()",
     [](void* record) { return ZT_PD_GetFreeSpaceInfo(0, as<Info_Request>(record)); },
     "libVeskNvme: VeskNVMeLibrary::ZT_PD_GetFreeSpaceInfo pHdFreeSpaceReq is NULL",
     {"libVeskNvme: CommandHandler::navigator(): Calling \"PD_GetFreeSpaceInfo\" API ....",
      "libVeskNvme: CommandHandler::navigator(): End of \"PD_GetFreeSpaceInfo\"."}},
    {"ZT_PD_GET_SMART_INFO()",
     [](void* record) { return ZT_PD_GET_SMART_INFO(0, 0, 0, as<SMART_INFO_ARRAY>(record)); },
     "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO pHdSmartReq is NULL",
     {"libVeskNvme: CommandHandler::navigator(): Start of PD_GET_SMART_INFO case",
      "libVeskNvme: CommandHandler::navigator(): Start of PD_GET_SMART_INFO case"}},
    {"ZT_PD_OEMData()",
     [](void* record) { return ZT_PD_OEMData(0, as<PD_OEM_Data>(record)); },
     "libVeskNvme: VeskNVMeLibrary::ZT_PD_OEMData p_pdOEMCommand is NULL",
     {"libVeskNvme: CommandHandler::navigator(): Calling Identify_PD",
      "libVeskNvme: CommandHandler::navigator(): end of Identify_PD"}},
    {"ZT_LD_GetInfo()",
     [](void* record) { return ZT_LD_GetInfo(0, as<Info_Request>(record)); },
     "libVeskNvme: VeskNVMeLibrary::ZT_LD_GetInfo pVDInfo is NULL",
     {"libVeskNvme: CommandHandler::navigator(): Start of LD_GetInfo case",
      "libVeskNvme: CommandHandler::navigator(): End of LD_GetInfo case"}},
    {"ZT_LD_GetConfig()",
     [](void* record) { return ZT_LD_GetConfig(0, as<Info_Request>(record)); },
     "libVeskNvme: VeskNVMeLibrary::ZT_LD_GetConfig pLdConfigReq is NULL",
     {"libVeskNvme: CommandHandler::navigator(): Calling LD_GetConfig",
      "libVeskNvme: CommandHandler::navigator(): End of LD_GetConfig case"}},
    {"ZT_EVT_GetEvent()",
     [](void* record) { return ZT_EVT_GetEvent(0, 0, &s_count, as<CEvent>(record)); },
     "libVeskNvme: VeskNVMeLibrary::ZT_EVT_GetEvent pEvent is NULL",
     {"libVeskNvme: CommandHandler::navigator(): Calling EVT_GETEVENT",
      "CommandHandler::navigator(): EVT_GETEVENT: Event Vector size",
      "CommandHandler::navigator() EXIT ",
      "VeskNVMeLibrary::ZT_EVT_GetEvent: Number of events returned = 0"}},
};

// Used memory with room for every answer; as an Info_Request it asks for disk 0.
std::vector<std::uint8_t> usedMemory() {
    std::vector<std::uint8_t> bytes = noise(8192, 11);
    bytes[1] = 2;
    bytes[2] = 0;
    return bytes;
}

}  // namespace

TEST(ExportedCalls, WithANullRecordGive150AndDispatchNothing) {
    for (const RecordCall& row : kRecordCalls) {
        const std::string name = row.name;
        TracedHost logging;
        const ScriptedDriver driver;
        ErrorStateClass::setErrorCode(6);
        logging.forgetLines();
        EXPECT_EQ(row.call(nullptr), 150) << name;
        EXPECT_EQ(logging.lines(),
                  (LogLines{name + " ENTRY ", "libVeskNVMe FAILED: UNKOWN ERROR :%d 150",
                            row.nullLine, name + " EXIT "}));
        EXPECT_EQ(ErrorStateClass::getErrorCode(), 150) << name;
        EXPECT_EQ(CommandHandler::m_pCommandHandlerInstance, nullptr) << name;
        EXPECT_EQ(driver.callCount(), 0U) << name;
    }
    EXPECT_EQ(s_count, 0xA7) << "no count is written";
}

TEST(ExportedCalls, ClearTheErrorStateAndDispatchOnce) {
    for (const RecordCall& row : kRecordCalls) {
        SCOPED_TRACE(row.name);
        TracedHost logging;
        const ScriptedDriver driver;
        ErrorStateClass::setErrorCode(6);
        logging.forgetLines();
        EXPECT_EQ(row.call(usedMemory().data()), 0);
        const LogLines lines = logging.lines();
        LogLines expected = {row.name + std::string(" ENTRY "), kSuccess,
                             "CommandHandler::navigator() ENTRY "};
        expected.insert(expected.end(), row.steps.begin(), row.steps.end());
        expected.push_back(row.name + std::string(" EXIT "));
        EXPECT_TRUE(inOrder(lines, expected));
        EXPECT_EQ(lines.front(), expected.front());
        EXPECT_EQ(lines.back(), expected.back());
        for (const std::string& once :
             {std::string(kSuccess), std::string("CommandHandler::navigator() ENTRY "),
              std::string("CommandHandler::navigator() EXIT ")}) {
            EXPECT_EQ(count(lines, once), 1U) << once;
        }
        EXPECT_EQ(ErrorStateClass::getErrorCode(), 0);
        EXPECT_EQ(driver.callCount(), 0U) << "nothing is sent before a set-up";
    }
}

TEST(ExportedCalls, SendNothingWithoutAController) {
    const vesktest::PrivateHost host;
    ScriptedDriver driver;
    vesktest::expectNoAdapter(driver);
    ZNV_Library_Initialize();
    for (const RecordCall& row : kRecordCalls) {
        EXPECT_EQ(row.call(usedMemory().data()), 0) << row.name;
    }
    EXPECT_EQ(driver.callCount(), 3U);
}

// ---- The adapter calls ----

TEST(AdapterCalls, CountIsTheResultAndNoErrorCode) {
    TracedHost logging;
    const UCHAR_ counts[] = {0, 1};
    for (const UCHAR_ controllers : counts) {
        CommandHandler::m_ControllerCount = controllers;
        ErrorStateClass::setErrorCode(6);
        logging.forgetLines();
        EXPECT_EQ(ZT_Adapter_GetCount(), controllers);
        EXPECT_EQ(ErrorStateClass::getErrorCode(), 0);
        EXPECT_EQ(logging.lines(),
                  (LogLines{"ZT_Adapter_GetCount() ENTRY ", kSuccess,
                            "CommandHandler::getUniqueInstance() ENTRY ",
                            "CommandHandler::getUniqueInstance() EXIT ",
                            "CommandHandler::navigator() ENTRY ",
                            controllers == 0 ? "libVeskNvme: CommandHandler::navigator(): Zenthra "
                                               "NVMe Controller count = 0"
                                             : "libVeskNvme: CommandHandler::navigator(): Zenthra "
                                               "NVMe Controller count = 1",
                            "CommandHandler::navigator() EXIT ", "ZT_Adapter_GetCount() EXIT "}));
    }
}

TEST(AdapterCalls, GetConfigDoesNothing) {
    TracedHost logging;
    const ScriptedDriver driver;
    ErrorStateClass::setErrorCode(6);
    logging.forgetLines();
    EXPECT_EQ(ZT_Adapter_GetConfig(9, nullptr, nullptr), 0);
    EXPECT_EQ(logging.lines(),
              (LogLines{"ZT_Adapter_GetConfig() ENTRY ", "ZT_Adapter_GetConfig() EXIT "}));
    std::vector<std::uint8_t> config = noise(512, 9);
    UCHAR_ number = 0xA7;
    void* const record = config.data();
    EXPECT_EQ(ZT_Adapter_GetConfig(0, &number, static_cast<PAdapter_Config>(record)), 0);
    EXPECT_EQ(number, 0xA7);
    EXPECT_EQ(config, noise(512, 9));
    EXPECT_EQ(ErrorStateClass::getErrorCode(), 6);
    EXPECT_EQ(CommandHandler::m_pCommandHandlerInstance, nullptr);
    EXPECT_EQ(driver.callCount(), 0U);
}

// The version is that of the last information; here there is none, and it is a record of zeros.
TEST(AdapterCalls, InfoWithoutAControllerIsARecordOfZeros) {
    const vesktest::PrivateHost host;
    CController::firwareVer = _PackageVersion{1, 2, 3, 4};
    const std::vector<std::uint8_t> bytes = noise(304, 21);
    CController controller;
    std::memcpy(static_cast<void*>(&controller), bytes.data(), bytes.size());
    UCHAR_ number = 0xA7;
    EXPECT_EQ(ZT_Adapter_GetInfo(0, &number, &controller), 0);
    EXPECT_EQ(number, 0);
    for (const int field : {int{controller.getVendorID()}, int{controller.getSubVendorID()},
                            int{controller.getDeviceID()}, int{controller.getSubDeviceID()},
                            int{controller.getLinkSpeed()}, int{controller.getLinkWidth()},
                            int{controller.getMaxSpeed()}, int{controller.getMaxLinkWidth()},
                            int{controller.getPortCount()}, int{controller.getVDCount()},
                            int{controller.getPDCount()}, int{controller.getMaxBufSize()},
                            static_cast<int>(controller.getSlotNo()), int{controller.getBDF().bus},
                            int{controller.getFirmwareVersion().majorVersion},
                            int{controller.getFirmwareVersion().buildNumber}}) {
        EXPECT_EQ(field, 0);
    }
    Adapter_OEM_Data data{};
    data.firmwareVersion.majorVersion = 77;
    EXPECT_EQ(ZT_Adapter_Get_OEM_Data(0, &data), 0);
    EXPECT_EQ(data.firmwareVersion.majorVersion, 0);
    EXPECT_EQ(data.firmwareVersion.buildNumber, 0);
}

TEST(AdapterCalls, OemDataIsTheLastVersionAndZerosBehindTheFirst24Bytes) {
    CController::firwareVer = _PackageVersion{0x0102, 0x0304, 0x0506, 0x0708};
    const std::vector<std::uint8_t> before = noise(80, 5);
    std::vector<std::uint8_t> bytes = before;
    EXPECT_EQ(ZT_Adapter_Get_OEM_Data(0, as<Adapter_OEM_Data>(bytes.data())), 0);
    std::vector<std::uint8_t> expected = before;
    const std::vector<std::uint8_t> version = {0x02, 0x01, 0x04, 0x03, 0x06, 0x05, 0x08, 0x07};
    std::copy(version.begin(), version.end(), expected.begin() + 24);
    std::fill(expected.begin() + 32, expected.begin() + 72, std::uint8_t{0});
    EXPECT_EQ(bytes, expected);
}

// ---- The event call ----

TEST(EventCall, WithoutEventsWritesACountOfZeroAndNoRecord) {
    const TracedHost logging;
    UCHAR_ number = 0xA7;
    std::vector<std::uint8_t> events = noise(64 * 64, 6);
    EXPECT_EQ(ZT_EVT_GetEvent(0, 0, &number, as<CEvent>(events.data())), 0);
    EXPECT_EQ(number, 0);
    EXPECT_EQ(events, noise(64 * 64, 6));
    EXPECT_FALSE(vesktest::containsPart(logging.lines(), "SequenceNo: "));
}

// ---- The life of a failure code ----

TEST(FailureCode, StaysUntilACallPassesItsNullTest) {
    const vesktest::PrivateHost host;
    EXPECT_EQ(ZT_PD_GetConfig(0, nullptr), 150);
    ZT_API_Finalize();
    EXPECT_EQ(ErrorStateClass::getErrorCode(), 150);
    EXPECT_EQ(ZT_Adapter_GetConfig(0, nullptr, nullptr), 0);
    EXPECT_EQ(ErrorStateClass::getErrorCode(), 150);
    Adapter_OEM_Data data{};
    EXPECT_EQ(ZT_Adapter_Get_OEM_Data(0, &data), 0);
    EXPECT_EQ(ErrorStateClass::getErrorCode(), 0);
}
