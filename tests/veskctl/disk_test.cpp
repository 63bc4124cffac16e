// Which records are no answers.
#include "sample_disk.h"

#include <gtest/gtest.h>

namespace {

using veskctl::Disk;
using veskctl::dropContradictions;
using veskctl::DroppedParts;
using veskctl::isBlank;

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

TEST(Disk, ZerosAreNoAnswerWhateverTheReservedBytes) {
    EXPECT_TRUE(isBlank(blankInfo()));
    EXPECT_FALSE(isBlank(sampleDiskInfo()));
}

TEST(Disk, AnyTextNumberOrIdIsAnAnswer) {
    PD_Info info = blankInfo();
    info.serialNumber[0] = 'S';
    EXPECT_FALSE(isBlank(info));
    info = blankInfo();
    info.size = 1;
    EXPECT_FALSE(isBlank(info));
    info = blankInfo();
    info.deviceId = 1;
    EXPECT_FALSE(isBlank(info));
}

TEST(Disk, PartsThatAgreeStay) {
    Disk disk = sampleDisk();
    const DroppedParts dropped = dropContradictions(disk);
    EXPECT_FALSE(dropped.config || dropped.raidStatus || dropped.freeSpace);
    EXPECT_TRUE(disk.config && disk.raidStatus && disk.freeSpace);
}

TEST(Disk, AConfigurationOfZerosIsDropped) {
    Disk disk = sampleDisk();
    disk.config->hdId = 0;
    disk.config->online = 0;
    EXPECT_TRUE(dropContradictions(disk).config);
    EXPECT_FALSE(disk.config.has_value());
    EXPECT_TRUE(disk.raidStatus.has_value());
}

TEST(Disk, ARaidStatusOfZerosIsDropped) {
    Disk disk = sampleDisk();
    disk.raidStatus->hdId = 0;
    disk.raidStatus->raidStatus = 0;
    EXPECT_TRUE(dropContradictions(disk).raidStatus);
    EXPECT_FALSE(disk.raidStatus.has_value());
    EXPECT_TRUE(disk.config.has_value());
}

TEST(Disk, AFreeSpaceOfZerosIsDropped) {
    Disk disk = sampleDisk();
    disk.freeSpace->deviceId = 0;
    disk.freeSpace->blockSize = 0;
    EXPECT_TRUE(dropContradictions(disk).freeSpace);
    EXPECT_FALSE(disk.freeSpace.has_value());
}

// A disk may go offline between two questions.
TEST(Disk, PartsThatDifferWithoutBeingBlankStay) {
    Disk disk = sampleDisk();
    disk.config->online = 0;
    const DroppedParts dropped = dropContradictions(disk);
    EXPECT_FALSE(dropped.config || dropped.raidStatus);
    EXPECT_TRUE(disk.config && disk.raidStatus);
}

// Its id is 0 and it is not online: the zeros are what they should be.
TEST(Disk, ZerosThatContradictNothingStay) {
    Disk disk = sampleDisk();
    disk.config->hdId = 0;
    disk.config->online = 0;
    disk.raidStatus->hdId = 0;
    disk.raidStatus->raidStatus = 0;
    dropContradictions(disk);
    EXPECT_TRUE(disk.config && disk.raidStatus);
}

// The free space shows 16 bits of the block size only.
TEST(Disk, ABlockSizeOf65536ReadsZeroInTheFreeSpace) {
    Disk disk = sampleDisk();
    disk.info->blockSize = 65536;
    disk.freeSpace->blockSize = 0;
    EXPECT_FALSE(dropContradictions(disk).freeSpace);
    EXPECT_TRUE(disk.freeSpace.has_value());
}

}  // namespace
