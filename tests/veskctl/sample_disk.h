// The four records of disk 1, and those of its health.
#pragma once

#include "record_bytes.h"

#include "VeskNvme.h"

#include "veskctl/disk.h"

inline PD_Info sampleDiskInfo() {
    return RecordBytes<248>()
        .put(36, {0x02, 0x01})
        .putText(48, 8, "")
        .put(66, {0x40})
        .put(72, {0, 0, 0, 0})
        .putText(76, 40, "  Model X        ")
        .putText(116, 20, "SN 0042   ")
        .putText(136, 8, "F1.2   ")
        .put(144, {0x30, 0xC2, 0xE3, 0x37, 0, 0, 0, 0})
        .put(164, {0x00, 0x10, 0x00, 0x00})
        .put(184, {1})
        .as<PD_Info>();
}

inline PD_Config sampleDiskConfig() {
    return RecordBytes<8>().put(0, {1, 1, 1, 3, 0, 0, 0x04, 0x03}).as<PD_Config>();
}

inline PD_RaidStatus sampleRaidStatus() {
    return RecordBytes<8>().put(0, {0x04, 0x03}).put(4, {0x21}).as<PD_RaidStatus>();
}

inline PD_FreeSpaceInfo sampleFreeSpace() {
    return RecordBytes<16>()
        .put(0, {0x02, 0x01})
        .put(4, {0x00, 0x10})
        .put(8, {0, 0, 0, 0, 0, 0, 0, 0})
        .as<PD_FreeSpaceInfo>();
}

inline veskctl::Disk sampleDisk() {
    veskctl::Disk disk;
    disk.slot = 1;
    disk.presence = veskctl::Presence::Present;
    disk.info = sampleDiskInfo();
    disk.config = sampleDiskConfig();
    disk.raidStatus = sampleRaidStatus();
    disk.freeSpace = sampleFreeSpace();
    return disk;
}

// Used 103, spare 7, threshold 10.
inline SMART_INFO_ARRAY sampleHealthRecord(std::uint8_t status) {
    RecordBytes<2404> bytes;
    bytes.put(0, {status});
    bytes.put(4, {0}).putText(5, 65, "Percent Drive Life Remaining").put(71, {103}).put(79, {0});
    bytes.put(84, {1}).putText(85, 65, "Available Spare").put(151, {7}).put(159, {10});
    for (std::size_t row = 2; row < 30; ++row) {
        bytes.put(4 + row * 80, {0}).putText(5 + row * 80, 65, "");
    }
    return bytes.as<SMART_INFO_ARRAY>();
}
