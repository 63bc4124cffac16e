// Disks as they are asked for.
#include "veskctl/disk_reader.h"

#include "fake_library.h"
#include "sample_disk.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using veskctl::Disk;
using veskctl::Presence;
using veskctl::Problem;
using veskctl::ProblemKind;
using veskctl::readDisk;

class DiskReader : public testing::Test {
protected:
    DiskReader() {
        FakeLibrary::Slot& slot = library.slots[1];
        slot.info = sampleDiskInfo();
        slot.config = sampleDiskConfig();
        slot.raidStatus = sampleRaidStatus();
        slot.freeSpace = sampleFreeSpace();
    }

    Disk read(unsigned slot) { return readDisk(library.functions(), slot, problems); }

    FakeLibrary library;
    std::vector<Problem> problems;
};

TEST_F(DiskReader, AsksForEachRecordOfThatDisk) {
    const Disk disk = read(1);
    EXPECT_EQ(library.calls, (std::vector<std::string>{"diskInfo 1", "diskConfig 1",
                                                       "diskRaidStatus 1", "diskFreeSpace 1"}));
    EXPECT_TRUE(problems.empty());
    EXPECT_EQ(disk.slot, 1U);
    EXPECT_EQ(disk.presence, Presence::Present);
    EXPECT_EQ(disk.info->deviceId, 258);
    EXPECT_EQ(disk.config->hdId, 772);
    EXPECT_EQ(disk.raidStatus->raidStatus, 0x21);
    EXPECT_EQ(disk.freeSpace->blockSize, 4096);
}

TEST_F(DiskReader, AnAbsentDiskIsAnAnswer) {
    const Disk disk = read(0);
    EXPECT_EQ(disk.presence, Presence::Absent);
    EXPECT_TRUE(problems.empty());
    EXPECT_EQ(library.calls, std::vector<std::string>{"diskInfo 0"});
}

TEST_F(DiskReader, ADiskOfZerosDidNotAnswer) {
    library.slots[1].info = PD_Info();
    const Disk disk = read(1);
    EXPECT_EQ(disk.presence, Presence::Unknown);
    EXPECT_FALSE(disk.info.has_value());
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_EQ(problems[0].kind, ProblemKind::DiskNotResponding);
    EXPECT_EQ(problems[0].message, "disk 1 did not answer");
}

TEST_F(DiskReader, AFailedCallIsNoAbsentDisk) {
    library.results["diskInfo"] = 1;
    EXPECT_EQ(read(0).presence, Presence::Unknown);
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_EQ(problems[0].message,
              "the library's ZT_PD_GetHDInfo_Ext failed for disk 0 with result 1 (fail)");
}

TEST_F(DiskReader, OnePartThatFailsLeavesTheOthers) {
    library.results["diskConfig"] = 1;
    library.slots[1].raidStatus.reset();
    const Disk disk = read(1);
    EXPECT_EQ(disk.presence, Presence::Present);
    EXPECT_FALSE(disk.config.has_value());
    EXPECT_FALSE(disk.raidStatus.has_value());
    EXPECT_TRUE(disk.freeSpace.has_value());
    ASSERT_EQ(problems.size(), 2U);
    EXPECT_EQ(problems[0].function, "ZT_PD_GetConfig");
    EXPECT_EQ(problems[1].message, "disk 1 did not answer the request for its raid status");
}

TEST_F(DiskReader, AContradictionIsAPartThatDidNotAnswer) {
    library.slots[1].freeSpace = PD_FreeSpaceInfo();
    const Disk disk = read(1);
    EXPECT_FALSE(disk.freeSpace.has_value());
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_EQ(problems[0].message, "disk 1 did not answer the request for its free space");
}

TEST_F(DiskReader, ALibraryThatThrowsKeepsWhatWasRead) {
    library.throwing = "diskRaidStatus";
    const Disk disk = read(1);
    EXPECT_EQ(disk.presence, Presence::Present);
    EXPECT_TRUE(disk.config.has_value());
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_EQ(problems[0].kind, ProblemKind::Internal);
    EXPECT_EQ(problems[0].message, "disk 1 cannot be read: thrown by diskRaidStatus");
}

}  // namespace
