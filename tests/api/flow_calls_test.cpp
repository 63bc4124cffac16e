// Calls on a running library with a controller.
#include "api/error_state.h"
#include "log_file.h"
#include "noise.h"
#include "running_library.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace {

using vesktest::contains;
using vesktest::inOrder;
using vesktest::kLogPath;
using vesktest::LogFile;
using vesktest::LogLines;
using vesktest::noise;
using vesktest::RunningLibrary;

vesksim::Scenario loggingScenario() {
    vesksim::Scenario scenario;
    scenario.configIni.text = "[Logging]\nDebug=On\n";
    scenario.adapters[0].link.speed = 2;
    scenario.adapters[0].link.maxSpeed = 4;
    scenario.adapters[0].link.width = 1;
    scenario.adapters[0].link.maxWidth = 8;
    return scenario;
}

// A started library, its polling thread at rest in its first pause.
class RunningCalls : public ::testing::Test {
protected:
    RunningCalls() : m_library(loggingScenario()), m_log(m_library.files()) {
        EXPECT_EQ(ZT_API_Initialize(), 0);
        EXPECT_TRUE(m_library.gate().waitForSleeper(1));
        m_library.files().write(kLogPath, "");
    }
    ~RunningCalls() override { m_library.stop(); }

    RunningLibrary m_library;
    LogFile m_log;
};

std::array<std::uint8_t, 304> controllerBytes(UCHAR_ adapter) {
    const std::vector<std::uint8_t> before = noise(304, adapter + 1U);
    CController controller;
    std::memcpy(static_cast<void*>(&controller), before.data(), before.size());
    UCHAR_ count = 0xA7;
    EXPECT_EQ(ZT_Adapter_GetInfo(adapter, &count, &controller), 0);
    EXPECT_EQ(count, 1);
    std::array<std::uint8_t, 304> bytes{};
    std::memcpy(bytes.data(), static_cast<const void*>(&controller), bytes.size());
    return bytes;
}

}  // namespace

TEST_F(RunningCalls, AdapterInfoLogsTheController) {
    controllerBytes(0);
    EXPECT_TRUE(
        inOrder(m_log.lines(),
                {"ZT_Adapter_GetInfo() ENTRY ", "libVeskNVMe SUCESS: ERR_NONE ",
                 "libVeskNvme: CommandHandler::navigator(): Calling ZT_Adapter_GetInfo API .... ",
                 "libVeskNvme: CommandHandler::navigator(): end of ZT_Adapter_GetInfo",
                 "CommandHandler::navigator() EXIT ",
                 "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: Count: \x01",
                 "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: VendorID: 6987",
                 "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: SubVendorID: 31248",
                 "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: DeviceID: 21047",
                 "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: SubDeviceID: 775",
                 "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: FW Major Version: 1",
                 "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: FW Minor Version: 2",
                 "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: FW RevisionNumber: 3",
                 "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: FW BuildNumber: 1004",
                 "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: Current LinkSpeed: 2",
                 "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: Current LinkWidth: 1",
                 "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: Max LinkSpeed: 4",
                 "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: Max LinkWidth: 8",
                 "ZT_Adapter_GetInfo() EXIT "}));
}

TEST_F(RunningCalls, EveryAdapterIdSelectsTheController) {
    EXPECT_EQ(controllerBytes(0), controllerBytes(200));
}

TEST_F(RunningCalls, OemDataCarriesTheVersionOfTheLastInfo) {
    Adapter_OEM_Data data{};
    data.firmwareVersion.majorVersion = 77;
    EXPECT_EQ(ZT_Adapter_Get_OEM_Data(0, &data), 0);
    EXPECT_EQ(data.firmwareVersion.majorVersion, 0) << "no information was read yet";
    controllerBytes(0);
    const std::size_t sent = RunningLibrary::driver().commands().size();
    const std::vector<std::uint8_t> before = noise(80, 4);
    std::vector<std::uint8_t> bytes = before;
    void* const record = bytes.data();
    EXPECT_EQ(ZT_Adapter_Get_OEM_Data(200, static_cast<PAdapter_OEM_Data>(record)), 0);
    EXPECT_EQ(RunningLibrary::driver().commands().size(), sent) << "no command is sent";
    const std::vector<std::uint8_t> version = {1, 0, 2, 0, 3, 0, 0xEC, 0x03};
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.begin() + 24, before.begin()));
    EXPECT_TRUE(std::equal(version.begin(), version.end(), bytes.begin() + 24));
    EXPECT_EQ(std::count(bytes.begin() + 32, bytes.begin() + 72, 0), 40);
    EXPECT_TRUE(std::equal(bytes.begin() + 72, bytes.end(), before.begin() + 72));
}

TEST_F(RunningCalls, FailedDeviceCommandGivesZerosAndNoError) {
    controllerBytes(0);
    RunningLibrary::driver().setCommandScript([](const vesksim::ReceivedCommand&) {
        vesksim::CommandOverride failure;
        failure.statusCode = 6;
        return failure;
    });
    CController controller;
    UCHAR_ count = 0xA7;
    EXPECT_EQ(ZT_Adapter_GetInfo(0, &count, &controller), 0);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(controller.getVendorID(), 0);
    EXPECT_EQ(controller.getLinkSpeed(), 2) << "from the host's files";
    Adapter_OEM_Data data{};
    ZT_Adapter_Get_OEM_Data(0, &data);
    EXPECT_EQ(data.firmwareVersion.majorVersion, 0);
    RunningLibrary::driver().setCommandScript(nullptr);
}

// An absent disk leaves the record as the caller made it, and that is what the lines show.
TEST_F(RunningCalls, HealthLogsTheFirstTwoAttributesOfTheRecord) {
    SMART_INFO_ARRAY health{};
    const std::vector<std::uint8_t> before = noise(sizeof health, 8);
    std::memcpy(&health, before.data(), sizeof health);
    health.attributes[0].nameEnd = 0;
    health.attributes[1].nameEnd = 0;
    std::strcpy(health.attributes[0].name, "First Attribute");
    std::strcpy(health.attributes[1].name, "Second Attribute");
    health.attributes[0].currentValue = 66;
    health.attributes[1].currentValue = 67;
    health.attributes[1].thresholdValue = 200;
    EXPECT_EQ(ZT_PD_GET_SMART_INFO(0, 9, 0, &health), 0);
    EXPECT_TRUE(inOrder(
        m_log.lines(),
        {"ZT_PD_GET_SMART_INFO() ENTRY ", "libVeskNVMe SUCESS: ERR_NONE ",
         "CommandHandler::navigator() EXIT ",
         "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO: AttributeName: First Attribute",
         "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO: CurrentValue: 66",
         "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO: AttributeName: Second Attribute",
         "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO: CurrentValue: 67",
         "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO: ThresholdValue: 200",
         "ZT_PD_GET_SMART_INFO() EXIT "}));
}

TEST_F(RunningCalls, HealthLinesStopAtTheEndOfAnUnterminatedName) {
    SMART_INFO_ARRAY health{};
    std::memset(health.attributes[0].name, 'n', sizeof health.attributes[0].name);
    std::memset(health.attributes[1].name, 'm', sizeof health.attributes[1].name);
    EXPECT_EQ(ZT_PD_GET_SMART_INFO(0, 9, 0, &health), 0);
    EXPECT_TRUE(contains(m_log.lines(),
                         "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO: AttributeName: " +
                             std::string(64, 'n')));
    EXPECT_TRUE(contains(m_log.lines(),
                         "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO: AttributeName: " +
                             std::string(64, 'm')));
}
