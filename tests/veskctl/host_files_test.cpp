#include "veskctl/host_files.h"

#include "samples.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;
using veskctl::FileState;

namespace {

constexpr const char* kFirst = "/opt/orvo/kelpdesk/etc/kelpdesk-storage/";
constexpr const char* kSecond = "/etc/cim/orvo/kelpdesk/kelpdesk-storage/";
constexpr const char* kConfig = "libVeskNVMeConfig.ini";
constexpr const char* kMapping = "libVeskNVMeAlertMapping.ini";
constexpr const char* kConfigText = "[Logging]\nDebug=Off\n";
constexpr const char* kMappingText = "[Adapter]\n1=2001\n[EventSequenceNumber]\nSequenceNumber=3\n";

// A folder that stands for the host's root, and is the current one as well.
class HostFilesTest : public testing::Test {
protected:
    HostFilesTest() : m_before(fs::current_path()) {
        std::string pattern = (fs::temp_directory_path() / "host-files-XXXXXX").string();
        root = mkdtemp(pattern.data());
        fs::create_directories(root + "/current");
        fs::current_path(root + "/current");
        for (const char* file : {"Templspcibdf.txt", "Templspciconfig.txt"}) {
            put(std::string("/opt/orvo/pciconfig/") + file, "something\n");
        }
    }
    ~HostFilesTest() override {
        fs::current_path(m_before);
        fs::remove_all(root);
    }

    std::string place(const std::string& path) const {
        return path.front() == '/' ? root + path : path;
    }

    void put(const std::string& path, const std::string& text) {
        const fs::path file = place(path);
        if (file.has_parent_path()) {
            fs::create_directories(file.parent_path());
        }
        std::ofstream(file, std::ios::binary) << text;
    }

    void putPair(const std::string& folder) {
        put(folder + kConfig, kConfigText);
        put(folder + kMapping, kMappingText);
    }

    // "code path" of each finding, the path without the current folder.
    std::vector<std::string> findings() {
        files = veskctl::readHostFiles(root);
        std::vector<std::string> found;
        const std::string folder = root + "/current/";
        for (const veskctl::Finding& finding : files.findings) {
            const bool inCurrent = finding.path.rfind(folder, 0) == 0;
            found.push_back(finding.code + ' ' +
                            (inCurrent ? finding.path.substr(folder.size()) : finding.path));
        }
        return found;
    }

    using Found = std::vector<std::string>;
    std::string root;
    veskctl::HostFiles files;

private:
    fs::path m_before;
};

TEST_F(HostFilesTest, FirstPlace) {
    putPair(kFirst);
    putPair(kSecond);
    EXPECT_EQ(findings(), Found());
    EXPECT_EQ(files.mapping.path, std::string(kFirst) + kMapping);
    EXPECT_EQ(veskctl::placeOfMapping(root, files), root + kFirst + kMapping);
    EXPECT_EQ(files.mark->value, 3);
}

TEST_F(HostFilesTest, SecondPlace) {
    putPair(kSecond);
    EXPECT_EQ(findings(), Found());
    EXPECT_EQ(files.mapping.path, std::string(kSecond) + kMapping);
}

TEST_F(HostFilesTest, CurrentFolderComesWithAWarning) {
    putPair("");
    EXPECT_EQ(findings(), Found({std::string("ini_in_current_folder ") + kConfig}));
    EXPECT_EQ(files.findings[0].severity, veskctl::Severity::Warning);
    EXPECT_EQ(veskctl::placeOfMapping(root, files), kMapping);
}

TEST_F(HostFilesTest, NoneAtAllNamesThePlaces) {
    EXPECT_EQ(findings(), Found({"ini_none_found "}));
    EXPECT_TRUE(contains(files.findings[0].text, kFirst));
    EXPECT_TRUE(contains(files.findings[0].text, kSecond));
    EXPECT_TRUE(contains(files.findings[0].text, root + "/current"));
}

TEST_F(HostFilesTest, MappingBesideTheConfigurationIsMissing) {
    put(std::string(kFirst) + kConfig, kConfigText);
    EXPECT_EQ(findings(), Found({std::string("mapping_missing ") + kFirst + kMapping}));
}

TEST_F(HostFilesTest, MappingLiesElsewhere) {
    put(std::string(kFirst) + kConfig, kConfigText);
    put(std::string(kSecond) + kMapping, kMappingText);
    EXPECT_EQ(findings(), Found({std::string("mapping_elsewhere ") + kSecond + kMapping}));
}

TEST_F(HostFilesTest, MappingWithoutAConfigurationIsNotUsed) {
    put(std::string(kFirst) + kMapping, kMappingText);
    EXPECT_EQ(findings(), Found({std::string("mapping_elsewhere ") + kFirst + kMapping}));
}

TEST_F(HostFilesTest, PipeStopsTheLibraryAndNotUs) {
    putPair(kFirst);
    fs::remove(place(std::string(kFirst) + kConfig));
    ASSERT_EQ(mkfifo(place(std::string(kFirst) + kConfig).c_str(), 0600), 0);
    EXPECT_EQ(findings(), Found({std::string("ini_unusable ") + kFirst + kConfig}));
    EXPECT_THROW(veskctl::demandUsable(files), veskctl::ProblemError);
}

TEST_F(HostFilesTest, EndlessDeviceStopsTheLibraryAndNotUs) {
    putPair(kFirst);
    fs::remove(place(std::string(kFirst) + kMapping));
    fs::create_symlink("/dev/zero", place(std::string(kFirst) + kMapping));
    EXPECT_EQ(findings(), Found({std::string("ini_unusable ") + kFirst + kMapping}));
    EXPECT_NE(veskctl::firstThatStopsLibrary(files.findings), nullptr);
}

TEST_F(HostFilesTest, FolderInTheFilesPlace) {
    put(std::string(kFirst) + kConfig, kConfigText);
    fs::create_directories(place(std::string(kFirst) + kMapping));
    EXPECT_EQ(findings(), Found({std::string("mapping_unusable ") + kFirst + kMapping}));
}

TEST_F(HostFilesTest, HugeFileIsNotRead) {
    putPair(kFirst);
    fs::resize_file(place(std::string(kFirst) + kMapping), 64U << 20U);
    EXPECT_EQ(findings(), Found({std::string("mapping_unusable ") + kFirst + kMapping}));
    EXPECT_EQ(files.mapping.state, FileState::TooLarge);
    EXPECT_EQ(files.mapping.text, "");
}

TEST_F(HostFilesTest, LinkToItself) {
    putPair(kFirst);
    fs::remove(place(std::string(kFirst) + kMapping));
    fs::create_symlink(kMapping, place(std::string(kFirst) + kMapping));
    EXPECT_EQ(findings(), Found({std::string("mapping_unusable ") + kFirst + kMapping}));
}

TEST_F(HostFilesTest, SameFindingTwentyTimesIsEnough) {
    put(std::string(kFirst) + kConfig, kConfigText);
    std::string text = "[Adapter]\n1=2001\n";
    for (int line = 0; line < 1000; ++line) {
        text += "rubbish\n";
    }
    put(std::string(kFirst) + kMapping, text + "[EventSequenceNumber]\nSequenceNumber=3\n");
    const Found found = findings();
    EXPECT_EQ(found.size(), 21U);
    EXPECT_EQ(found.back(), "more_findings ");
}

TEST_F(HostFilesTest, PciFilesAreMissing) {
    putPair(kFirst);
    fs::remove_all(place("/opt/orvo/pciconfig"));
    EXPECT_EQ(findings(), Found({"pci_file_missing /opt/orvo/pciconfig/Templspcibdf.txt",
                                 "pci_file_missing /opt/orvo/pciconfig/Templspciconfig.txt"}));
}

TEST_F(HostFilesTest, TraceLogWantsItsFolder) {
    put(std::string(kFirst) + kConfig, "[Logging]\nDebug=On\n");
    put(std::string(kFirst) + kMapping, kMappingText);
    EXPECT_EQ(findings(), Found({"log_folder_missing /scratch/log"}));
    put("/scratch/log/libVeskNVMe.log", "12345");
    put("/scratch/log/libVeskNVMe.log.8", "123");
    EXPECT_EQ(findings(), Found());
    EXPECT_EQ(files.traceLog.fileCount, 2U);
    EXPECT_EQ(files.traceLog.totalBytes, 8U);
}

TEST_F(HostFilesTest, DocumentTellsWhatIsUsed) {
    putPair(kFirst);
    const veskctl::Json json = veskctl::hostFilesToJson(veskctl::readHostFiles(root));
    EXPECT_EQ(at(json, "/mapping/mark/value"), "3");
    EXPECT_EQ(at(json, "/mapping/rows"), "1");
    EXPECT_EQ(at(json, "/config/trace_log"), "false");
    EXPECT_EQ(at(json, "/findings"), "[]");
}

}  // namespace
