// Every scenario of ours loads, and the host behind it answers as its description says.
#include "raw_host.h"

#include "private_host.h"
#include "sim/host/host_folder.h"
#include "sim/host/simulated_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

using simtest::Bytes;
using simtest::Connection;
using simtest::text;
using vesksim::SimulatedHost;

namespace {

void load(const std::string& name) {
    SimulatedHost::instance().load(vesksim::loadScenario(name));
}

TEST(BuiltInScenarios, AreThese) {
    EXPECT_EQ(vesksim::builtInScenarios(),
              (std::vector<std::string>{"busy-log", "commands-fail", "cut-lines", "degraded",
                                        "event-storm", "foreign-disk", "garbage-log", "healthy",
                                        "identify-fails", "mixed-volumes", "no-controller",
                                        "no-volumes", "sequence-reset", "two-adapters", "worn"}));
}

TEST(BuiltInScenarios, LoadAndAnswer) {
    for (const std::string& name : vesksim::builtInScenarios()) {
        SCOPED_TRACE(name);
        const vesktest::PrivateHost files;
        const vesksim::Scenario scenario = vesksim::loadScenario(name);
        vesksim::writeHostFiles(files.path("/"), scenario);
        SimulatedHost::instance().load(scenario);
        for (const vesksim::Adapter& adapter : scenario.adapters) {
            Connection connection(adapter.signature);
            EXPECT_EQ(connection.send(simtest::diskRead(0)).code, 0);
            EXPECT_EQ(connection.send(simtest::volumeRead(0)).code, 0);
            EXPECT_EQ(connection.send(simtest::smartRead(0)).code, 0);
            EXPECT_EQ(connection.send(simtest::eventRead(0, 0x1000)).code, 0);
        }
        EXPECT_TRUE(SimulatedHost::instance().refusals().empty());
    }
}

TEST(BuiltInScenarios, HealthyIsTheDefault) {
    SimulatedHost::instance().load({});
    Bytes disk;
    Bytes log;
    {
        Connection connection;
        disk = connection.send(simtest::diskRead(1)).data;
        log = connection.area();
    }
    load("healthy");
    Connection connection;
    EXPECT_EQ(connection.send(simtest::diskRead(1)).data, disk);
    EXPECT_EQ(connection.area(), log);
    EXPECT_EQ(text(disk, 20, 40), "VESK M2 480G                            ");
    EXPECT_EQ(text(disk, 60, 20), "VD00480A000171      ");
    EXPECT_EQ(text(disk, 84, 7), "E8FK113");
}

TEST(BuiltInScenarios, DegradedHasOneDisk) {
    load("degraded");
    Connection connection;
    EXPECT_EQ(connection.send(simtest::diskRead(0)).data[4], 0);
    EXPECT_NE(connection.send(simtest::diskRead(1)).data[4], 0);
    const Bytes volume = connection.send(simtest::volumeRead(0)).data;
    EXPECT_EQ(volume[4], 0);
    EXPECT_EQ(volume[10], 2) << "status";
    EXPECT_EQ(volume[12], 1) << "RAID mode";
    EXPECT_EQ(volume[13], 2) << "members";
    EXPECT_EQ(connection.send(simtest::smartRead(1)).status, 0x8005);
    EXPECT_EQ(connection.readableLines().back(),
              "[SEQ]6[TIME]1790000071[EVT_ID]0xCA[DEV_ID]0[MSG]VD_Volume degraded_MAJOR");
}

TEST(BuiltInScenarios, WornHasADiskAtItsEnd) {
    load("worn");
    Connection connection;
    EXPECT_EQ(connection.send(simtest::diskRead(0)).data[10], 0x01);
    EXPECT_EQ(connection.send(simtest::diskRead(1)).data[10], 0x21);
    const Bytes smart = connection.send(simtest::smartRead(1)).data;
    EXPECT_EQ(smart[3], 4) << "spare";
    EXPECT_EQ(smart[4], 10) << "its threshold";
    EXPECT_EQ(smart[5], 104) << "percentage used";
}

TEST(BuiltInScenarios, ForeignDiskHasUnusualTexts) {
    load("foreign-disk");
    Connection connection;
    const Bytes full = connection.send(simtest::diskRead(0)).data;
    EXPECT_EQ(text(full, 20, 40), "FULL WIDTH MODEL NAME OF FORTY CHARACTER");
    EXPECT_EQ(text(full, 60, 20), "SN-20-CHARACTERS-END");
    EXPECT_EQ(text(full, 84, 8), "FW8CHARS");
    EXPECT_EQ(Bytes(full.begin() + 96, full.begin() + 104), Bytes(8, 0xFF));
    const Bytes odd = connection.send(simtest::diskRead(1)).data;
    EXPECT_EQ(text(odd, 20, 6), "  \xC3\x9C"
                                "be");
    EXPECT_EQ(text(odd, 60, 20), std::string("  SN\xE9\xFC\0"
                                             "17\t\xFF\xFE  \0\0\0\0\0\0",
                                             20));
    EXPECT_EQ(text(odd, 84, 8), std::string(" 1.0 \0\0\0", 8));
}

TEST(BuiltInScenarios, NoVolumesHasFreeDisks) {
    load("no-volumes");
    Connection connection;
    EXPECT_EQ(connection.send(simtest::diskRead(0)).data[10], 0);
    EXPECT_EQ(connection.send(simtest::diskRead(1)).data[10], 0);
    EXPECT_NE(connection.send(simtest::volumeRead(0)).data[4], 0);
    EXPECT_NE(connection.send(simtest::volumeRead(1)).data[4], 0);
}

TEST(BuiltInScenarios, MixedVolumesAreUnlike) {
    load("mixed-volumes");
    Connection connection;
    const Bytes first = connection.send(simtest::volumeRead(0)).data;
    const Bytes second = connection.send(simtest::volumeRead(1)).data;
    EXPECT_EQ(first[12], 0);
    EXPECT_EQ(second[12], 15);
    EXPECT_EQ(Bytes(first.begin() + 16, first.begin() + 24),
              (Bytes{0x41, 0x42, 0x0F, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Bytes(first.begin() + 90, first.begin() + 96), (Bytes{64, 0, 0, 2, 0, 0}));
    EXPECT_EQ(Bytes(second.begin() + 90, second.begin() + 96), (Bytes{0, 1, 0, 0x10, 0, 0}));
    EXPECT_EQ(text(second, 96, 15), "DATA VOLUME 015");
}

TEST(BuiltInScenarios, BusyLogIsFullAndHasDroppedItsOldestPage) {
    load("busy-log");
    Connection connection;
    const Bytes area = connection.area();
    for (std::size_t page = 0; page < 16; ++page) {
        EXPECT_EQ(text(area, page * 4096 + 40, 5), "[SEQ]") << page;
    }
    std::set<unsigned long> numbers;
    for (const std::string& line : connection.readableLines()) {
        numbers.insert(std::stoul(line.substr(5)));
    }
    EXPECT_EQ(*numbers.rbegin(), 1000U);
    EXPECT_GT(*numbers.begin(), 1U);
    EXPECT_EQ(numbers.size(), 1001 - *numbers.begin()) << "no gap";
}

TEST(BuiltInScenarios, EventStormGrowsFast) {
    load("event-storm");
    SimulatedHost::instance().setClock([] { return 10.0; });
    Connection connection;
    const std::size_t count = connection.readableLines().size();
    EXPECT_GT(count, 150U);
    EXPECT_LT(count, 250U);
}

TEST(BuiltInScenarios, GarbageLogHasGoodLinesAtBothEnds) {
    load("garbage-log");
    Connection connection;
    const std::vector<std::string> lines = connection.readableLines();
    ASSERT_GT(lines.size(), 40U);
    EXPECT_EQ(lines.front(),
              "[SEQ]1[TIME]1790000000[EVT_ID]0x1[DEV_ID]0[MSG]NVMe_Controller started_INFO");
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         "[SEQ]18[TIME]1790000019[EVT_ID]0x65[DEV_ID]1[MSG]PD_Drive online_INFO"),
              1);
}

TEST(BuiltInScenarios, SequenceResetCountsFromOneAgain) {
    load("sequence-reset");
    const auto numbers = [] {
        Connection connection;
        std::vector<unsigned long> result;
        for (const std::string& line : connection.readableLines()) {
            result.push_back(std::stoul(line.substr(5)));
        }
        return result;
    };
    SimulatedHost::instance().setClock([] { return 0.0; });
    EXPECT_EQ(numbers(), (std::vector<unsigned long>{40001, 40002, 40003, 1, 2, 3}));
    SimulatedHost::instance().setClock([] { return 100.0; });
    EXPECT_EQ(numbers(), (std::vector<unsigned long>{40001, 40002, 40003, 1, 2, 3, 4294967294,
                                                     4294967295, 0, 1}));
}

}  // namespace
