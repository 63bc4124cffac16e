// A physical disk as JSON and as a table.
#include "veskctl/disk_view.h"

#include "sample_disk.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using nlohmann::ordered_json;
using veskctl::addDiskSection;
using veskctl::Disk;
using veskctl::diskToJson;
using veskctl::Padding;
using veskctl::Presence;
using veskctl::Table;

std::string shown(const Disk& disk) {
    Table table;
    addDiskSection(disk, Padding::Trim, table);
    return table.render(false);
}

TEST(DiskView, JsonOfASample) {
    EXPECT_EQ(diskToJson(sampleDisk(), Padding::Trim), ordered_json::parse(R"({
        "slot": 1, "present": true, "model_name": "Model X", "serial_number": "SN 0042",
        "firmware_version": "F1.2", "device_id": 258, "hd_id": 772, "online": true,
        "raid_status_code": 33, "capacity_raw": 937673264, "capacity_bytes": null,
        "block_size_bytes": 4096, "free_space_raw": 0,
        "raw": {"hd_type": 64, "hd_ssd_type": 1, "feature_support": 0, "write_cache_on": 1,
                "smart_on": 1, "drive_speed": 3, "crypto": 0, "aes_percentage": 0}})"));
}

TEST(DiskView, PaddingIsKeptOnRequest) {
    const ordered_json json = diskToJson(sampleDisk(), Padding::Keep);
    EXPECT_EQ(json["model_name"], "  Model X        ");
    EXPECT_EQ(json["serial_number"], "SN 0042   ");
    EXPECT_EQ(json["firmware_version"], "F1.2   ");
}

TEST(DiskView, JsonOfAnAbsentDiskKeepsEveryField) {
    Disk disk;
    disk.presence = Presence::Absent;
    EXPECT_EQ(diskToJson(disk, Padding::Trim), ordered_json::parse(R"({
        "slot": 0, "present": false, "model_name": null, "serial_number": null,
        "firmware_version": null, "device_id": null, "hd_id": null, "online": null,
        "raid_status_code": null, "capacity_raw": null, "capacity_bytes": null,
        "block_size_bytes": null, "free_space_raw": null,
        "raw": {"hd_type": null, "hd_ssd_type": null, "feature_support": null,
                "write_cache_on": null, "smart_on": null, "drive_speed": null, "crypto": null,
                "aes_percentage": null}})"));
}

TEST(DiskView, PresenceOfASilentDiskIsUnknown) {
    EXPECT_TRUE(diskToJson(Disk(), Padding::Trim)["present"].is_null());
}

TEST(DiskView, NumbersThatADoubleCannotHoldStandThereAsTextToo) {
    Disk disk = sampleDisk();
    disk.info->size = 9007199254740993;
    disk.freeSpace->size = 9007199254740992;
    const ordered_json json = diskToJson(disk, Padding::Trim);
    EXPECT_EQ(json["capacity_raw"], 9007199254740993U);
    EXPECT_EQ(json["capacity_raw_s"], "9007199254740993");
    EXPECT_FALSE(json.contains("free_space_raw_s"));
}

TEST(DiskView, TheRaidStatusHasTheIdOfAMissingConfiguration) {
    Disk disk = sampleDisk();
    disk.config.reset();
    const ordered_json json = diskToJson(disk, Padding::Trim);
    EXPECT_EQ(json["hd_id"], 772);
    EXPECT_TRUE(json["online"].is_null());
    EXPECT_TRUE(json["raw"]["drive_speed"].is_null());
}

TEST(DiskView, TableOfASample) {
    EXPECT_EQ(shown(sampleDisk()), "Disk 1\n"
                                   "  Model             Model X\n"
                                   "  Serial number     SN 0042\n"
                                   "  Firmware version  F1.2\n"
                                   "  State             online\n"
                                   "  RAID status       0x21\n"
                                   "  Capacity          937673264 (unit not stated)\n"
                                   "  Free space        0 (in the same unit)\n"
                                   "  Block size        4096 bytes\n"
                                   "  Device ID         258\n"
                                   "  HD ID             772\n");
}

TEST(DiskView, TableOfMissingParts) {
    Disk disk = sampleDisk();
    disk.info->modelNumber[0] = '\0';
    disk.info->serialNumber[0] = '\x1B';
    disk.config.reset();
    disk.raidStatus.reset();
    disk.freeSpace.reset();
    const std::string text = shown(disk);
    EXPECT_NE(text.find("  Model             not reported\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  Serial number     ?N 0042\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  State             unknown\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  RAID status       unknown\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  Free space        unknown\n"), std::string::npos) << text;
}

TEST(DiskView, TableNamesAbsentAndSilentDisks) {
    Disk disk;
    EXPECT_EQ(shown(disk), "Disk 0\n  State  did not answer\n");
    disk.presence = Presence::Absent;
    EXPECT_EQ(shown(disk), "Disk 0\n  State  absent\n");
}

}  // namespace
