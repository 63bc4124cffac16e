// Set-up and tear-down with a controller, and so with the polling thread.
#include "api/command_handler.h"
#include "api/error_state.h"
#include "events/event_monitor.h"
#include "log_file.h"
#include "running_library.h"
#include "support/logger.h"
#include "transport/vmware_device_talker.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <exception>
#include <memory>
#include <mutex>
#include <system_error>
#include <vector>

namespace {

using vesktest::contains;
using vesktest::identifyCount;
using vesktest::inOrder;
using vesktest::kLogPath;
using vesktest::LogFile;
using vesktest::LogLines;
using vesktest::RunningLibrary;

vesksim::Scenario loggingScenario() {
    vesksim::Scenario scenario;
    scenario.configIni.text = "[Logging]\nDebug=On\n[Polling]\npollingIntervalInSeconds=60\n";
    return scenario;
}

// Of the process of a death test. Its folder is removed when the process ends.
std::unique_ptr<RunningLibrary> s_dyingLibrary;

void startTwice() {
    s_dyingLibrary = std::make_unique<RunningLibrary>();
    // Both the second start and the thread that it began may get here.
    std::set_terminate([] {
        static std::once_flag s_once;
        std::call_once(s_once, [] { s_dyingLibrary.reset(); });
        std::abort();
    });
    ZNV_Library_Initialize();
    s_dyingLibrary->gate().waitForSleeper(1);
    ZNV_Library_Initialize();
}

}  // namespace

TEST(CommandHandler, InitializeCountsOneController) {
    vesksim::Scenario scenario = loggingScenario();
    scenario.adapters.emplace_back();
    scenario.adapters[1].name = "vmhba3";
    scenario.adapters[1].signature = "nvmeMgmt-vmhba3";
    scenario.adapters[1].pciAddress.bus = 0x5E;
    RunningLibrary library(scenario);
    EXPECT_EQ(ZT_API_Initialize(), 0);
    EXPECT_EQ(CommandHandler::m_ControllerCount, 1);
    EXPECT_EQ(CommandHandler::m_libraryInitialized, 1);
    EXPECT_EQ(ZT_Adapter_GetCount(), 1);
    EXPECT_EQ(identifyCount(), 1U) << "the host is scanned once, up to the first controller";
    const LogLines lines = LogFile(library.files()).lines();
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
    library.stop();
}

TEST(LibraryStart, InitializeStartsTheMonitorOnce) {
    RunningLibrary library;
    EXPECT_EQ(ZT_API_Initialize(), 0);
    EXPECT_TRUE(library.gate().waitForSleeper(1));
    const CVeskNVMeMonitor* const monitor = CVeskNVMeMonitor::m_pNVMeMonitorInstance;
    EXPECT_NE(monitor, nullptr);
    EXPECT_EQ(ZT_API_Initialize(), 0);
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, monitor);
    EXPECT_EQ(RunningLibrary::driver().openHandles(), 1U);
    EXPECT_EQ(identifyCount(), 1U);
    library.stop();
}

TEST(LibraryStart, PollingThreadSendsACommandEachInterval) {
    RunningLibrary library(loggingScenario());
    EXPECT_EQ(ZT_API_Initialize(), 0);
    EXPECT_TRUE(library.gate().waitForSleeper(1));
    const LogFile log(library.files());
    // One of them is the set-up itself.
    EXPECT_EQ(vesktest::count(log.lines(), "CommandHandler::navigator() ENTRY "), 2U);
    library.gate().release();
    EXPECT_TRUE(library.gate().waitForSleeper(2));
    EXPECT_EQ(vesktest::count(log.lines(), "CommandHandler::navigator() ENTRY "), 3U);
    EXPECT_EQ(library.gate().secondsAsked(), (std::vector<unsigned>{60, 60}));
    library.stop();
}

TEST(LibraryStart, InitializeAfterTearDownStartsNothing) {
    RunningLibrary library(loggingScenario());
    EXPECT_EQ(ZT_API_Initialize(), 0);
    library.stop();
    RunningLibrary::driver().forgetHistory();
    library.files().write(kLogPath, "");
    EXPECT_EQ(ZT_API_Initialize(), 0);
    EXPECT_EQ(LogFile(library.files()).lines(), LogLines{"libVeskNVMe SUCESS: ERR_NONE "});
    EXPECT_EQ(RunningLibrary::driver().commands().size(), 0U);
    EXPECT_EQ(RunningLibrary::driver().openHandles(), 0U);
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
}

TEST(LibraryStart, PlainStartAfterTearDownStartsAgain) {
    RunningLibrary library;
    EXPECT_EQ(ZT_API_Initialize(), 0);
    library.stop();
    EXPECT_EQ(RunningLibrary::driver().openHandles(), 0U);
    ZNV_Library_Initialize();
    EXPECT_EQ(RunningLibrary::driver().openHandles(), 1U);
    EXPECT_NE(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
    EXPECT_EQ(ZT_Adapter_GetCount(), 1);
    library.stop();
    EXPECT_EQ(RunningLibrary::driver().openHandles(), 0U);
}

TEST(LibraryStartDeathTest, SecondPlainStartEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(startTwice(), "");
}

TEST(LibraryStop, OnlyTheSecondFinalizeTearsDown) {
    RunningLibrary library(loggingScenario());
    EXPECT_EQ(ZT_API_Initialize(), 0);
    EXPECT_TRUE(library.gate().waitForSleeper(1));

    ZT_API_Finalize();
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 1);
    EXPECT_NE(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
    EXPECT_NE(CommandHandler::m_pCommandHandlerInstance, nullptr);
    EXPECT_EQ(RunningLibrary::driver().openHandles(), 1U);
    library.gate().release();
    EXPECT_TRUE(library.gate().waitForSleeper(2)) << "the monitor still runs";

    library.gate().releaseAll();
    ZT_API_Finalize();
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 2);
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
    EXPECT_EQ(CVMWareZNVDeviceTalker::m_pVMWareZNVDeviceTalkerInstance, nullptr);
    EXPECT_EQ(CommandHandler::m_pCommandHandlerInstance, nullptr);
    EXPECT_EQ(RunningLibrary::driver().openHandles(), 0U);

    library.files().write(kLogPath, "");
    ZT_API_Finalize();
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 3);
    EXPECT_EQ(LogFile(library.files()).lines(),
              (LogLines{"ZT_API_Finalize() ENTRY ", "ZT_API_Finalize() EXIT "}));
}

TEST(LibraryStop, ThreadEndsBeforeTheTalkerGoes) {
    RunningLibrary library(loggingScenario());
    EXPECT_EQ(ZT_API_Initialize(), 0);
    EXPECT_TRUE(library.gate().waitForSleeper(1));
    library.stop();
    EXPECT_TRUE(inOrder(
        LogFile(library.files()).lines(),
        {"ZNV_Library_Finalize() ENTRY ",
         "libVeskNvme: CommandHandler::navigator(): Calling API_FINALIZE",
         "CVeskNVMeMonitor::stopMonitoring() ENTRY ", "CVeskNVMeMonitor::stopMonitoring() EXIT ",
         "libVeskNvme: CLibInitializer::deleteOSdeviceTalkerInstance()",
         "CommandHandler::navigator() EXIT ",
         "CommandHandler::destroyMe()libVeskNvme:CCommandHandler::destroyMe() ENTRY ",
         "CommandHandler::destroyMe()libVeskNvme:CCommandHandler::destroyMe() EXIT ",
         "ZNV_Library_Finalize() EXIT "}));
}

TEST(LibraryStop, KeepsTheCountersAndTheErrorState) {
    RunningLibrary library;
    EXPECT_EQ(ZT_API_Initialize(), 0);
    VeskNVMeLibrary_Error::setErrorCode(6);
    library.stop();
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 6);
    EXPECT_EQ(CommandHandler::m_ControllerCount, 1);
    EXPECT_EQ(CommandHandler::m_libraryInitialized, 1);
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 0);
    EXPECT_EQ(ZT_Adapter_GetCount(), 1) << "as found at set-up";
}

TEST(LibraryStop, CounterGoesOnAcrossStarts) {
    RunningLibrary library;
    EXPECT_EQ(ZT_API_Initialize(), 0);
    ZT_API_Finalize();
    library.stop();
    ZNV_Library_Initialize();
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 1);
    library.gate().releaseAll();
    ZT_API_Finalize();
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr) << "it was the second call";
}

TEST(LibraryStop, SecondPlainFinalizeThrows) {
    RunningLibrary library;
    EXPECT_EQ(ZT_API_Initialize(), 0);
    library.stop();
    EXPECT_THROW(ZNV_Library_Finalize(), std::system_error);
}
