// The scenarios inside the library: each one loads, and the host behind it answers as its
// description says.
#include "raw_host.h"

#include "private_host.h"
#include "sim/host/host_folder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

using namespace std::string_literals;
using simtest::Bytes;
using simtest::diskRead;
using simtest::Lines;
using simtest::smartRead;
using simtest::text;
using simtest::volumeRead;

namespace {

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    EXPECT_TRUE(stream.is_open()) << file;
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::vector<unsigned long> numbersOf(const Lines& lines) {
    std::vector<unsigned long> numbers;
    for (const std::string& line : lines) {
        numbers.push_back(std::stoul(line.substr(5)));
    }
    return numbers;
}

using BuiltInScenarios = simtest::RawHost;

TEST_F(BuiltInScenarios, AreTheFilesOfTheFolderToTheLastByte) {
    const std::string library = contentOf(VESK_SIM_LIBRARY);
    Lines names;
    for (const auto& entry : std::filesystem::directory_iterator(VESK_SCENARIOS)) {
        if (entry.path().extension() == ".json" && entry.path().stem() != "scenario.schema") {
            names.push_back(entry.path().stem());
            EXPECT_NE(library.find(contentOf(entry.path()) + '\0'), std::string::npos) << entry;
        }
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(vesksim::builtInScenarios(), names);
    EXPECT_EQ(library.find("/sim/scenarios"), std::string::npos) << "no place of the sources";
}

TEST_F(BuiltInScenarios, LoadAndAnswer) {
    for (const std::string& name : vesksim::builtInScenarios()) {
        SCOPED_TRACE(name);
        const vesktest::PrivateHost files;
        const vesksim::Scenario scenario = vesksim::loadScenario(name);
        vesksim::writeHostFiles(files.path("/"), scenario);
        load(scenario);
        for (const vesksim::Adapter& adapter : scenario.adapters) {
            simtest::Connection connection(adapter.signature);
            for (const auto& command :
                 {diskRead(0), volumeRead(0), smartRead(0), simtest::eventRead(0, 0x1000)}) {
                EXPECT_EQ(connection.send(command).code, 0);
            }
        }
        EXPECT_EQ(host().refusals(), Lines{});
    }
}

TEST_F(BuiltInScenarios, HealthyIsTheDefault) {
    const Bytes disk = send(diskRead(1)).data;
    const Bytes log = area();
    load("healthy");
    EXPECT_EQ(send(diskRead(1)).data, disk);
    EXPECT_EQ(area(), log);
}

// Bytes of replies.
const struct {
    const char* scenario;
    simtest::CommandRecord command;
    std::size_t offset;
    std::string bytes;
} kReplies[] = {
    {"healthy", diskRead(1), 20, "VESK M2 480G                            "},
    {"healthy", diskRead(1), 60, "VD00480A000171      "},
    {"healthy", diskRead(1), 84, "E8FK113"},
    // One disk.
    {"degraded", diskRead(0), 4, "\0"s},
    {"degraded", diskRead(1), 4, "\1"},
    {"degraded", volumeRead(0), 4, "\0"s},
    {"degraded", volumeRead(0), 10, "\2"},    // status
    {"degraded", volumeRead(0), 12, "\1\2"},  // RAID mode, members
    // Health alert; spare, its threshold, percentage used.
    {"worn", diskRead(0), 10, "\x01"},
    {"worn", diskRead(1), 10, "\x21"},
    {"worn", smartRead(1), 3, "\x04\x0A\x68"},
    // Unusual texts.
    {"foreign-disk", diskRead(0), 20, "FULL WIDTH MODEL NAME OF FORTY CHARACTER"},
    {"foreign-disk", diskRead(0), 60, "SN-20-CHARACTERS-END"},
    {"foreign-disk", diskRead(0), 84, "FW8CHARS"},
    {"foreign-disk", diskRead(0), 96, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"},
    {"foreign-disk", diskRead(1), 20,
     "  \xC3\x9C"
     "be"},
    {"foreign-disk", diskRead(1), 60,
     "  SN\xE9\xFC\0"
     "17\t\xFF\xFE  \0\0\0\0\0\0"s},
    {"foreign-disk", diskRead(1), 84, " 1.0 \0\0\0"s},
    // Free disks, no volumes.
    {"no-volumes", diskRead(0), 10, "\0"s},
    {"no-volumes", diskRead(1), 10, "\0"s},
    {"no-volumes", volumeRead(0), 4, "\1"},
    {"no-volumes", volumeRead(1), 4, "\1"},
    // RAID mode; size; stripe and block size; name.
    {"mixed-volumes", volumeRead(0), 12, "\0"s},
    {"mixed-volumes", volumeRead(0), 16, "\x41\x42\x0F\0\0\0\0\0"s},
    {"mixed-volumes", volumeRead(0), 90, "\x40\0\0\2\0\0"s},
    {"mixed-volumes", volumeRead(1), 12, "\x0F"},
    {"mixed-volumes", volumeRead(1), 90, "\0\1\0\x10\0\0"s},
    {"mixed-volumes", volumeRead(1), 96, "DATA VOLUME 015"},
};

TEST_F(BuiltInScenarios, AnswerWithTheseBytes) {
    for (const auto& row : kReplies) {
        load(row.scenario);
        EXPECT_EQ(text(send(row.command).data, row.offset, row.bytes.size()), row.bytes)
            << row.scenario << ", byte " << row.offset;
    }
}

TEST_F(BuiltInScenarios, DegradedLacksADisk) {
    load("degraded");
    EXPECT_EQ(send(smartRead(1)).status, 0x8005);
    EXPECT_EQ(lines().back(),
              "[SEQ]6[TIME]1790000071[EVT_ID]0xCA[DEV_ID]0[MSG]VD_Volume degraded_MAJOR");
}

TEST_F(BuiltInScenarios, BusyLogIsFullAndHasDroppedItsOldestPage) {
    load("busy-log");
    const Bytes log = area();
    for (std::size_t page = 0; page < 16; ++page) {
        EXPECT_EQ(text(log, page * 4096 + 40, 5), "[SEQ]") << page;
    }
    const auto all = numbersOf(lines());
    const std::set<unsigned long> sorted(all.begin(), all.end());
    EXPECT_EQ(*sorted.rbegin(), 1000U);
    EXPECT_GT(*sorted.begin(), 1U);
    EXPECT_EQ(sorted.size(), 1001 - *sorted.begin()) << "no gap";
}

TEST_F(BuiltInScenarios, EventStormGrowsFast) {
    load("event-storm");
    moveTo(10);
    EXPECT_GT(lines().size(), 150U);
    EXPECT_LT(lines().size(), 250U);
}

TEST_F(BuiltInScenarios, SequenceResetCountsFromOneAgain) {
    load("sequence-reset");
    EXPECT_EQ(numbersOf(lines()), (std::vector<unsigned long>{40001, 40002, 40003, 1, 2, 3}));
    moveTo(100);
    EXPECT_EQ(numbersOf(lines()), (std::vector<unsigned long>{40001, 40002, 40003, 1, 2, 3,
                                                              4294967294, 4294967295, 0, 1}));
}

}  // namespace
