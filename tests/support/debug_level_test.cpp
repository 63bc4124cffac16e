// Switching the log on and off.
#include "log_file.h"
#include "private_host.h"
#include "support/ini_files.h"
#include "support/logger.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace {

using stg::lout;
using vesktest::kLogPath;
using vesktest::LogFile;
using vesktest::PrivateHost;
using Helper = VeskNVMeLibrary_Helper;

class DebugLevel : public ::testing::Test {
protected:
    DebugLevel() : m_log(m_host) {}
    ~DebugLevel() override { lout.stopDebug(); }

    bool logs() const {
        lout << "a probe" << '\n';
        return m_log.exists() && vesktest::contains(m_log.lines(), "a probe");
    }

    PrivateHost m_host;
    LogFile m_log;
};

// What stands behind "Debug=" and whether logging starts.
struct DebugValue {
    const char* name;
    const char* text;
    bool starts;
};

// What stands beside the name of a test.
void PrintTo(const DebugValue& param, std::ostream* stream) {
    *stream << param.name;
}

class ConfiguredDebugLevel : public DebugLevel, public ::testing::WithParamInterface<DebugValue> {};

}  // namespace

TEST_P(ConfiguredDebugLevel, LevelTwoFollowsTheConfiguration) {
    m_host.writeConfigIni(GetParam().text);
    Helper::m_DebugValue = 7;
    Helper::setDebugLevel(2);
    EXPECT_EQ(lout.isActive(), GetParam().starts);
    EXPECT_EQ(logs(), GetParam().starts);
    EXPECT_EQ(Helper::m_DebugValue, GetParam().starts ? 1 : 7);
    EXPECT_EQ(Helper::m_LibPath, "/opt/orvo/kelpdesk/etc/kelpdesk-storage/");
}

INSTANTIATE_TEST_SUITE_P(
    Values, ConfiguredDebugLevel,
    ::testing::Values(DebugValue{"On", "[Logging]\nDebug=On\n", true},
                      DebugValue{"LowerOn", "[Logging]\nDebug=on\n", true},
                      DebugValue{"OnWithCarriageReturn", "[Logging]\r\nDebug=On\r\n", true},
                      DebugValue{"OnWithoutLineEnd", "[Logging]\nDebug=On", true},
                      DebugValue{"UpperOn", "[Logging]\nDebug=ON\n", false},
                      DebugValue{"Off", "[Logging]\nDebug=Off\n", false},
                      DebugValue{"One", "[Logging]\nDebug=1\n", false},
                      DebugValue{"OnWithBlankInFront", "[Logging]\nDebug= On\n", false},
                      DebugValue{"OnWithBlankBehind", "[Logging]\nDebug=On \n", false},
                      DebugValue{"BlankBeforeSeparator", "[Logging]\nDebug =On\n", false},
                      DebugValue{"Empty", "[Logging]\nDebug=\n", false},
                      DebugValue{"NoKey", "[Logging]\nOther=On\n", false},
                      DebugValue{"OtherSection", "[Polling]\nDebug=On\n", false},
                      DebugValue{"Commented", "[Logging]\n;Debug=On\n", false},
                      DebugValue{"EmptyFile", "", false}),
    [](const ::testing::TestParamInfo<DebugValue>& param) { return param.param.name; });

TEST_F(DebugLevel, LevelTwoWithoutAConfigurationLeavesLoggingOff) {
    Helper::setDebugLevel(2);
    EXPECT_FALSE(lout.isActive());
    EXPECT_FALSE(m_host.exists(kLogPath));
    EXPECT_FALSE(m_host.exists(vesktest::kLogLinkPath));
}

TEST_F(DebugLevel, LevelOneStartsLoggingAndSaysSo) {
    Helper::setDebugLevel(1);
    EXPECT_EQ(Helper::m_DebugValue, 1);
    ASSERT_FALSE(m_log.lines().empty());
    EXPECT_EQ(m_log.lines().front(), "VeskNVMeLibrary: Logging started....");
    EXPECT_TRUE(m_host.exists(vesktest::kLogLinkPath));
    EXPECT_TRUE(logs());
}

TEST_F(DebugLevel, LevelOneNeedsNoConfiguration) {
    m_host.writeConfigIni("[Logging]\nDebug=Off\n");
    Helper::setDebugLevel(1);
    EXPECT_TRUE(logs());
}

TEST_F(DebugLevel, LevelZeroSaysSoAndStopsLogging) {
    Helper::setDebugLevel(1);
    Helper::setDebugLevel(0);
    EXPECT_EQ(Helper::m_DebugValue, 0);
    EXPECT_EQ(m_log.lines().back(), "VeskNVMeLibrary: Logging Terminated!!!");
    EXPECT_FALSE(logs());
    EXPECT_TRUE(lout.isActive());
}

TEST_F(DebugLevel, LevelZeroWithoutAStartWritesNothing) {
    Helper::m_DebugValue = 7;
    Helper::setDebugLevel(0);
    EXPECT_EQ(Helper::m_DebugValue, 0);
    EXPECT_FALSE(m_host.exists(kLogPath));
    EXPECT_FALSE(lout.isActive());
}

TEST_F(DebugLevel, LoggingCanBeStartedAgain) {
    Helper::setDebugLevel(1);
    Helper::setDebugLevel(0);
    Helper::setDebugLevel(1);
    EXPECT_TRUE(logs());
    EXPECT_EQ(vesktest::count(m_log.lines(), "VeskNVMeLibrary: Logging started...."), 2U);
}

TEST_F(DebugLevel, OtherLevelsOnlyLookForTheFolder) {
    m_host.writeConfigIni("[Logging]\nDebug=On\n");
    Helper::m_DebugValue = 7;
    for (const INTEGER level : {3, -1, 2147483647}) {
        Helper::m_LibPath.clear();
        Helper::setDebugLevel(level);
        EXPECT_EQ(Helper::m_LibPath, "/opt/orvo/kelpdesk/etc/kelpdesk-storage/") << level;
    }
    EXPECT_FALSE(lout.isActive());
    EXPECT_EQ(Helper::m_DebugValue, 7);
}

TEST_F(DebugLevel, EachLevelLooksForTheFolder) {
    m_host.writeConfigIni("");
    for (const INTEGER level : {0, 1, 2}) {
        Helper::m_LibPath.clear();
        Helper::setDebugLevel(level);
        EXPECT_EQ(Helper::m_LibPath, "/opt/orvo/kelpdesk/etc/kelpdesk-storage/") << level;
    }
}

TEST_F(DebugLevel, IsTracedOnceLoggingRuns) {
    Helper::setDebugLevel(1);
    EXPECT_EQ(m_log.lines().back(), "VeskNVMeLibrary_Helper::setDebugLevel() EXIT ");
    m_host.write(kLogPath, "");
    Helper::setDebugLevel(3);
    EXPECT_EQ(m_log.lines().front(), "VeskNVMeLibrary_Helper::setDebugLevel() ENTRY ");
    EXPECT_EQ(m_log.lines().back(), "VeskNVMeLibrary_Helper::setDebugLevel() EXIT ");
}
