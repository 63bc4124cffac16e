// What veskctl-sim leaves behind when it is killed, and what the next run makes of it.
#include "killed_run.h"
#include "private_host.h"

#include "sim/host/host_folder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using vesktest::kConfigIniPath;
using vesktest::kMappingIniPath;
using vesktest::PrivateHost;

// Turns the process into veskctl-sim, with its output thrown away.
void becomeTool(const PrivateHost& files, const std::vector<std::string>& words) {
    const std::string state = files.path("/");
    if (std::freopen("/dev/null", "w", stdout) == nullptr ||
        std::freopen("/dev/null", "w", stderr) == nullptr ||
        setenv("TMPDIR", state.c_str(), 1) != 0) {
        throw std::runtime_error("the tool's surroundings cannot be made");
    }
    std::vector<std::string> all = {VESKCTL_SIM, "--state", state};
    all.insert(all.end(), words.begin(), words.end());
    std::vector<char*> arguments;
    for (std::string& word : all) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    execv(VESKCTL_SIM, arguments.data());
    throw std::runtime_error("veskctl-sim cannot be run");
}

// Of the host of a test: the trace log would be written to at nearly all calls.
const char* const kWithoutLog = "[Logging]\nDebug=Off\n";

TEST(KilledTool, NextRunFindsWholeFiles) {
    std::unique_ptr<PrivateHost> files;
    const auto locate = [&files] {
        becomeTool(*files, {"--scenario", files->path("/scenario.json"), "locate", "on", "1"});
    };
    const std::size_t kills = vesktest::killAtEachCall(
        [&] {
            files.reset();
            files = std::make_unique<PrivateHost>();
            files->write("/scenario.json", R"({
                "adapters": [{"name": "vmhba2", "disks": [{"id": 0}, {"id": 1}]}],
                "host_files": {"config_ini": "[Logging]\nDebug=Off\n"}})");
        },
        locate,
        [&] {
            // Throws unless it ends with exit code 0.
            EXPECT_NO_THROW(vesktest::runAlone(locate));
            EXPECT_EQ(files->read(kMappingIniPath), vesksim::alertMappingIniText());
            EXPECT_EQ(files->read(kConfigIniPath), kWithoutLog);
            EXPECT_NE(
                files->read("/controller_state.json").find("\"locating_disks\": [\n        1"),
                std::string::npos);
        },
        vesktest::Calls::kThatChangeFiles);
    EXPECT_GT(kills, 15U);
}

// ---- A file that a command replaces ----

std::string mappingWithMark(const std::string& mark) {
    std::string text = vesksim::alertMappingIniText();
    const std::string ofTemplate = "SequenceNumber=0\n";
    const std::size_t at = text.rfind(ofTemplate);
    if (at == std::string::npos || at + ofTemplate.size() != text.size()) {
        throw std::logic_error("the mark does not stand where it did");
    }
    return text.replace(at, std::string::npos, "SequenceNumber=" + mark + '\n');
}

struct Row {
    const char* name;
    std::vector<std::string> words;  // "FILE" stands for the path of the file
    const char* oldMark;
    const char* newMark;  // null: the command replaces FILE
    const char* begin;    // of the new FILE
    const char* end;
};

void PrintTo(const Row& row, std::ostream* stream) {
    *stream << row.name;
}

const Row kRows[] = {
    {"mark_set_shorter", {"mark", "set", "7"}, "1234", "7", "", ""},
    {"mark_set_longer", {"mark", "set", "123456"}, "1234", "123456", "", ""},
    {"events", {"events"}, "0", "4", "", ""},
    {"report", {"report", "FILE"}, "0", nullptr, "<!DOCTYPE html>\n", "</html>\n"},
    {"dump", {"dump", "FILE"}, "0", nullptr, "{\n", "\n}\n"},
    {"metrics",
     {"metrics", "--file", "FILE"},
     "0",
     nullptr,
     "# SIMULATED HOST\n",
     "vesk_volume_size_bytes{volume=\"0\"} 480035995648\n"},
};

class KilledReplacement : public ::testing::TestWithParam<Row> {
protected:
    KilledReplacement() {
        for (const std::string& word : GetParam().words) {
            m_words.push_back(word == "FILE" ? m_files.path(kFile) : word);
        }
        // What the host itself needs is made now, and only what the command does is interrupted.
        m_files.writeConfigIni(kWithoutLog);
        vesktest::runAlone([this] { becomeTool(m_files, {"mark", "show"}); });
    }

    void prepare() const {
        m_files.writeMappingIni(mappingWithMark(GetParam().oldMark));
        m_files.write(kBackup, oldText());
        m_files.write(kFile, oldText());
    }
    // Longer than any new one: a file that is written in place ends with a part of it.
    static std::string oldText() { return std::string(100000, '~'); }

    bool isWholeNewFile(const std::string& text) const {
        const std::string begin = GetParam().begin;
        const std::string end = GetParam().end;
        return text.size() > begin.size() + end.size() && text.find(begin) == 0 &&
               text.find(end) == text.size() - end.size();
    }
    // Whether the new one stands there; a mixture of both fails the test.
    bool isReplaced() const {
        if (GetParam().newMark == nullptr) {
            const std::string text = m_files.read(kFile);
            EXPECT_TRUE(text == oldText() || isWholeNewFile(text)) << text;
            return text != oldText();
        }
        const std::string text = m_files.read(kMappingIniPath);
        const std::string before = mappingWithMark(GetParam().oldMark);
        EXPECT_TRUE(text == before || text == mappingWithMark(GetParam().newMark)) << text;
        const std::string backup = m_files.read(kBackup);
        EXPECT_TRUE(backup == oldText() || backup == before) << backup;
        return text != before;
    }

    static constexpr const char* kFile = "/replaced";
    const std::string kBackup = std::string(kMappingIniPath) + ".bak";
    const PrivateHost m_files;
    std::vector<std::string> m_words;
};

TEST_P(KilledReplacement, LeavesTheFileBeforeOrTheNewOne) {
    bool replaced = false;
    const std::size_t kills = vesktest::killAtEachCall(
        [this] { prepare(); }, [this] { becomeTool(m_files, m_words); },
        [&] { replaced = isReplaced(); }, vesktest::Calls::kThatChangeFiles);
    EXPECT_TRUE(replaced) << "at the end it runs to its own";
    EXPECT_GT(kills, 8U);
    std::printf("%zu kills\n", kills);
}

INSTANTIATE_TEST_SUITE_P(Files, KilledReplacement, ::testing::ValuesIn(kRows),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
