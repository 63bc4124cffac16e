// Set-up, calls and tear-down with a controller, and so with the polling thread, on the simulated
// host.
#include "api/command_handler.h"
#include "api/error_state.h"
#include "api/lib_initializer.h"
#include "events/event_monitor.h"
#include "failing_calls.h"
#include "memory_faults.h"
#include "noise.h"
#include "sim_host.h"
#include "transport/vmware_device_talker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <future>
#include <iterator>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace {

using vesktest::contains;
using vesktest::count;
using vesktest::inOrder;
using vesktest::kLogPath;
using vesktest::LogLines;
using vesktest::noise;
using vesktest::SimHost;

constexpr std::uint8_t kIdentify = 6;

vesksim::Scenario loggingScenario() {
    vesksim::Scenario scenario;
    scenario.configIni.text = "[Logging]\nDebug=On\n[Polling]\npollingIntervalInSeconds=60\n";
    return scenario;
}

}  // namespace

// ---- Set-up ----

TEST(CommandHandler, InitializeCountsOneController) {
    vesksim::Scenario scenario = loggingScenario();
    scenario.adapters.emplace_back();
    scenario.adapters[1].name = "vmhba3";
    scenario.adapters[1].signature = "nvmeMgmt-vmhba3";
    scenario.adapters[1].pciAddress.bus = 0x5E;
    SimHost host(scenario);
    EXPECT_EQ(host.start(), 1);
    EXPECT_EQ(CommandHandler::m_ControllerCount, 1);
    EXPECT_EQ(CommandHandler::m_libraryInitialized, 1);
    EXPECT_EQ(host.commandCount(kIdentify), 1U)
        << "the host is scanned once, up to the first controller";
    const LogLines lines = host.logLines();
    EXPECT_TRUE(inOrder(
        lines, {"libVeskNvme: CommandHandler::navigator(): Calling \"ZT_API_Initialize API\" ...",
                "libVeskNvme: CommandHandler::navigator(): Initializing OS type....",
                "libVeskNvme: CLibInitializer::initializeOStype(): OS found = Vmware",
                "libVeskNvme: CLibInitializer::checkControllerExistence()",
                "libVeskNvme: CommandHandler::navigator(): Controller existance = 1",
                "libVeskNvme: CommandHandler::navigator(): Event monitoring started...",
                "libVeskNvme: CommandHandler::navigator(): end of ZT_API_Initialize.",
                "libVeskNvme: CommandHandler::navigator(): Zenthra NVMe Controller count = 1"}));
    EXPECT_FALSE(contains(lines, "libVeskNvme: CLibInitializer::checkControllerCount()"));
}

TEST(LibraryStart, InitializeStartsTheMonitorOnce) {
    SimHost host;
    EXPECT_EQ(host.start(), 1);
    EXPECT_TRUE(host.gate().waitForSleeper(1));
    const CVeskNVMeMonitor* const monitor = CVeskNVMeMonitor::m_pNVMeMonitorInstance;
    EXPECT_NE(monitor, nullptr);
    EXPECT_EQ(ZT_API_Initialize(), 0);
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, monitor);
    EXPECT_EQ(host.driver().openHandles(), 1U);
    EXPECT_EQ(host.commandCount(kIdentify), 1U);
}

TEST(LibraryStart, PollingThreadSendsACommandEachInterval) {
    SimHost host(loggingScenario());
    EXPECT_EQ(host.start(), 1);
    for (const std::size_t sleeps : {1U, 2U, 3U}) {
        EXPECT_TRUE(host.gate().waitForSleeper(sleeps));
        // Two of them are the set-up and the count.
        EXPECT_EQ(count(host.logLines(), "CommandHandler::navigator() ENTRY "), 2 + sleeps);
        host.gate().release();
    }
    EXPECT_TRUE(host.gate().waitForSleeper(4));
    EXPECT_EQ(host.gate().secondsAsked(), (std::vector<unsigned>{60, 60, 60, 60}));
}

TEST(LibraryStart, InitializeAfterTearDownStartsNothing) {
    SimHost host(loggingScenario());
    EXPECT_EQ(host.start(), 1);
    host.stop();
    host.driver().forgetHistory();
    host.files().write(kLogPath, "");
    EXPECT_EQ(ZT_API_Initialize(), 0);
    EXPECT_EQ(host.logLines(), LogLines{"libVeskNVMe SUCESS: ERR_NONE "});
    EXPECT_EQ(host.driver().commands().size(), 0U);
    EXPECT_EQ(host.driver().openHandles(), 0U);
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
}

TEST(LibraryStart, PlainStartAfterTearDownStartsAgain) {
    SimHost host;
    EXPECT_EQ(host.start(), 1);
    host.stop();
    EXPECT_EQ(host.driver().openHandles(), 0U);
    ZNV_Library_Initialize();
    EXPECT_EQ(host.driver().openHandles(), 1U);
    EXPECT_NE(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
    EXPECT_EQ(ZT_Adapter_GetCount(), 1);
    ZNV_Library_Finalize();
    EXPECT_EQ(host.driver().openHandles(), 0U);
}

namespace {

// A tear-down that finds no thread throws and leaves a monitor whose stop is given.
void expectTearDownToThrow() {
    EXPECT_THROW(ZNV_Library_Finalize(), std::system_error);
}

std::size_t threadsOfThisProcess() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

// A controller is counted, and the thread is gone without having asked for an event.
void expectNextStartToPollNothing(SimHost& host) {
    // The next scan would leave the connection of the last one open.
    CLibInitializer::deleteOSdeviceTalkerInstance();
    std::thread([] {}).join();  // with the first one may come a sanitizer's own
    const std::size_t before = threadsOfThisProcess();
    ZNV_Library_Initialize();
    EXPECT_EQ(ZT_Adapter_GetCount(), 1);
    for (int looks = 0; looks < 5000 && threadsOfThisProcess() > before; ++looks) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(threadsOfThisProcess(), before);
    for (const auto& command : host.driver().commands()) {
        EXPECT_NE(command.cdw12, 0x4FEU) << "a page of the event log is asked for";
    }
    // And so it stays: the tear-down that could renew the monitor throws in front of that.
    EXPECT_THROW(ZNV_Library_Finalize(), std::future_error);
}

}  // namespace

TEST(LibraryStart, PollsNothingBehindATearDownThatThrew) {
    SimHost host;
    expectTearDownToThrow();
    expectNextStartToPollNothing(host);
}

TEST(LibraryStart, PollsNothingBehindATearDownWithoutAController) {
    vesksim::Scenario none;
    none.adapters.clear();
    SimHost host(none);
    ZNV_Library_Initialize();
    expectTearDownToThrow();
    host.driver().load(vesksim::Scenario());
    expectNextStartToPollNothing(host);
}

TEST(LibraryStart, PollsNothingBehindATearDownOfAStartWhoseThreadWasRefused) {
    SimHost host;
    {
        const vesktest::FailingCalls failing([](const char* call, const std::string&) {
            return std::string(call) == "pthread_create" ? EAGAIN : 0;
        });
        EXPECT_THROW(ZNV_Library_Initialize(), std::system_error);
    }
    expectTearDownToThrow();
    expectNextStartToPollNothing(host);
}

TEST(LibraryStop, EachFurtherOneWithoutAThreadThrowsFutureError) {
    SimHost host;
    expectTearDownToThrow();
    EXPECT_THROW(ZNV_Library_Finalize(), std::future_error);
}

TEST(LibraryStart, WithoutMemoryForTheMonitorThrowsAndCanBeTriedAgain) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    SimHost host;
    bool thrown = false;
    // The simulated host has allocations of that size too: without them no controller is found.
    for (unsigned nth = 1; CommandHandler::m_ControllerCount == 0; ++nth) {
        CommandHandler::m_libraryInitialized = 0;
        const vesktest::FailNew fault(vesktest::AllocationSize::exactly(sizeof(CVeskNVMeMonitor)),
                                      nth);
        try {
            ZNV_Library_Initialize();
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
    }
    EXPECT_TRUE(thrown);
    EXPECT_EQ(CommandHandler::m_libraryInitialized, 0);
    // The next scan would leave the connection of the last one open.
    CLibInitializer::deleteOSdeviceTalkerInstance();
    ZNV_Library_Initialize();
    EXPECT_TRUE(host.gate().waitForSleeper(1));
    host.gate().releaseAll();
    ZNV_Library_Finalize();
    EXPECT_EQ(host.driver().openHandles(), 0U);
}

namespace {

// Of the process of a death test. Its folder is removed when the process ends.
std::unique_ptr<SimHost> s_dyingHost;

void startTwice() {
    s_dyingHost = std::make_unique<SimHost>();
    ZNV_Library_Initialize();
    s_dyingHost->gate().waitForSleeper(1);
    // Both the second start and the thread that it began may get here.
    std::set_terminate([] {
        static std::once_flag s_once;
        std::call_once(s_once, [] {
            std::fputs("the second start ends the process\n", stderr);
            s_dyingHost.reset();
        });
        std::abort();
    });
    ZNV_Library_Initialize();
}

}  // namespace

TEST(LibraryStartDeathTest, SecondPlainStartEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(startTwice(), "the second start ends the process");
}

// ---- Calls on the running library ----

namespace {

// The polling thread rests in its first pause; the log begins with the test.
class RunningCalls : public ::testing::Test {
protected:
    RunningCalls() : m_host(scenario()) {
        EXPECT_EQ(m_host.start(), 1);
        EXPECT_TRUE(m_host.gate().waitForSleeper(1));
        m_host.files().write(kLogPath, "");
    }

    static vesksim::Scenario scenario() {
        vesksim::Scenario scenario = loggingScenario();
        scenario.adapters[0].link.speed = 2;
        scenario.adapters[0].link.maxSpeed = 4;
        scenario.adapters[0].link.width = 1;
        scenario.adapters[0].link.maxWidth = 8;
        return scenario;
    }

    // The record of the call, put into memory that differs for each adapter id.
    static std::vector<std::uint8_t> controllerBytes(UCHAR_ adapter) {
        std::vector<std::uint8_t> bytes = noise(304, adapter + 1U);
        CController controller;
        std::memcpy(static_cast<void*>(&controller), bytes.data(), bytes.size());
        UCHAR_ number = 0xA7;
        EXPECT_EQ(ZT_Adapter_GetInfo(adapter, &number, &controller), 0);
        EXPECT_EQ(number, 1);
        std::memcpy(bytes.data(), static_cast<const void*>(&controller), bytes.size());
        return bytes;
    }

    SimHost m_host;
};

}  // namespace

TEST_F(RunningCalls, AdapterInfoLogsTheController) {
    controllerBytes(0);
    EXPECT_TRUE(
        inOrder(m_host.logLines(),
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
    const std::size_t sent = m_host.driver().commands().size();
    std::vector<std::uint8_t> bytes = noise(80, 4);
    std::vector<std::uint8_t> expected = bytes;
    const std::vector<std::uint8_t> version = {1, 0, 2, 0, 3, 0, 0xEC, 0x03};
    std::copy(version.begin(), version.end(), expected.begin() + 24);
    std::fill(expected.begin() + 32, expected.begin() + 72, std::uint8_t{0});
    void* const record = bytes.data();
    EXPECT_EQ(ZT_Adapter_Get_OEM_Data(200, static_cast<PAdapter_OEM_Data>(record)), 0);
    EXPECT_EQ(bytes, expected);
    EXPECT_EQ(m_host.driver().commands().size(), sent) << "no command is sent";
}

TEST_F(RunningCalls, FailedDeviceCommandGivesZerosAndNoError) {
    controllerBytes(0);
    m_host.driver().setCommandScript([](const vesksim::ReceivedCommand&) {
        vesksim::CommandOverride failure;
        failure.statusCode = 6;
        return failure;
    });
    CController controller;
    UCHAR_ number = 0xA7;
    EXPECT_EQ(ZT_Adapter_GetInfo(0, &number, &controller), 0);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(controller.getVendorID(), 0);
    EXPECT_EQ(controller.getLinkSpeed(), 2) << "from the host's files";
    Adapter_OEM_Data data{};
    data.firmwareVersion.majorVersion = 77;
    EXPECT_EQ(ZT_Adapter_Get_OEM_Data(0, &data), 0);
    EXPECT_EQ(data.firmwareVersion.majorVersion, 0);
    m_host.driver().setCommandScript(nullptr);
}

// An absent disk leaves the record as the caller made it, and that is what the lines show.
TEST_F(RunningCalls, HealthLogsTheFirstTwoAttributesOfTheRecord) {
    SMART_INFO_ARRAY health{};
    const std::vector<std::uint8_t> before = noise(sizeof health, 8);
    std::memcpy(&health, before.data(), sizeof health);
    std::strcpy(health.attributes[0].name, "First Attribute");
    // To the last byte of the name, without a NUL.
    std::memset(health.attributes[1].name, 'm', sizeof health.attributes[1].name);
    health.attributes[0].currentValue = 66;
    health.attributes[1].currentValue = 67;
    health.attributes[1].thresholdValue = 200;
    EXPECT_EQ(ZT_PD_GET_SMART_INFO(0, 9, 0, &health), 0);
    EXPECT_TRUE(inOrder(
        m_host.logLines(),
        {"ZT_PD_GET_SMART_INFO() ENTRY ", "libVeskNVMe SUCESS: ERR_NONE ",
         "CommandHandler::navigator() EXIT ",
         "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO: AttributeName: First Attribute",
         "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO: CurrentValue: 66",
         "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO: AttributeName: " +
             std::string(64, 'm'),
         "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO: CurrentValue: 67",
         "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO: ThresholdValue: 200",
         "ZT_PD_GET_SMART_INFO() EXIT "}));
}

// ---- Tear-down ----

TEST(LibraryStop, OnlyTheSecondFinalizeTearsDown) {
    SimHost host(loggingScenario());
    EXPECT_EQ(ZT_API_Initialize(), 0);
    EXPECT_TRUE(host.gate().waitForSleeper(1));

    ZT_API_Finalize();
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 1);
    EXPECT_NE(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
    EXPECT_NE(CommandHandler::m_pCommandHandlerInstance, nullptr);
    EXPECT_EQ(host.driver().openHandles(), 1U);
    host.gate().release();
    EXPECT_TRUE(host.gate().waitForSleeper(2)) << "the monitor still runs";

    host.gate().releaseAll();
    ZT_API_Finalize();
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 2);
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
    EXPECT_EQ(CVMWareZNVDeviceTalker::m_pVMWareZNVDeviceTalkerInstance, nullptr);
    EXPECT_EQ(CommandHandler::m_pCommandHandlerInstance, nullptr);
    EXPECT_EQ(host.driver().openHandles(), 0U);

    host.files().write(kLogPath, "");
    ZT_API_Finalize();
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 3);
    EXPECT_EQ(host.logLines(), (LogLines{"ZT_API_Finalize() ENTRY ", "ZT_API_Finalize() EXIT "}));
}

TEST(LibraryStop, ThreadEndsBeforeTheTalkerGoes) {
    SimHost host(loggingScenario());
    EXPECT_EQ(host.start(), 1);
    EXPECT_TRUE(host.gate().waitForSleeper(1));
    host.stop();
    EXPECT_TRUE(inOrder(
        host.logLines(),
        {"ZNV_Library_Finalize() ENTRY ",
         "libVeskNvme: CommandHandler::navigator(): Calling API_FINALIZE",
         "CVeskNVMeMonitor::stopMonitoring() ENTRY ", "CVeskNVMeMonitor::stopMonitoring() EXIT ",
         "libVeskNvme: CLibInitializer::deleteOSdeviceTalkerInstance()",
         "CommandHandler::navigator() EXIT ",
         "CommandHandler::destroyMe()libVeskNvme:CCommandHandler::destroyMe() ENTRY ",
         "CommandHandler::destroyMe()libVeskNvme:CCommandHandler::destroyMe() EXIT ",
         "ZNV_Library_Finalize() EXIT "}));
}

TEST(LibraryStop, KeepsTheCountersAndTheErrorStateAndCannotBeRepeated) {
    SimHost host;
    EXPECT_EQ(host.start(), 1);
    VeskNVMeLibrary_Error::setErrorCode(6);
    host.stop();
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 6);
    EXPECT_EQ(CommandHandler::m_ControllerCount, 1);
    EXPECT_EQ(CommandHandler::m_libraryInitialized, 1);
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 0);
    EXPECT_EQ(ZT_Adapter_GetCount(), 1) << "as found at set-up";
    EXPECT_THROW(ZNV_Library_Finalize(), std::system_error);
}

TEST(LibraryStop, CounterGoesOnAcrossStarts) {
    SimHost host;
    EXPECT_EQ(host.start(), 1);
    ZT_API_Finalize();
    host.stop();
    ZNV_Library_Initialize();
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 1);
    ZT_API_Finalize();
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr) << "it was the second call";
}
