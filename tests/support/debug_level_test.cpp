// Switching the trace log on and off, by level and by the configuration.
#include "failing_calls.h"
#include "logger_host.h"
#include "support/ini_files.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

namespace {

using stg::lout;
using vesktest::FailingCalls;
using vesktest::kConfigIniPath;
using vesktest::kLogPath;
using vesktest::LogLines;
using Helper = VeskNVMeLibrary_Helper;

class DebugLevel : public vesktest::Logger {
protected:
    bool logs() const {
        lout << "a probe" << '\n';
        return vesktest::contains(m_log.lines(), "a probe");
    }
};

}  // namespace

TEST_F(DebugLevel, LevelTwoFollowsTheConfiguration) {
    for (const char* const text :
         {"[Logging]\nDebug=ON\n", "[Logging]\nDebug=Off\n", "[Logging]\nDebug=1\n",
          "[Logging]\nDebug= On\n", "[Logging]\nDebug=On \n", "[Logging]\nDebug =On\n",
          "[Logging]\nDebug=\n", "[Logging]\nOther=On\n", "[Polling]\nDebug=On\n",
          "[Logging]\n;Debug=On\n", ""}) {
        m_host.writeConfigIni(text);
        Helper::m_DebugValue = 7;
        Helper::setDebugLevel(2);
        EXPECT_FALSE(lout.isActive()) << text;
        EXPECT_EQ(Helper::m_DebugValue, 7) << text;
    }
    EXPECT_FALSE(m_host.exists(kLogPath));
    EXPECT_FALSE(m_host.exists(vesktest::kLogLinkPath));
    for (const char* const text : {"[Logging]\nDebug=On\n", "[Logging]\nDebug=on\n",
                                   "[Logging]\r\nDebug=On\r\n", "[Logging]\nDebug=On"}) {
        lout.stopDebug();
        m_host.write(kLogPath, "");
        m_host.writeConfigIni(text);
        Helper::m_DebugValue = 7;
        Helper::setDebugLevel(2);
        EXPECT_TRUE(logs()) << text;
        EXPECT_EQ(Helper::m_DebugValue, 1) << text;
    }
}

TEST_F(DebugLevel, LevelTwoWithoutAConfigurationLeavesLoggingOff) {
    Helper::setDebugLevel(2);
    EXPECT_FALSE(lout.isActive());
    EXPECT_FALSE(m_host.exists(kLogPath));
    EXPECT_FALSE(m_host.exists(vesktest::kLogLinkPath));
}

TEST_F(DebugLevel, LevelTwoWithAConfigurationThatCannotBeReadLeavesLoggingOff) {
    m_host.writeConfigIni("[Logging]\nDebug=On\n");
    {
        const FailingCalls failing([](const std::string& call, const std::string& path) {
            return call == "read" && path == kConfigIniPath ? EIO : 0;
        });
        Helper::setDebugLevel(2);
    }
    EXPECT_FALSE(logs());
    EXPECT_FALSE(lout.isActive());
}

TEST_F(DebugLevel, LevelOneStartsLoggingWhateverTheConfigurationSays) {
    m_host.writeConfigIni("[Logging]\nDebug=Off\n");
    Helper::setDebugLevel(1);
    EXPECT_EQ(Helper::m_DebugValue, 1);
    EXPECT_EQ(m_log.lines(), (LogLines{"VeskNVMeLibrary: Logging started....",
                                       "VeskNVMeLibrary_Helper::setDebugLevel() EXIT "}));
    EXPECT_TRUE(m_host.exists(vesktest::kLogLinkPath));
}

TEST_F(DebugLevel, LevelZeroSaysSoAndStopsLoggingUntilItIsStartedAgain) {
    Helper::setDebugLevel(1);
    Helper::setDebugLevel(0);
    EXPECT_EQ(Helper::m_DebugValue, 0);
    EXPECT_EQ(m_log.lines().back(), "VeskNVMeLibrary: Logging Terminated!!!");
    EXPECT_FALSE(logs());
    EXPECT_TRUE(lout.isActive());
    Helper::setDebugLevel(1);
    EXPECT_TRUE(logs());
    EXPECT_EQ(vesktest::count(m_log.lines(), "VeskNVMeLibrary: Logging started...."), 2U);
}

TEST_F(DebugLevel, LevelZeroWithoutAStartWritesNothing) {
    Helper::m_DebugValue = 7;
    Helper::setDebugLevel(0);
    EXPECT_EQ(Helper::m_DebugValue, 0);
    EXPECT_FALSE(m_host.exists(kLogPath));
    EXPECT_FALSE(lout.isActive());
}

TEST_F(DebugLevel, EachLevelLooksForTheFolderAndOthersDoNothingElse) {
    m_host.writeConfigIni("[Logging]\nDebug=On\n");
    Helper::m_DebugValue = 7;
    for (const INTEGER level : {3, -1, 2147483647, 0, 1, 2}) {
        if (level == 0) {
            EXPECT_FALSE(lout.isActive());
            EXPECT_EQ(Helper::m_DebugValue, 7);
        }
        lout.stopDebug();
        Helper::m_LibPath.clear();
        Helper::setDebugLevel(level);
        EXPECT_EQ(Helper::m_LibPath, "/opt/orvo/kelpdesk/etc/kelpdesk-storage/") << level;
    }
}
