// Where the INI files are looked for.
#include "failing_calls.h"
#include "support/ini_files.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using vesktest::FailingCalls;
using vesktest::kMappingIniName;
using vesktest::kSecondIniFolder;
using vesktest::PrivateHost;
using Helper = VeskNVMeLibrary_Helper;

}  // namespace

TEST(IniPath, IsEmptyAtLoad) {
    EXPECT_EQ(Helper::m_LibPath, "");
}

TEST(IniPath, IsTheFirstFolderWithAConfiguration) {
    const PrivateHost host;
    host.writeConfigIni("");
    Helper::getLinuxINIPath();
    EXPECT_EQ(Helper::m_LibPath, "/opt/orvo/kelpdesk/etc/kelpdesk-storage/");
}

TEST(IniPath, IsTheSecondFolderIfTheFirstHasNone) {
    const PrivateHost host;
    host.makeFolder(kSecondIniFolder);
    host.write("/etc/cim/orvo/kelpdesk/kelpdesk-storage/libVeskNVMeConfig.ini", "");
    Helper::getLinuxINIPath();
    EXPECT_EQ(Helper::m_LibPath, "/etc/cim/orvo/kelpdesk/kelpdesk-storage/");
}

TEST(IniPath, PrefersTheFirstFolder) {
    const PrivateHost host;
    host.writeConfigIni("");
    host.makeFolder(kSecondIniFolder);
    host.write("/etc/cim/orvo/kelpdesk/kelpdesk-storage/libVeskNVMeConfig.ini", "");
    Helper::getLinuxINIPath();
    EXPECT_EQ(Helper::m_LibPath, "/opt/orvo/kelpdesk/etc/kelpdesk-storage/");
}

TEST(IniPath, AnAlertMappingFileAloneDoesNotCount) {
    const PrivateHost host;
    host.writeMappingIni("");
    host.makeFolder(kSecondIniFolder);
    host.write(std::string(kSecondIniFolder) + kMappingIniName, "");
    Helper::getLinuxINIPath();
    EXPECT_EQ(Helper::m_LibPath, "");
}

TEST(IniPath, FallsBackToTheWorkingFolder) {
    const PrivateHost host;
    host.write("/scratch/libVeskNVMeConfig.ini", "[Polling]\npollingIntervalInSeconds=77\n");
    host.write("/scratch/libVeskNVMeAlertMapping.ini", "[EventSequenceNumber]\nSequenceNumber=5\n");
    ASSERT_EQ(chdir(host.path("/scratch").c_str()), 0);
    Helper::getLinuxINIPath();
    EXPECT_EQ(Helper::m_LibPath, "");
    EXPECT_EQ(Helper::readPollingIntervalFromINIFile(), 77);
    EXPECT_EQ(Helper::readEventSeqNumberFromINIFile(), 5);
    EXPECT_EQ(Helper::writeLastProcessedEventSeqNumberToINIFile(6), 0);
    EXPECT_EQ(host.read("/scratch/libVeskNVMeAlertMapping.ini"),
              "[EventSequenceNumber]\nSequenceNumber=6\n");
    ASSERT_EQ(chdir("/"), 0);
}

TEST(IniPath, AsksForTheWorkingFolderOnlyWhereNoConfigurationIs) {
    const PrivateHost host;
    std::vector<std::string> commands;
    const FailingCalls failing([&commands](const char* function, const std::string& command) {
        if (std::string(function) == "popen") {
            commands.push_back(command);
        }
        return 0;
    });
    host.writeConfigIni("");
    Helper::getLinuxINIPath();
    EXPECT_EQ(commands, std::vector<std::string>{});
    host.write("/opt/orvo/keep", "");
    ASSERT_EQ(unlink(host.path(vesktest::kConfigIniPath).c_str()), 0);
    Helper::getLinuxINIPath();
    EXPECT_EQ(commands, std::vector<std::string>{"pwd"});
}

TEST(IniPath, StaysAsItWasWhereNoConfigurationIs) {
    const PrivateHost host;
    Helper::m_LibPath = "/scratch/earlier/";
    Helper::getLinuxINIPath();
    EXPECT_EQ(Helper::m_LibPath, "/scratch/earlier/");
}

TEST(IniPath, SurvivesThatTheCommandCannotBeRun) {
    const PrivateHost host;
    const FailingCalls failing([](const char* function, const std::string&) {
        return std::string(function) == "popen" ? ENOMEM : 0;
    });
    Helper::getLinuxINIPath();
    EXPECT_EQ(Helper::m_LibPath, "");
}

TEST(IniPath, FileThatCannotBeOpenedIsLikeNone) {
    const PrivateHost host;
    host.writeConfigIni("");
    host.makeFolder(kSecondIniFolder);
    host.write("/etc/cim/orvo/kelpdesk/kelpdesk-storage/libVeskNVMeConfig.ini", "");
    const FailingCalls failing([](const char* function, const std::string& path) {
        return vesktest::isOpening(function) && path == vesktest::kConfigIniPath ? EACCES : 0;
    });
    Helper::getLinuxINIPath();
    EXPECT_EQ(Helper::m_LibPath, "/etc/cim/orvo/kelpdesk/kelpdesk-storage/");
}

TEST(IniPath, LookingForItIsTraced) {
    const vesktest::TracedHost logging;
    Helper::getLinuxINIPath();
    EXPECT_EQ(logging.lines(),
              (vesktest::LogLines{"VeskNVMeLibrary_Helper::getLinuxINIPath() ENTRY ",
                                  "VeskNVMeLibrary_Helper::getLinuxINIPath() EXIT "}));
}
