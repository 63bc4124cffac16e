// Physical disks: asked for, joined from their records, shown. Whole tables stand in tests/golden.
#include "veskctl/disk.h"

#include "veskctl/report.h"
#include "veskctl/verdict.h"

#include "fake_library.h"
#include "samples.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace veskctl {

namespace {

using Texts = std::vector<std::string>;

// Disk 1 is there.
class DiskOfAController : public WithFakeLibrary {
protected:
    DiskOfAController() {
        slot.info = sampleDiskInfo();
        slot.config = sampleDiskConfig();
        slot.raidStatus = sampleRaidStatus();
        slot.freeSpace = sampleFreeSpace();
    }

    Disk read(unsigned id = 1) { return readDisk(library.functions(), id, problems); }
};

std::string shown(const Disk& disk) {
    Blocks blocks;
    addDiskSection(disk, Padding::Trim, blocks);
    return blocks.render(false);
}

TEST_F(DiskOfAController, IsAskedForRecordByRecord) {
    const Disk disk = read();
    EXPECT_EQ(library.calls,
              (Texts{"diskInfo 1", "diskConfig 1", "diskRaidStatus 1", "diskFreeSpace 1"}));
    EXPECT_EQ(disk.presence, Presence::Present);
    EXPECT_EQ(told(problems), Texts());
    EXPECT_EQ(compact(diskToJson(disk, Padding::Trim)), compact(R"({
        "slot": 1, "present": true, "model_name": "Model X", "serial_number": "SN 0042",
        "firmware_version": "F1.2", "device_id": 258, "hd_id": 772, "online": true,
        "state": "online", "health_alert": true, "raid_status_code": 33, "capacity_raw": 937673264, "capacity_bytes": null,
        "block_size_bytes": 4096, "free_space_raw": 0,
        "raw": {"hd_type": 64, "hd_ssd_type": 1, "feature_support": 0, "write_cache_on": 1,
                "smart_on": 1, "drive_speed": 3, "crypto": 0, "aes_percentage": 0}})"));
}

TEST_F(DiskOfAController, PaddingIsKeptOnRequest) {
    const Json json = diskToJson(read(), Padding::Keep);
    EXPECT_EQ(at(json, "/model_name"), R"("  Model X        ")");
    EXPECT_EQ(at(json, "/serial_number"), R"("SN 0042   ")");
    EXPECT_EQ(at(json, "/firmware_version"), R"("F1.2   ")");
}

TEST_F(DiskOfAController, AnAbsentOneIsAnAnswer) {
    const Disk disk = read(0);
    EXPECT_EQ(library.calls, Texts{"diskInfo 0"});
    EXPECT_EQ(told(problems), Texts());
    EXPECT_EQ(shown(disk), "Disk 0\n! State  absent\n");
}

PD_Info blankInfo() {
    return RecordBytes<248>()
        .put(36, {0, 0})
        .putText(76, 40, "")
        .putText(116, 20, "")
        .putText(136, 8, "")
        .put(144, {0, 0, 0, 0, 0, 0, 0, 0})
        .put(164, {0, 0, 0, 0})
        .as<PD_Info>();
}

TEST_F(DiskOfAController, OneOfZerosDidNotAnswerWhateverItsReservedBytes) {
    slot.info = blankInfo();
    const Disk disk = read();
    EXPECT_EQ(disk.presence, Presence::Unknown);
    EXPECT_FALSE(disk.info.has_value());
    EXPECT_EQ(at(diskToJson(disk, Padding::Trim), "/present"), "null");
    EXPECT_EQ(shown(disk), "Disk 1\n! State  did not answer\n");
    EXPECT_EQ(told(problems), Texts{"disk_not_responding: disk 1 did not answer"});
}

TEST_F(DiskOfAController, AnyTextNumberOrIdIsAnAnswer) {
    const std::vector<void (*)(PD_Info&)> fills = {
        [](PD_Info& info) { info.modelNumber[0] = 'M'; },
        [](PD_Info& info) { info.serialNumber[0] = 'S'; },
        [](PD_Info& info) { info.firmwareVersion[0] = 'F'; },
        [](PD_Info& info) { info.size = 1; },
        [](PD_Info& info) { info.blockSize = 1; },
        [](PD_Info& info) {
            info.deviceId = 1;
        }};
    for (std::size_t index = 0; index < fills.size(); ++index) {
        slot.info = blankInfo();
        fills[index](*slot.info);
        EXPECT_EQ(read().presence, Presence::Present) << index;
    }
}

TEST_F(DiskOfAController, AFailedCallIsNoAbsentDisk) {
    library.results["diskInfo"] = 1;
    EXPECT_EQ(read(0).presence, Presence::Unknown);
    EXPECT_EQ(told(problems), Texts{"library_call_failed: the library's ZT_PD_GetHDInfo_Ext failed "
                                    "for disk 0 with result 1 (fail)"});
}

TEST_F(DiskOfAController, APartThatDoesNotComeLeavesTheOthers) {
    library.results["diskConfig"] = 1;
    slot.raidStatus.reset();
    const Disk disk = read();
    EXPECT_EQ(disk.presence, Presence::Present);
    EXPECT_FALSE(disk.config || disk.raidStatus);
    EXPECT_TRUE(disk.freeSpace.has_value());
    EXPECT_EQ(
        told(problems),
        (Texts{"library_call_failed: the library's ZT_PD_GetConfig failed for disk 1 with result 1 "
               "(fail)",
               "disk_not_responding: disk 1 did not answer the request for its raid status"}));
}

TEST_F(DiskOfAController, ALibraryThatThrowsKeepsWhatWasRead) {
    library.throwing = "diskRaidStatus";
    const Disk disk = read();
    EXPECT_EQ(disk.presence, Presence::Present);
    EXPECT_TRUE(disk.config.has_value());
    EXPECT_EQ(told(problems),
              Texts{"internal_error: disk 1 cannot be read: thrown by diskRaidStatus"});
}

TEST_F(DiskOfAController, PartsOfZerosThatContradictTheOthersDidNotAnswer) {
    struct Row {
        unsigned configId, online, statusId, status, blockSize, spaceId, spaceBlockSize;
        std::string dropped;
    };
    const std::vector<Row> rows = {
        {0, 0, 772, 0x21, 4096, 258, 4096, "its configuration"},
        {772, 1, 0, 0, 4096, 258, 4096, "its raid status"},
        {772, 1, 772, 0x21, 4096, 0, 0, "its free space"},
        // A disk may go offline between two questions: they differ, and none is blank.
        {772, 0, 772, 0x21, 4096, 258, 4096, ""},
        // Its id is 0 and it is not online: the zeros are what they should be.
        {0, 0, 0, 0, 4096, 258, 4096, ""},
        // The free space shows 16 bits of the block size only.
        {772, 1, 772, 0x21, 65536, 258, 0, ""}};
    for (const Row& row : rows) {
        problems.clear();
        slot.config->hdId = static_cast<USHORT_INT>(row.configId);
        slot.config->online = static_cast<UCHAR_>(row.online);
        slot.raidStatus->hdId = static_cast<USHORT_INT>(row.statusId);
        slot.raidStatus->raidStatus = static_cast<UCHAR_>(row.status);
        slot.info->blockSize = row.blockSize;
        slot.freeSpace->deviceId = static_cast<USHORT_INT>(row.spaceId);
        slot.freeSpace->blockSize = static_cast<USHORT_INT>(row.spaceBlockSize);
        const Disk disk = read();
        EXPECT_EQ(disk.config.has_value(), row.dropped != "its configuration");
        EXPECT_EQ(disk.raidStatus.has_value(), row.dropped != "its raid status");
        EXPECT_EQ(disk.freeSpace.has_value(), row.dropped != "its free space");
        const std::string silence = "disk_not_responding: disk 1 did not answer the request for ";
        EXPECT_EQ(told(problems), row.dropped.empty() ? Texts() : Texts{silence + row.dropped});
    }
}

TEST_F(DiskOfAController, NumbersThatADoubleCannotHoldStandThereAsTextToo) {
    slot.info->size = 9007199254740993;
    slot.freeSpace->size = 9007199254740992;
    const Json json = diskToJson(read(), Padding::Trim);
    EXPECT_EQ(at(json, "/capacity_raw"), "9007199254740993");
    EXPECT_EQ(at(json, "/capacity_raw_s"), "\"9007199254740993\"");
    EXPECT_EQ(at(json, "/free_space_raw"), "9007199254740992");
    EXPECT_EQ(at(json, "/free_space_raw_s"), "missing");
}

TEST_F(DiskOfAController, PartsThatAreMissingOrUnprintableAreShownSo) {
    Disk disk = read();
    disk.config->online = 0;
    EXPECT_TRUE(contains(shown(disk), "! State             not online, health alert (0x21)\n"));
    disk.info->modelNumber[0] = '\0';
    disk.info->serialNumber[0] = '\x1B';
    disk.config.reset();
    disk.freeSpace.reset();
    EXPECT_EQ(at(diskToJson(disk, Padding::Trim), "/online"), "null");
    EXPECT_EQ(at(diskToJson(disk, Padding::Trim), "/raw/drive_speed"), "null");
    // The raid status has the id as well.
    EXPECT_EQ(at(diskToJson(disk, Padding::Trim), "/hd_id"), "772");
    disk.raidStatus.reset();
    EXPECT_EQ(shown(disk), R"(Disk 1
  Model             not reported
  Serial number     ?N 0042
  Firmware version  F1.2
! State             unknown
  Capacity          3.841 TB if blocks of 4096 bytes (raw value 937673264)
  Free space        unknown
  Block size        4096 bytes
  Device ID         258
  HD ID             unknown
)");
}

TEST_F(DiskOfAController, StateStandsBesideItsCode) {
    struct Row {
        unsigned online, status;
        const char *state, *text;
        bool attention;
    };
    const std::vector<Row> rows = {
        {1, 0x01, "online", "online (0x01)", false},
        {0, 0x00, "not_online", "not online (0x00)", false},
        {1, 0x21, "online", "online, health alert (0x21)", true},
        {0, 0x20, "not_online", "not online, health alert (0x20)", true}};
    for (const Row& row : rows) {
        slot.config->online = static_cast<UCHAR_>(row.online);
        slot.raidStatus->raidStatus = static_cast<UCHAR_>(row.status);
        const Disk disk = read();
        EXPECT_STREQ(disk.state(), row.state);
        EXPECT_EQ(disk.stateText(), row.text);
        EXPECT_EQ(wantsAttention(disk), row.attention) << row.text;
    }
    EXPECT_STREQ(read(0).state(), "absent");
    EXPECT_TRUE(wantsAttention(read(0)));
}

TEST_F(DiskOfAController, SizesAreGuessedForPeopleOnly) {
    Disk disk = read();
    EXPECT_EQ(sizeCell(937703088, disk), "3.841 TB");
    EXPECT_EQ(sizeCell(0, disk), "0");
    EXPECT_EQ(sizeCell(std::nullopt, disk), "-");
    EXPECT_EQ(sizeCell(1ULL << 60U, disk), "raw 1152921504606846976");
    disk.info->blockSize = 0;
    EXPECT_EQ(sizeCell(7, disk), "raw 7");
    EXPECT_TRUE(contains(shown(disk), "  Capacity          937673264 (unit not stated)\n"));
}

TEST_F(DiskOfAController, IsFoundByItsSerialNumber) {
    EXPECT_EQ(findSlot(library.functions(), "0", problems), 0U);
    EXPECT_EQ(library.calls, Texts());
    EXPECT_EQ(findSlot(library.functions(), "SN 0042", problems), 1U);
    EXPECT_EQ(wantedSlots(library.functions(), "", problems), (std::vector<unsigned>{0, 1}));
    EXPECT_EQ(wantedSlots(library.functions(), "SN 0042", problems), std::vector<unsigned>{1});
    // A serial number of 20 characters is delivered without its last one.
    RecordBytes<248> full;
    slot.info = full.putText(76, 40, "M").putText(116, 20, "SERIAL-OF-20-CHARAC").as<PD_Info>();
    EXPECT_EQ(findSlot(library.functions(), "SERIAL-OF-20-CHARACT", problems), 1U);
    EXPECT_EQ(findSlot(library.functions(), "SERIAL-OF-20-CHARAC", problems), 1U);
    EXPECT_THROW(findSlot(library.functions(), "SERIAL-OF-20-CHARA", problems), UsageError);
    EXPECT_EQ(told(problems), Texts());
}

TEST_F(DiskOfAController, AnUnknownSerialNumberIsAUsageErrorIfAllDisksAnswered) {
    const auto messageFor = [this](const char* serial) {
        try {
            findSlot(library.functions(), serial, problems);
        } catch (const ProblemError& error) {
            problems.push_back(error.problem());
        }
    };
    messageFor("SN 0043");
    EXPECT_EQ(told(problems), Texts{"usage: no disk has the serial number 'SN 0043' (disk 1 has SN "
                                    "0042)"});
    problems.clear();
    slot.info = blankInfo();
    messageFor("SN 0042");
    EXPECT_EQ(told(problems), (Texts{"disk_not_responding: disk 1 did not answer",
                                     "disk_not_responding: no disk that answers has the serial "
                                     "number 'SN 0042' (there is no disk)"}));
}

}  // namespace

}  // namespace veskctl
