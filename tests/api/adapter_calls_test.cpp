// The adapter calls on a host without a controller, and the life of a failure code.
#include "api/command_handler.h"
#include "api/error_state.h"
#include "discovery_script.h"
#include "noise.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

using vesktest::count;
using vesktest::inOrder;
using vesktest::LogLines;
using vesktest::noise;
using vesktest::ScriptedDriver;
using vesktest::TracedHost;

const char* const kSuccess = "libVeskNVMe SUCESS: ERR_NONE ";

// 304 bytes of noise behind the class, as a host's memory may hold.
CController noisyController() {
    const std::vector<std::uint8_t> bytes = noise(304, 21);
    CController controller;
    std::memcpy(static_cast<void*>(&controller), bytes.data(), bytes.size());
    return controller;
}

}  // namespace

TEST(AdapterCalls, CountBeforeSetUpIsZero) {
    TracedHost logging;
    VeskNVMeLibrary_Error::setErrorCode(6);
    logging.forgetLines();
    EXPECT_EQ(ZT_Adapter_GetCount(), 0);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
    EXPECT_EQ(
        logging.lines(),
        (LogLines{"ZT_Adapter_GetCount() ENTRY ", kSuccess,
                  "CommandHandler::getUniqueInstance() ENTRY ",
                  "CommandHandler::getUniqueInstance() EXIT ", "CommandHandler::navigator() ENTRY ",
                  "libVeskNvme: CommandHandler::navigator(): Zenthra NVMe Controller count = 0",
                  "CommandHandler::navigator() EXIT ", "ZT_Adapter_GetCount() EXIT "}));
}

TEST(AdapterCalls, CountIsTheResultAndNoErrorCode) {
    CommandHandler::m_ControllerCount = 1;
    EXPECT_EQ(ZT_Adapter_GetCount(), 1);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TEST(AdapterCalls, GetConfigDoesNothing) {
    TracedHost logging;
    const ScriptedDriver driver;
    VeskNVMeLibrary_Error::setErrorCode(6);
    logging.forgetLines();
    EXPECT_EQ(ZT_Adapter_GetConfig(9, nullptr, nullptr), 0);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 6);
    EXPECT_EQ(logging.lines(),
              (LogLines{"ZT_Adapter_GetConfig() ENTRY ", "ZT_Adapter_GetConfig() EXIT "}));
    EXPECT_EQ(CommandHandler::m_pCommandHandlerInstance, nullptr);
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST(AdapterCalls, GetConfigWritesNothing) {
    const std::vector<std::uint8_t> before = noise(512, 9);
    std::vector<std::uint8_t> config = before;
    UCHAR_ number = 0xA7;
    void* const record = config.data();
    EXPECT_EQ(ZT_Adapter_GetConfig(0, &number, static_cast<PAdapter_Config>(record)), 0);
    EXPECT_EQ(number, 0xA7);
    EXPECT_EQ(config, before);
}

TEST(AdapterCalls, InfoWithoutAControllerIsARecordOfZeros) {
    const vesktest::PrivateHost host;
    ScriptedDriver driver;
    vesktest::expectNoAdapter(driver);
    ZNV_Library_Initialize();
    CController controller = noisyController();
    UCHAR_ number = 0xA7;
    EXPECT_EQ(ZT_Adapter_GetInfo(0, &number, &controller), 0);
    EXPECT_EQ(number, 0);
    EXPECT_EQ(controller.getVendorID(), 0);
    EXPECT_EQ(controller.getSubVendorID(), 0);
    EXPECT_EQ(controller.getDeviceID(), 0);
    EXPECT_EQ(controller.getSubDeviceID(), 0);
    EXPECT_EQ(controller.getLinkSpeed(), 0);
    EXPECT_EQ(controller.getLinkWidth(), 0);
    EXPECT_EQ(controller.getMaxSpeed(), 0);
    EXPECT_EQ(controller.getMaxLinkWidth(), 0);
    EXPECT_EQ(controller.getPortCount(), 0);
    EXPECT_EQ(controller.getVDCount(), 0);
    EXPECT_EQ(controller.getPDCount(), 0);
    EXPECT_EQ(controller.getMaxBufSize(), 0);
    EXPECT_EQ(controller.getSlotNo(), 0U);
    EXPECT_EQ(controller.getBDF().bus, 0);
    EXPECT_EQ(controller.getFirmwareVersion().majorVersion, 0);
    EXPECT_EQ(controller.getFirmwareVersion().buildNumber, 0);
    EXPECT_EQ(driver.callCount(), 3U);
}

TEST(AdapterCalls, InfoBeforeSetUpIsARecordOfZeros) {
    const vesktest::PrivateHost host;
    const ScriptedDriver driver;
    CController controller = noisyController();
    UCHAR_ number = 0xA7;
    EXPECT_EQ(ZT_Adapter_GetInfo(0, &number, &controller), 0);
    EXPECT_EQ(number, 0);
    EXPECT_EQ(controller.getVendorID(), 0);
    EXPECT_EQ(controller.getMaxBufSize(), 0);
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST(AdapterCalls, InfoLogsTheRecord) {
    TracedHost logging;
    CController controller = noisyController();
    UCHAR_ number = 0xA7;
    ZT_Adapter_GetInfo(0, &number, &controller);
    const LogLines lines = logging.lines();
    EXPECT_EQ(count(lines, kSuccess), 1U);
    // The count is a raw 0, which cuts its line.
    EXPECT_TRUE(
        inOrder(lines, {"ZT_Adapter_GetInfo() ENTRY ", kSuccess,
                        "CommandHandler::navigator() ENTRY ", "CommandHandler::navigator() EXIT ",
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
                        "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: Max LinkWidth: 0",
                        "ZT_Adapter_GetInfo() EXIT "}));
}

TEST(AdapterCalls, OemDataBeforeAnyInfoIsZeroBehindTheFirst24Bytes) {
    TracedHost logging;
    const ScriptedDriver driver;
    const std::vector<std::uint8_t> before = noise(80, 5);
    std::vector<std::uint8_t> bytes = before;
    void* const record = bytes.data();
    EXPECT_EQ(ZT_Adapter_Get_OEM_Data(0, static_cast<PAdapter_OEM_Data>(record)), 0);
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.begin() + 24, before.begin()));
    EXPECT_EQ(std::count(bytes.begin() + 24, bytes.begin() + 72, 0), 48);
    EXPECT_TRUE(std::equal(bytes.begin() + 72, bytes.end(), before.begin() + 72));
    EXPECT_TRUE(
        inOrder(logging.lines(),
                {"ZT_Adapter_Get_OEM_Data() ENTRY ", kSuccess, "CommandHandler::navigator() ENTRY ",
                 "libVeskNvme: CommandHandler::navigator(): Calling ADAPTER_GET_OEM_DATA",
                 "CommandHandler::navigator() EXIT ", "ZT_Adapter_Get_OEM_Data() EXIT "}));
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST(AdapterCalls, InfoOfZerosTakesTheFirmwareVersionBack) {
    const vesktest::PrivateHost host;
    CController::firwareVer = _PackageVersion{1, 2, 3, 4};
    CController controller;
    UCHAR_ number = 0;
    ZT_Adapter_GetInfo(0, &number, &controller);
    Adapter_OEM_Data data{};
    ZT_Adapter_Get_OEM_Data(0, &data);
    EXPECT_EQ(data.firmwareVersion.majorVersion, 0);
    EXPECT_EQ(data.firmwareVersion.buildNumber, 0);
}

TEST(FailureCode, StaysUntilACallPassesItsNullTest) {
    const vesktest::PrivateHost host;
    EXPECT_EQ(ZT_PD_GetConfig(0, nullptr), 150);
    ZT_API_Finalize();
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 150);
    EXPECT_EQ(ZT_Adapter_GetConfig(0, nullptr, nullptr), 0);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 150);
    Adapter_OEM_Data data{};
    EXPECT_EQ(ZT_Adapter_Get_OEM_Data(0, &data), 0);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TEST(FailureCode, OfAnEarlierCallIsGoneAtTheNext) {
    const vesktest::PrivateHost host;
    VeskNVMeLibrary_Error::setErrorCode(1);
    CController controller;
    UCHAR_ number = 0;
    EXPECT_EQ(ZT_Adapter_GetInfo(0, &number, &controller), 0);
}
