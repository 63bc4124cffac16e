// Virtual disks: asked for, decoded, shown. Whole tables stand in tests/golden.
#include "veskctl/volume.h"

#include "veskctl/report.h"

#include "fake_library.h"
#include "samples.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace veskctl {

namespace {

using Texts = std::vector<std::string>;

// Volume 1 is there.
class VolumeOfAController : public WithFakeLibrary {
protected:
    VolumeOfAController() {
        slot.volumeInfo = RecordBytes<312>()
                              .put(0, {0x05, 0x01})
                              .put(2, {0x02})
                              .put(4, {0x80, 0x00, 0x01, 0x02, 0x01})
                              .put(24, {0x00, 0x2F, 0xE2, 0x37, 0, 0, 0, 0})
                              .putText(32, 16, "BOOT ")
                              .put(308, {0x00, 0x02, 0x00, 0x00})
                              .as<VD_Info>();
        slot.volumeConfig = RecordBytes<24>()
                                .put(0, {0, 0, 1, 0x02, 0x05, 0x01, 0})
                                .putText(8, 16, "BOOT ")
                                .as<VD_Config>();
    }

    Volume read(unsigned id = 1) { return readVolume(library.functions(), id, problems); }
};

std::string shown(const Volume& volume) {
    Blocks blocks;
    addVolumeSection(volume, blocks);
    return blocks.render(false);
}

TEST_F(VolumeOfAController, IsDecodedAmongNoise) {
    const Volume volume = read();
    EXPECT_EQ(library.calls, (Texts{"volumeInfo 1", "volumeConfig 1"}));
    EXPECT_EQ(told(problems), Texts());
    EXPECT_EQ(compact(volumeToJson(volume)), compact(R"({
        "id": 1, "present": true, "vd_id": 261, "name": "BOOT", "state": "not_normal", "status_code": 2,
        "raid_level": "raid1", "raid_mode_code": 1, "member_count": 2, "size_lba": 937570048,
        "block_size_bytes": 512, "capacity_bytes": 480035864576, "stripe_block_size": 128,
        "raw": {"info_cache_mode": 1, "config_cache_mode": 0, "hypper_water_mark": 0,
                "auto_rebuild_on": 1, "hyper_rebuild_mode": 0}})"));
}

TEST_F(VolumeOfAController, RaidLevelsWithAndWithoutName) {
    slot.volumeInfo->raidMode = 0;
    EXPECT_EQ(at(volumeToJson(read()), "/raid_level"), "\"raid0\"");
    EXPECT_TRUE(contains(shown(read()), "  RAID level         RAID 0\n"));
    slot.volumeInfo->raidMode = 15;
    EXPECT_EQ(at(volumeToJson(read()), "/raid_level"), "null");
    EXPECT_EQ(at(volumeToJson(read()), "/raid_mode_code"), "15");
    EXPECT_TRUE(contains(shown(read()), "  RAID level         unknown (mode 15)\n"));
}

TEST_F(VolumeOfAController, CapacityThatHasNoRoomIsNull) {
    slot.volumeInfo->blockSize = 4096;
    slot.volumeInfo->size = 4503599627370495;
    EXPECT_EQ(read().capacityBytes(), 18446744073709547520U);
    slot.volumeInfo->size = 4503599627370496;
    EXPECT_EQ(read().capacityBytes(), std::nullopt);
    slot.volumeInfo->blockSize = 0;
    EXPECT_EQ(at(volumeToJson(read()), "/capacity_bytes"), "null");
    EXPECT_TRUE(contains(shown(read()), "  Capacity           unknown\n"));
}

TEST_F(VolumeOfAController, AnAbsentOneIsAnAnswer) {
    const Volume volume = read(0);
    EXPECT_EQ(told(problems), Texts());
    EXPECT_EQ(shown(volume), "Volume 0\n! State  absent\n");
}

TEST_F(VolumeOfAController, OneOfZerosDidNotAnswer) {
    slot.volumeInfo = VD_Info();
    const Volume volume = read();
    EXPECT_EQ(volume.presence, Presence::Unknown);
    EXPECT_EQ(shown(volume), "Volume 1\n! State  did not answer\n");
    EXPECT_EQ(told(problems), Texts{"volume_not_responding: volume 1 did not answer"});
}

TEST_F(VolumeOfAController, AnyNumberOrNameIsAnAnswer) {
    const std::vector<void (*)(VD_Info&)> fills = {
        [](VD_Info& info) { info.id = 1; }, [](VD_Info& info) { info.hdCount = 1; },
        [](VD_Info& info) { info.size = 1; }, [](VD_Info& info) { info.blockSize = 1; },
        [](VD_Info& info) {
            info.name[0] = 'N';
        }};
    for (std::size_t index = 0; index < fills.size(); ++index) {
        slot.volumeInfo = VD_Info();
        fills[index](*slot.volumeInfo);
        EXPECT_EQ(read().presence, Presence::Present) << index;
    }
}

TEST_F(VolumeOfAController, AConfigurationThatDidNotComeLeavesTheRest) {
    for (const auto& config : std::vector<std::optional<VD_Config>>{VD_Config(), std::nullopt}) {
        problems.clear();
        slot.volumeConfig = config;
        const Volume volume = read();
        EXPECT_TRUE(volume.info.has_value());
        EXPECT_FALSE(volume.config.has_value());
        EXPECT_EQ(told(problems), Texts{"volume_not_responding: volume 1 did not answer the "
                                        "request for its configuration"});
    }
}

// The zeros are what they should be.
TEST_F(VolumeOfAController, AConfigurationOfZerosThatContradictsNothingStays) {
    slot.volumeInfo->id = 0;
    slot.volumeInfo->status = 0;
    slot.volumeInfo->name[0] = '\0';
    slot.volumeConfig = VD_Config();
    EXPECT_TRUE(read().config.has_value());
    EXPECT_EQ(told(problems), Texts());
}

TEST_F(VolumeOfAController, FailedCallsAreProblems) {
    library.results["volumeInfo"] = 1;
    EXPECT_EQ(read().presence, Presence::Unknown);
    library.results.clear();
    library.results["volumeConfig"] = 1;
    EXPECT_EQ(read().presence, Presence::Present);
    EXPECT_EQ(told(problems), (Texts{"library_call_failed: the library's ZT_LD_GetInfo failed for "
                                     "volume 1 with result 1 (fail)",
                                     "library_call_failed: the library's ZT_LD_GetConfig failed "
                                     "for volume 1 with result 1 (fail)"}));
}

}  // namespace

}  // namespace veskctl
