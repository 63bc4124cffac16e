// Load, set-up and tear-down of the library on a host without a controller; the talker of the
// operating system, which set-up makes.
#include "api/command_handler.h"
#include "api/error_state.h"
#include "api/lib_initializer.h"
#include "discovery_script.h"
#include "events/event_monitor.h"
#include "memory_faults.h"
#include "support/ini_files.h"
#include "traced_host.h"
#include "transport/vmware_device_talker.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <system_error>

namespace {

using vesktest::contains;
using vesktest::expectNoAdapter;
using vesktest::inOrder;
using vesktest::kLogPath;
using vesktest::LogFile;
using vesktest::LogLines;
using vesktest::PrivateHost;
using vesktest::ScriptedDriver;
using vesktest::TracedHost;

const auto& talkerPair() {
    return IZNVDeviceTalker::OS_OSTYPEPTR_PAIR;
}

}  // namespace

// ---- Load ----

TEST(LibraryLoad, TouchesNothingAndLeavesAllStateZero) {
    const ScriptedDriver driver;
    EXPECT_EQ(driver.callCount(), 0U);
    EXPECT_EQ(CVMWareZNVDeviceTalker::m_pVMWareZNVDeviceTalkerInstance, nullptr);
    EXPECT_EQ(talkerPair().first, "");
    EXPECT_EQ(talkerPair().second, nullptr);
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
    EXPECT_FALSE(stg::lout.isActive());
    EXPECT_EQ(VeskNVMeLibrary_Helper::m_LibPath, "");
    EXPECT_EQ(VeskNVMeLibrary_Helper::m_DebugValue, 0);
    EXPECT_EQ(CommandHandler::m_pCommandHandlerInstance, nullptr);
    EXPECT_EQ(CommandHandler::m_ControllerCount, 0);
    EXPECT_EQ(CommandHandler::m_libraryInitialized, 0);
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 0);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
    EXPECT_EQ(CController::firwareVer.majorVersion, 0);
    EXPECT_EQ(CController::firwareVer.minorVersion, 0);
    EXPECT_EQ(CController::firwareVer.revisionNumber, 0);
    EXPECT_EQ(CController::firwareVer.buildNumber, 0);
}

// ---- Set-up ----

TEST(LibraryStart, InitializeFollowsTheConfigurationBeforeItsFirstTraceLine) {
    const PrivateHost host;
    ScriptedDriver driver;
    host.writeConfigIni("[Logging]\nDebug=On\n");
    expectNoAdapter(driver);
    CommandHandler::m_ControllerCount = 1;
    EXPECT_EQ(ZT_API_Initialize(), 0) << "no controller is no failure";
    EXPECT_EQ(VeskNVMeLibrary_Helper::m_LibPath, "/opt/orvo/kelpdesk/etc/kelpdesk-storage/");
    EXPECT_EQ(CommandHandler::m_libraryInitialized, 1);
    EXPECT_EQ(CommandHandler::m_ControllerCount, 1) << "an earlier count stays";
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
    const LogLines lines = LogFile(host).lines();
    EXPECT_TRUE(inOrder(
        lines, {"VeskNVMeLibrary: Logging started....", "ZT_API_Initialize() ENTRY ",
                "CommandHandler::navigator() ENTRY ",
                "libVeskNvme: CommandHandler::navigator(): Calling \"ZT_API_Initialize API\" ...",
                "libVeskNvme: CommandHandler::navigator(): Initializing OS type....",
                "libVeskNvme: CLibInitializer::initializeOStype(): OS found = Vmware",
                "libVeskNvme: CLibInitializer::checkControllerExistence()",
                "libVeskNvme: CommandHandler::navigator(): Controller existance = 0",
                "libVeskNvme: CommandHandler::navigator(): end of ZT_API_Initialize.",
                "CommandHandler::navigator() EXIT ", "ZT_API_Initialize() EXIT "}));
    EXPECT_EQ(lines.front(), "VeskNVMeLibrary: Logging started....");
    EXPECT_EQ(lines.back(), "ZT_API_Initialize() EXIT ");
    EXPECT_FALSE(
        contains(lines, "libVeskNvme: CommandHandler::navigator(): Event monitoring started..."));
}

TEST(LibraryStart, InitializeLogsNothingIfTheConfigurationSaysSo) {
    const PrivateHost host;
    ScriptedDriver driver;
    host.writeConfigIni("[Logging]\nDebug=Off\n");
    expectNoAdapter(driver);
    EXPECT_EQ(ZT_API_Initialize(), 0);
    EXPECT_FALSE(host.exists(kLogPath));
    EXPECT_FALSE(host.exists(vesktest::kLogLinkPath));
}

TEST(LibraryStart, SecondInitializeWritesOneLineAndDoesNothing) {
    TracedHost logging;
    ScriptedDriver driver;
    expectNoAdapter(driver);
    EXPECT_EQ(ZT_API_Initialize(), 0);
    VeskNVMeLibrary_Error::setErrorCode(6);
    logging.files().writeConfigIni("[Logging]\nDebug=On\n");
    logging.forgetLines();
    EXPECT_EQ(ZT_API_Initialize(), 0);
    EXPECT_EQ(logging.lines(), LogLines{"libVeskNVMe SUCESS: ERR_NONE "});
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
    EXPECT_EQ(VeskNVMeLibrary_Helper::m_LibPath, "") << "the configuration is not read again";
    EXPECT_EQ(driver.callCount(), 3U);
}

TEST(LibraryStart, PlainStartReadsNoConfigurationAndCountsAsTheStart) {
    const PrivateHost host;
    ScriptedDriver driver;
    host.writeConfigIni("[Logging]\nDebug=On\n");
    expectNoAdapter(driver);
    ZNV_Library_Initialize();
    EXPECT_EQ(CommandHandler::m_libraryInitialized, 1);
    EXPECT_EQ(ZT_API_Initialize(), 0);
    EXPECT_FALSE(stg::lout.isActive());
    EXPECT_FALSE(host.exists(kLogPath));
    EXPECT_EQ(VeskNVMeLibrary_Helper::m_LibPath, "");
    EXPECT_EQ(driver.callCount(), 3U);
}

TEST(LibraryStart, PlainStartRepeatsTheWholeStartAndLeavesTheErrorStateAlone) {
    TracedHost logging;
    ScriptedDriver driver;
    expectNoAdapter(driver);
    EXPECT_EQ(ZT_API_Initialize(), 0);
    VeskNVMeLibrary_Error::setErrorCode(6);
    for (const std::size_t calls : {6U, 9U}) {
        logging.forgetLines();
        expectNoAdapter(driver);
        ZNV_Library_Initialize();
        EXPECT_EQ(driver.callCount(), calls);
        EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 6);
        const LogLines lines = logging.lines();
        EXPECT_EQ(lines.front(), "ZNV_Library_Initialize() ENTRY ");
        EXPECT_EQ(lines.back(), "ZNV_Library_Initialize() EXIT ");
        EXPECT_FALSE(contains(lines, "libVeskNVMe SUCESS: ERR_NONE "));
        EXPECT_TRUE(
            contains(lines, "libVeskNvme: CommandHandler::navigator(): end of ZT_API_Initialize."));
    }
}

// ---- Tear-down: without a polling thread it throws ----

TEST(LibraryStop, SecondFinalizeOnlyIsMoreThanACount) {
    struct Row {
        USHORT_INT before;
        USHORT_INT after;
        bool tearsDown;
    };
    const Row rows[] = {{0, 1, false}, {1, 2, true}, {2, 3, false}, {65535, 0, false}};
    TracedHost logging;
    ScriptedDriver driver;
    expectNoAdapter(driver);
    EXPECT_EQ(ZT_API_Initialize(), 0);
    VeskNVMeLibrary_Error::setErrorCode(6);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.before);
        CommandHandler::m_libraryFinalized = row.before;
        logging.forgetLines();
        if (row.tearsDown) {
            EXPECT_THROW(ZT_API_Finalize(), std::system_error);
            EXPECT_TRUE(
                inOrder(logging.lines(),
                        {"ZT_API_Finalize() ENTRY ",
                         "libVeskNvme: CommandHandler::navigator(): Calling API_FINALIZE"}));
        } else {
            ZT_API_Finalize();
            EXPECT_EQ(logging.lines(),
                      (LogLines{"ZT_API_Finalize() ENTRY ", "ZT_API_Finalize() EXIT "}));
        }
        EXPECT_EQ(CommandHandler::m_libraryFinalized, row.after);
        EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 6);
    }
}

TEST(LibraryStop, PlainFinalizeWithoutAControllerThrowsAndCountsNothing) {
    TracedHost logging;
    ScriptedDriver driver;
    expectNoAdapter(driver);
    ZNV_Library_Initialize();
    logging.forgetLines();
    EXPECT_THROW(ZNV_Library_Finalize(), std::system_error);
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 0);
    EXPECT_TRUE(inOrder(logging.lines(),
                        {"ZNV_Library_Finalize() ENTRY ",
                         "libVeskNvme: CommandHandler::navigator(): Calling API_FINALIZE"}));
    EXPECT_FALSE(contains(logging.lines(), "CommandHandler::navigator() EXIT "));
    EXPECT_FALSE(contains(logging.lines(), "ZNV_Library_Finalize() EXIT "));
}

// ---- The talker ----

TEST(LibInitializer, CreationFillsThePair) {
    const ScriptedDriver driver;
    CLibInitializer::createOSdeviceTalkerInstance();
    IZNVDeviceTalker* const first = talkerPair().second;
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, CVMWareZNVDeviceTalker::m_pVMWareZNVDeviceTalkerInstance);
    EXPECT_EQ(first->getHandle(), nullptr);
    CLibInitializer::createOSdeviceTalkerInstance();
    EXPECT_EQ(talkerPair().second, first) << "a second time it is the same";
    EXPECT_EQ(talkerPair().first, "Vmware");
    EXPECT_EQ(driver.callCount(), 0U);
    CLibInitializer::deleteOSdeviceTalkerInstance();
}

TEST(LibInitializer, CreationLogsTheSystem) {
    TracedHost logging;
    CLibInitializer::createOSdeviceTalkerInstance();
    EXPECT_EQ(logging.messages(),
              LogLines{"libVeskNvme: CLibInitializer::initializeOStype(): OS found = Vmware"});
    EXPECT_EQ(logging.lines().back(),
              "libVeskNvme: CLibInitializer::initializeOStype(): OS found = Vmware")
        << "it writes no trace lines of its own";
    CLibInitializer::deleteOSdeviceTalkerInstance();
}

TEST(LibInitializer, EachOperationLogsItsLine) {
    TracedHost logging;
    ScriptedDriver driver;
    { const CLibInitializer initializer; }
    EXPECT_EQ(logging.lines(), LogLines{}) << "an object of it does nothing";
    CLibInitializer::createOSdeviceTalkerInstance();
    logging.forgetLines();

    expectNoAdapter(driver);
    CLibInitializer::checkControllerExistence();
    EXPECT_EQ(logging.lines().front(), "libVeskNvme: CLibInitializer::checkControllerExistence()");
    logging.forgetLines();

    expectNoAdapter(driver);
    CLibInitializer::getControllerCount();
    EXPECT_EQ(logging.lines().front(), "libVeskNvme: CLibInitializer::checkControllerCount()");
    logging.forgetLines();

    CLibInitializer::deleteOSdeviceTalkerInstance();
    EXPECT_EQ(logging.lines().front(),
              "libVeskNvme: CLibInitializer::deleteOSdeviceTalkerInstance()");
}

TEST(LibInitializer, ExistenceAndCountAreWhatTheTalkerFinds) {
    const PrivateHost host;
    ScriptedDriver driver;
    CLibInitializer::createOSdeviceTalkerInstance();
    expectNoAdapter(driver);
    EXPECT_FALSE(CLibInitializer::checkControllerExistence());
    expectNoAdapter(driver);
    EXPECT_EQ(CLibInitializer::getControllerCount(), 0);
    vesktest::expectController(driver);
    EXPECT_TRUE(CLibInitializer::checkControllerExistence());
    driver.expectClose(vesktest::kControllerConnection);
    CLibInitializer::deleteOSdeviceTalkerInstance();
    EXPECT_EQ(driver.openCount(), 0U);

    CLibInitializer::createOSdeviceTalkerInstance();
    vesktest::expectController(driver);
    EXPECT_EQ(CLibInitializer::getControllerCount(), 1) << "a talker made anew finds it too";
    driver.expectClose(vesktest::kControllerConnection);
    CLibInitializer::deleteOSdeviceTalkerInstance();
}

namespace {

void expectIdleOperations() {
    const ScriptedDriver driver;
    EXPECT_FALSE(CLibInitializer::checkControllerExistence());
    EXPECT_EQ(CLibInitializer::getControllerCount(), 0);
    CLibInitializer::deleteOSdeviceTalkerInstance();
    EXPECT_EQ(driver.callCount(), 0U);
}

}  // namespace

TEST(LibInitializer, PairKeepsItsPointerAfterDeletion) {
    expectIdleOperations();
    EXPECT_EQ(talkerPair().first, "");
    EXPECT_EQ(talkerPair().second, nullptr);
    CLibInitializer::createOSdeviceTalkerInstance();
    const IZNVDeviceTalker* const talker = talkerPair().second;
    CLibInitializer::deleteOSdeviceTalkerInstance();
    EXPECT_EQ(talkerPair().first, "Vmware");
    EXPECT_EQ(talkerPair().second, talker);
    EXPECT_EQ(CVMWareZNVDeviceTalker::m_pVMWareZNVDeviceTalkerInstance, nullptr);
    expectIdleOperations();
}

TEST(LibInitializer, TalkerThatCannotBeMadeLeavesTheOperationsIdle) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    TracedHost logging;
    {
        const vesktest::FailNew fail(
            vesktest::AllocationSize::exactly(sizeof(CVMWareZNVDeviceTalker)), 1,
            vesktest::Repeat::kEachLater);
        CLibInitializer::createOSdeviceTalkerInstance();
        EXPECT_TRUE(fail.triggered());
    }
    EXPECT_EQ(talkerPair().second, nullptr);
    EXPECT_TRUE(contains(logging.lines(),
                         "libVeskNvme: CLibInitializer::initializeOStype(): OS found = Vmware"));
    expectIdleOperations();
}
