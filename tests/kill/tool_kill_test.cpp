// What veskctl-sim leaves behind when it is killed, and what the next run makes of it.
#include "killed_run.h"
#include "private_host.h"

#include "capture/capture_reader.h"
#include "sim/host/host_folder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <ostream>
#include <set>
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
    std::vector<std::string> all = {VESKCTL_SIM};
    if (words.front() != "--replay") {  // which has a host of its own
        all.insert(all.end(), {"--state", state});
    }
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

// What the host itself needs is made here, so that only what a command does is interrupted.
void makeHost(const PrivateHost& files) {
    files.writeConfigIni(kWithoutLog);
    vesktest::runAlone([&files] { becomeTool(files, {"mark", "show"}); });
}

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
        makeHost(m_files);
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
}

INSTANTIATE_TEST_SUITE_P(Files, KilledReplacement, ::testing::ValuesIn(kRows),
                         [](const auto& row) { return std::string(row.param.name); });

// ---- A file that cannot be replaced ----

struct InPlaceRow {
    const char* name;
    const char* number;
    std::vector<std::string> left;  // marks that a kill may leave where "1234" was
    const char* mended;             // by the same command
};

void PrintTo(const InPlaceRow& row, std::ostream* stream) {
    *stream << row.name;
}

class KilledMarkSet : public ::testing::TestWithParam<InPlaceRow> {};

// A file with a second name is written in place, so that both names go on to show the same.
TEST_P(KilledMarkSet, InPlaceMayMixBothNumbersAndTheNextOneMendsIt) {
    const PrivateHost files;
    makeHost(files);
    const std::string path = files.path(kMappingIniPath);
    const std::string second = files.path("/second.ini");
    const auto setMark = [&] {
        becomeTool(files, {"mark", "set", GetParam().number});
    };
    std::set<std::string> allowed;
    for (const std::string& mark : GetParam().left) {
        allowed.insert(mappingWithMark(mark));
    }
    std::set<std::string> found;
    vesktest::killAtEachCall(
        [&] {
            std::filesystem::remove(second);
            files.writeMappingIni(mappingWithMark("1234"));
            std::filesystem::create_hard_link(path, second);
        },
        setMark,
        [&] {
            found.insert(files.read(kMappingIniPath));
            vesktest::runAlone(setMark);
            EXPECT_EQ(files.read(kMappingIniPath), files.read("/second.ini"));
            EXPECT_EQ(files.read(kMappingIniPath), mappingWithMark(GetParam().mended));
        },
        vesktest::Calls::kThatChangeFiles);
    EXPECT_EQ(found, allowed);
}

const InPlaceRow kInPlaceRows[] = {
    {"shorter", "7", {"1234", "7\n34", "7"}, "7"},
    {"longer", "123456", {"1234", "123456"}, "123456"},
};

INSTANTIATE_TEST_SUITE_P(Files, KilledMarkSet, ::testing::ValuesIn(kInPlaceRows),
                         [](const auto& row) { return std::string(row.param.name); });

// ---- Captures ----

// Of a capture without damage.
std::size_t recordsOf(const PrivateHost& files, const char* path) {
    std::ifstream stream = veskcap::openCapture(files.path(path));
    veskcap::CaptureReader reader(stream);
    veskcap::Record record;
    std::size_t records = 0;
    while (reader.next(record)) {
        ++records;
    }
    EXPECT_EQ(reader.damage(), "") << "after " << records << " records";
    return records;
}

TEST(KilledCapture, HoldsWholeRecordsAndTheNextRunGoesOnBehindThem) {
    const char* const kCapture = "/host.cap";
    const PrivateHost files;
    makeHost(files);
    const auto runTool = [&files](std::vector<std::string> words) {
        vesktest::runAlone([&files, &words] { becomeTool(files, words); });
    };
    const std::vector<std::string> captured = {"--capture", files.path(kCapture), "controller"};
    const auto record = [&] {
        becomeTool(files, captured);
    };
    std::set<std::size_t> found;  // how many records a kill left
    bool wasAbsent = false;
    bool wasEmpty = false;
    const std::size_t kills = vesktest::killAtEachCall(
        [&] { std::filesystem::remove(files.path(kCapture)); }, record,
        [&] {
            wasAbsent = wasAbsent || !files.exists(kCapture);
            const std::string left = files.exists(kCapture) ? files.read(kCapture) : "";
            wasEmpty = wasEmpty || (files.exists(kCapture) && left.empty());
            std::size_t records = 0;
            if (!left.empty()) {
                EXPECT_NO_THROW(runTool({"capture", "show", files.path(kCapture)}));
                records = recordsOf(files, kCapture);
                found.insert(records);
            }
            EXPECT_NO_THROW(runTool(captured));
            EXPECT_EQ(files.read(kCapture).compare(0, left.size(), left), 0);
            EXPECT_GT(recordsOf(files, kCapture), records);
            EXPECT_NO_THROW(runTool({"capture", "show", files.path(kCapture)}));
            EXPECT_NO_THROW(runTool({"--replay", files.path(kCapture), "controller"}));
        },
        vesktest::Calls::kThatChangeFiles);
    EXPECT_GT(kills, 12U);
    EXPECT_TRUE(wasAbsent);
    EXPECT_TRUE(wasEmpty);
    // A record is one call. How many there are is a matter of the library's background reading.
    EXPECT_EQ(found.count(0), 1U) << "the header alone";
    EXPECT_GT(found.size(), 8U);
}

TEST(KilledExtract, LeavesNoFileTheOneBeforeOrTheWholeCapture) {
    const PrivateHost files;
    makeHost(files);
    vesktest::runAlone([&files] {
        becomeTool(files, {"--capture", files.path("/host.cap"), "dump", files.path("/dump.json")});
    });
    const std::string capture = files.read("/host.cap");
    const std::string before(2 * capture.size(), '~');
    for (const bool isThere : {false, true}) {
        SCOPED_TRACE(isThere);
        std::size_t replaced = 0;
        const std::size_t kills = vesktest::killAtEachCall(
            [&] {
                std::filesystem::remove(files.path("/again.cap"));
                if (isThere) {
                    files.write("/again.cap", before);
                }
            },
            [&files] {
                becomeTool(files, {"capture", "extract", files.path("/dump.json"),
                                   files.path("/again.cap")});
            },
            [&] {
                const std::string found =
                    files.exists("/again.cap") ? files.read("/again.cap") : "absent";
                EXPECT_TRUE(found == capture || found == (isThere ? before : "absent"))
                    << found.size() << " bytes";
                replaced += found == capture ? 1 : 0;
            },
            vesktest::Calls::kThatChangeFiles);
        EXPECT_GT(kills, 3U);
        EXPECT_GE(replaced, 1U) << "at the end it runs to its own";
        EXPECT_LT(replaced, kills);
    }
}

}  // namespace
