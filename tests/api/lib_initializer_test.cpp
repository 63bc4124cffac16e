// Making and unmaking the talker, and asking it for the controller.
#include "api/lib_initializer.h"
#include "discovery_script.h"
#include "memory_faults.h"
#include "traced_host.h"
#include "transport/vmware_device_talker.h"

#include <gtest/gtest.h>

namespace {

using vesktest::contains;
using vesktest::count;
using vesktest::PrivateHost;
using vesktest::ScriptedDriver;
using vesktest::TracedHost;

const auto& pair() {
    return IZNVDeviceTalker::OS_OSTYPEPTR_PAIR;
}

}  // namespace

TEST(LibInitializer, CreationFillsThePair) {
    const ScriptedDriver driver;
    CLibInitializer::createOSdeviceTalkerInstance();
    EXPECT_EQ(pair().first, "Vmware");
    EXPECT_NE(pair().second, nullptr);
    EXPECT_EQ(pair().second, CVMWareZNVDeviceTalker::m_pVMWareZNVDeviceTalkerInstance);
    EXPECT_EQ(pair().second->getHandle(), nullptr);
    EXPECT_EQ(driver.callCount(), 0U);
    CLibInitializer::deleteOSdeviceTalkerInstance();
}

TEST(LibInitializer, CreationLogsTheSystem) {
    TracedHost logging;
    CLibInitializer::createOSdeviceTalkerInstance();
    EXPECT_EQ(count(logging.lines(),
                    "libVeskNvme: CLibInitializer::initializeOStype(): OS found = Vmware"),
              1U);
    EXPECT_EQ(logging.lines().back(),
              "libVeskNvme: CLibInitializer::initializeOStype(): OS found = Vmware")
        << "it writes no trace lines of its own";
    CLibInitializer::deleteOSdeviceTalkerInstance();
}

TEST(LibInitializer, SecondCreationGetsTheSameTalker) {
    CLibInitializer::createOSdeviceTalkerInstance();
    IZNVDeviceTalker* const first = pair().second;
    CLibInitializer::createOSdeviceTalkerInstance();
    EXPECT_EQ(pair().second, first);
    EXPECT_EQ(pair().first, "Vmware");
    CLibInitializer::deleteOSdeviceTalkerInstance();
}

TEST(LibInitializer, ExistenceIsWhatTheTalkerFinds) {
    const PrivateHost host;
    ScriptedDriver driver;
    CLibInitializer::createOSdeviceTalkerInstance();
    vesktest::expectNoAdapter(driver);
    EXPECT_FALSE(CLibInitializer::checkControllerExistence());
    vesktest::expectController(driver);
    EXPECT_TRUE(CLibInitializer::checkControllerExistence());
    driver.expectClose(vesktest::kControllerConnection);
    CLibInitializer::deleteOSdeviceTalkerInstance();
    EXPECT_EQ(driver.openCount(), 0U);
}

TEST(LibInitializer, CountIsWhatTheTalkerFinds) {
    const PrivateHost host;
    ScriptedDriver driver;
    CLibInitializer::createOSdeviceTalkerInstance();
    vesktest::expectNoAdapter(driver);
    EXPECT_EQ(CLibInitializer::getControllerCount(), 0);
    vesktest::expectController(driver);
    EXPECT_EQ(CLibInitializer::getControllerCount(), 1);
    driver.expectClose(vesktest::kControllerConnection);
    CLibInitializer::deleteOSdeviceTalkerInstance();
}

TEST(LibInitializer, EachOperationLogsItsLine) {
    TracedHost logging;
    ScriptedDriver driver;
    CLibInitializer::createOSdeviceTalkerInstance();
    logging.forgetLines();

    vesktest::expectNoAdapter(driver);
    CLibInitializer::checkControllerExistence();
    EXPECT_EQ(logging.lines().front(), "libVeskNvme: CLibInitializer::checkControllerExistence()");
    logging.forgetLines();

    vesktest::expectNoAdapter(driver);
    CLibInitializer::getControllerCount();
    EXPECT_EQ(logging.lines().front(), "libVeskNvme: CLibInitializer::checkControllerCount()");
    logging.forgetLines();

    CLibInitializer::deleteOSdeviceTalkerInstance();
    EXPECT_EQ(logging.lines().front(),
              "libVeskNvme: CLibInitializer::deleteOSdeviceTalkerInstance()");
}

TEST(LibInitializer, PairKeepsItsPointerAfterDeletion) {
    CLibInitializer::createOSdeviceTalkerInstance();
    const IZNVDeviceTalker* const talker = pair().second;
    CLibInitializer::deleteOSdeviceTalkerInstance();
    EXPECT_EQ(pair().first, "Vmware");
    EXPECT_EQ(pair().second, talker);
    EXPECT_EQ(CVMWareZNVDeviceTalker::m_pVMWareZNVDeviceTalkerInstance, nullptr);
}

TEST(LibInitializer, OperationsWithoutATalkerDoNothing) {
    const ScriptedDriver driver;
    EXPECT_FALSE(CLibInitializer::checkControllerExistence());
    EXPECT_EQ(CLibInitializer::getControllerCount(), 0);
    CLibInitializer::deleteOSdeviceTalkerInstance();
    EXPECT_EQ(pair().first, "");
    EXPECT_EQ(pair().second, nullptr);
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST(LibInitializer, OperationsAfterDeletionDoNothing) {
    const ScriptedDriver driver;
    CLibInitializer::createOSdeviceTalkerInstance();
    CLibInitializer::deleteOSdeviceTalkerInstance();
    EXPECT_FALSE(CLibInitializer::checkControllerExistence());
    EXPECT_EQ(CLibInitializer::getControllerCount(), 0);
    CLibInitializer::deleteOSdeviceTalkerInstance();
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST(LibInitializer, TalkerCanBeMadeAgain) {
    const PrivateHost host;
    ScriptedDriver driver;
    CLibInitializer::createOSdeviceTalkerInstance();
    CLibInitializer::deleteOSdeviceTalkerInstance();
    CLibInitializer::createOSdeviceTalkerInstance();
    EXPECT_EQ(pair().second, CVMWareZNVDeviceTalker::m_pVMWareZNVDeviceTalkerInstance);
    vesktest::expectNoAdapter(driver);
    EXPECT_FALSE(CLibInitializer::checkControllerExistence());
    CLibInitializer::deleteOSdeviceTalkerInstance();
}

TEST(LibInitializer, TalkerThatCannotBeMadeLeavesTheOperationsIdle) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    TracedHost logging;
    const ScriptedDriver driver;
    {
        const vesktest::FailNew fail(
            vesktest::AllocationSize::exactly(sizeof(CVMWareZNVDeviceTalker)), 1,
            vesktest::Repeat::kEachLater);
        CLibInitializer::createOSdeviceTalkerInstance();
        EXPECT_TRUE(fail.triggered());
    }
    EXPECT_EQ(pair().second, nullptr);
    EXPECT_TRUE(contains(logging.lines(),
                         "libVeskNvme: CLibInitializer::initializeOStype(): OS found = Vmware"));
    EXPECT_FALSE(CLibInitializer::checkControllerExistence());
    EXPECT_EQ(CLibInitializer::getControllerCount(), 0);
    CLibInitializer::deleteOSdeviceTalkerInstance();
}

TEST(LibInitializer, ObjectOfItDoesNothing) {
    TracedHost logging;
    { const CLibInitializer initializer; }
    EXPECT_EQ(logging.lines(), vesktest::LogLines{});
}
