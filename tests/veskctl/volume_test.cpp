// Virtual disks: asked for, decoded, shown.
#include "veskctl/volume_reader.h"
#include "veskctl/volume_view.h"

#include "fake_library.h"
#include "record_bytes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using nlohmann::ordered_json;
using veskctl::addVolumeSection;
using veskctl::capacityBytes;
using veskctl::Presence;
using veskctl::Problem;
using veskctl::ProblemKind;
using veskctl::readVolume;
using veskctl::Table;
using veskctl::Volume;
using veskctl::volumeToJson;

VD_Info sampleInfo() {
    return RecordBytes<312>()
        .put(0, {0x05, 0x01})
        .put(2, {0x02})
        .put(4, {0x80, 0x00, 0x01, 0x02, 0x01})
        .put(24, {0x00, 0x2F, 0xE2, 0x37, 0, 0, 0, 0})
        .putText(32, 16, "BOOT ")
        .put(308, {0x00, 0x02, 0x00, 0x00})
        .as<VD_Info>();
}

VD_Config sampleConfig() {
    return RecordBytes<24>()
        .put(0, {0, 0, 1, 0x02, 0x05, 0x01, 0})
        .putText(8, 16, "BOOT ")
        .as<VD_Config>();
}

class VolumeOfAController : public testing::Test {
protected:
    VolumeOfAController() {
        library.slots[1].volumeInfo = sampleInfo();
        library.slots[1].volumeConfig = sampleConfig();
    }

    Volume read(unsigned id) { return readVolume(library.functions(), id, problems); }

    static std::string shown(const Volume& volume) {
        Table table;
        addVolumeSection(volume, table);
        return table.render(false);
    }

    FakeLibrary library;
    std::vector<Problem> problems;
};

TEST_F(VolumeOfAController, Json) {
    EXPECT_EQ(volumeToJson(read(1)), ordered_json::parse(R"({
        "id": 1, "present": true, "vd_id": 261, "name": "BOOT", "status_code": 2,
        "raid_level": "raid1", "raid_mode_code": 1, "member_count": 2, "size_lba": 937570048,
        "block_size_bytes": 512, "capacity_bytes": 480035864576, "stripe_block_size": 128,
        "raw": {"info_cache_mode": 1, "config_cache_mode": 0, "hypper_water_mark": 0,
                "auto_rebuild_on": 1, "hyper_rebuild_mode": 0}})"));
    EXPECT_TRUE(problems.empty());
    EXPECT_EQ(library.calls, (std::vector<std::string>{"volumeInfo 1", "volumeConfig 1"}));
}

TEST_F(VolumeOfAController, Table) {
    EXPECT_EQ(shown(read(1)), "Volume 1\n"
                              "  Name               BOOT\n"
                              "  RAID level         RAID 1\n"
                              "  Members            2\n"
                              "  Status             0x02\n"
                              "  Capacity           480035864576 bytes\n"
                              "  Size               937570048 blocks\n"
                              "  Block size         512 bytes\n"
                              "  Stripe block size  128\n"
                              "  Controller's ID    261\n");
}

TEST_F(VolumeOfAController, RaidLevelsWithAndWithoutName) {
    library.slots[1].volumeInfo->raidMode = 0;
    EXPECT_EQ(volumeToJson(read(1))["raid_level"], "raid0");
    library.slots[1].volumeInfo->raidMode = 15;
    const Volume volume = read(1);
    EXPECT_TRUE(volumeToJson(volume)["raid_level"].is_null());
    EXPECT_EQ(volumeToJson(volume)["raid_mode_code"], 15);
    EXPECT_NE(shown(volume).find("unknown (mode 15)"), std::string::npos);
}

TEST_F(VolumeOfAController, CapacityThatHasNoRoomIsNull) {
    VD_Info info = sampleInfo();
    info.blockSize = 4096;
    info.size = 4503599627370495;
    EXPECT_EQ(capacityBytes(info), 18446744073709547520U);
    info.size = 4503599627370496;
    EXPECT_EQ(capacityBytes(info), std::nullopt);
    info.blockSize = 0;
    EXPECT_EQ(capacityBytes(info), std::nullopt);
    library.slots[1].volumeInfo = info;
    const Volume volume = read(1);
    EXPECT_TRUE(volumeToJson(volume)["capacity_bytes"].is_null());
    EXPECT_NE(shown(volume).find("  Capacity           unknown\n"), std::string::npos);
}

TEST_F(VolumeOfAController, AnAbsentVolumeIsAnAnswer) {
    const Volume volume = read(0);
    EXPECT_EQ(volume.presence, Presence::Absent);
    EXPECT_TRUE(problems.empty());
    EXPECT_EQ(shown(volume), "Volume 0\n  State  absent\n");
    EXPECT_EQ(volumeToJson(volume), ordered_json::parse(R"({
        "id": 0, "present": false, "vd_id": null, "name": null, "status_code": null,
        "raid_level": null, "raid_mode_code": null, "member_count": null, "size_lba": null,
        "block_size_bytes": null, "capacity_bytes": null, "stripe_block_size": null,
        "raw": {"info_cache_mode": null, "config_cache_mode": null, "hypper_water_mark": null,
                "auto_rebuild_on": null, "hyper_rebuild_mode": null}})"));
}

TEST_F(VolumeOfAController, AVolumeOfZerosDidNotAnswer) {
    library.slots[1].volumeInfo = VD_Info();
    const Volume volume = read(1);
    EXPECT_EQ(volume.presence, Presence::Unknown);
    EXPECT_EQ(shown(volume), "Volume 1\n  State  did not answer\n");
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_EQ(problems[0].kind, ProblemKind::VolumeNotResponding);
    EXPECT_EQ(problems[0].message, "volume 1 did not answer");
}

TEST_F(VolumeOfAController, AConfigurationThatDidNotComeLeavesTheRest) {
    library.slots[1].volumeConfig = VD_Config();
    const Volume volume = read(1);
    EXPECT_TRUE(volume.info.has_value());
    EXPECT_FALSE(volume.config.has_value());
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_EQ(problems[0].message, "volume 1 did not answer the request for its configuration");

    library.slots[1].volumeConfig.reset();
    EXPECT_TRUE(read(1).info.has_value());
    EXPECT_EQ(problems.size(), 2U);
}

TEST_F(VolumeOfAController, FailedCallsAreProblems) {
    library.results["volumeInfo"] = 1;
    EXPECT_EQ(read(1).presence, Presence::Unknown);
    library.results.clear();
    library.results["volumeConfig"] = 1;
    EXPECT_EQ(read(1).presence, Presence::Present);
    ASSERT_EQ(problems.size(), 2U);
    EXPECT_EQ(problems[0].message,
              "the library's ZT_LD_GetInfo failed for volume 1 with result 1 (fail)");
    EXPECT_EQ(problems[1].function, "ZT_LD_GetConfig");
}

}  // namespace
