// Set-up on a host without a controller.
#include "api/command_handler.h"
#include "api/error_state.h"
#include "discovery_script.h"
#include "events/event_monitor.h"
#include "support/ini_files.h"
#include "traced_host.h"

#include <gtest/gtest.h>

namespace {

using vesktest::contains;
using vesktest::inOrder;
using vesktest::kLogPath;
using vesktest::LogFile;
using vesktest::LogLines;
using vesktest::PrivateHost;
using vesktest::ScriptedDriver;
using vesktest::TracedHost;

}  // namespace

TEST(LibraryStart, InitializeFollowsTheConfigurationBeforeItsFirstTraceLine) {
    const PrivateHost host;
    ScriptedDriver driver;
    host.writeConfigIni("[Logging]\nDebug=On\n");
    vesktest::expectNoAdapter(driver);
    EXPECT_EQ(ZT_API_Initialize(), 0);
    const LogLines lines = LogFile(host).lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.front(), "VeskNVMeLibrary: Logging started....");
    EXPECT_TRUE(inOrder(
        lines, {"VeskNVMeLibrary: Logging started....", "ZT_API_Initialize() ENTRY ",
                "CommandHandler::navigator() ENTRY ",
                "libVeskNvme: CommandHandler::navigator(): Calling \"ZT_API_Initialize API\" ...",
                "libVeskNvme: CommandHandler::navigator(): end of ZT_API_Initialize.",
                "CommandHandler::navigator() EXIT ", "ZT_API_Initialize() EXIT "}));
    EXPECT_EQ(lines.back(), "ZT_API_Initialize() EXIT ");
    EXPECT_EQ(VeskNVMeLibrary_Helper::m_LibPath, "/opt/orvo/kelpdesk/etc/kelpdesk-storage/");
}

TEST(LibraryStart, InitializeLogsNothingIfTheConfigurationSaysSo) {
    const PrivateHost host;
    ScriptedDriver driver;
    host.writeConfigIni("[Logging]\nDebug=Off\n");
    vesktest::expectNoAdapter(driver);
    EXPECT_EQ(ZT_API_Initialize(), 0);
    EXPECT_FALSE(host.exists(kLogPath));
    EXPECT_FALSE(host.exists(vesktest::kLogLinkPath));
}

TEST(LibraryStart, InitializeWithoutAControllerIsNoFailure) {
    const PrivateHost host;
    ScriptedDriver driver;
    vesktest::expectNoAdapter(driver);
    EXPECT_EQ(ZT_API_Initialize(), 0);
    EXPECT_EQ(ZT_Adapter_GetCount(), 0);
    EXPECT_EQ(CommandHandler::m_libraryInitialized, 1);
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
}

TEST(LibraryStart, SecondInitializeWritesOneLineAndStartsNothing) {
    TracedHost logging;
    ScriptedDriver driver;
    vesktest::expectNoAdapter(driver);
    EXPECT_EQ(ZT_API_Initialize(), 0);
    VeskNVMeLibrary_Error::setErrorCode(6);
    logging.forgetLines();
    EXPECT_EQ(ZT_API_Initialize(), 0);
    EXPECT_EQ(logging.lines(), LogLines{"libVeskNVMe SUCESS: ERR_NONE "});
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
    EXPECT_EQ(driver.callCount(), 3U);
}

TEST(LibraryStart, SecondInitializeDoesNotReadTheConfigurationAgain) {
    const PrivateHost host;
    ScriptedDriver driver;
    vesktest::expectNoAdapter(driver);
    EXPECT_EQ(ZT_API_Initialize(), 0);
    host.writeConfigIni("[Logging]\nDebug=On\n");
    EXPECT_EQ(ZT_API_Initialize(), 0);
    EXPECT_FALSE(host.exists(kLogPath));
    EXPECT_EQ(VeskNVMeLibrary_Helper::m_LibPath, "");
}

TEST(LibraryStart, InitializeAfterTheOtherStartDoesNothing) {
    const PrivateHost host;
    ScriptedDriver driver;
    host.writeConfigIni("[Logging]\nDebug=On\n");
    vesktest::expectNoAdapter(driver);
    ZNV_Library_Initialize();
    EXPECT_EQ(ZT_API_Initialize(), 0);
    EXPECT_FALSE(host.exists(kLogPath));
    EXPECT_EQ(driver.callCount(), 3U);
}

TEST(LibraryStart, PlainStartReadsNoConfiguration) {
    const PrivateHost host;
    ScriptedDriver driver;
    host.writeConfigIni("[Logging]\nDebug=On\n");
    vesktest::expectNoAdapter(driver);
    ZNV_Library_Initialize();
    EXPECT_FALSE(stg::lout.isActive());
    EXPECT_FALSE(host.exists(kLogPath));
    EXPECT_EQ(VeskNVMeLibrary_Helper::m_LibPath, "");
    EXPECT_EQ(CommandHandler::m_libraryInitialized, 1);
}

TEST(LibraryStart, PlainStartLeavesTheErrorStateAlone) {
    TracedHost logging;
    ScriptedDriver driver;
    vesktest::expectNoAdapter(driver);
    VeskNVMeLibrary_Error::setErrorCode(6);
    logging.forgetLines();
    ZNV_Library_Initialize();
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 6);
    const LogLines lines = logging.lines();
    EXPECT_EQ(lines.front(), "ZNV_Library_Initialize() ENTRY ");
    EXPECT_EQ(lines.back(), "ZNV_Library_Initialize() EXIT ");
    EXPECT_FALSE(contains(lines, "libVeskNVMe SUCESS: ERR_NONE "));
    EXPECT_TRUE(
        contains(lines, "libVeskNvme: CommandHandler::navigator(): end of ZT_API_Initialize."));
}

TEST(LibraryStart, PlainStartRepeatsTheWholeStart) {
    const PrivateHost host;
    ScriptedDriver driver;
    vesktest::expectNoAdapter(driver);
    EXPECT_EQ(ZT_API_Initialize(), 0);
    vesktest::expectNoAdapter(driver);
    ZNV_Library_Initialize();
    vesktest::expectNoAdapter(driver);
    ZNV_Library_Initialize();
    EXPECT_EQ(driver.callCount(), 9U);
}
