#include "veskctl/disk.h"

namespace veskctl {

namespace {

bool isBlank(const PD_Config& config) {
    return config.hdId == 0 && config.online == 0;
}

bool isBlank(const PD_RaidStatus& status) {
    return status.hdId == 0 && status.raidStatus == 0;
}

bool isBlank(const PD_FreeSpaceInfo& space) {
    return space.deviceId == 0 && space.blockSize == 0 && space.size == 0;
}

bool agree(const PD_Config& config, const PD_RaidStatus& status) {
    return config.hdId == status.hdId && config.online == (status.raidStatus & 1U);
}

bool agree(const PD_Info& info, const PD_FreeSpaceInfo& space) {
    return info.deviceId == space.deviceId && (info.blockSize & 0xFFFFU) == space.blockSize;
}

}  // namespace

bool isBlank(const PD_Info& info) {
    return info.modelNumber[0] == '\0' && info.serialNumber[0] == '\0' &&
           info.firmwareVersion[0] == '\0' && info.size == 0 && info.blockSize == 0 &&
           info.deviceId == 0;
}

DroppedParts dropContradictions(Disk& disk) {
    DroppedParts dropped;
    if (disk.config && disk.raidStatus && !agree(*disk.config, *disk.raidStatus)) {
        if (isBlank(*disk.config)) {
            disk.config.reset();
            dropped.config = true;
        } else if (isBlank(*disk.raidStatus)) {
            disk.raidStatus.reset();
            dropped.raidStatus = true;
        }
    }
    if (disk.info && disk.freeSpace && !agree(*disk.info, *disk.freeSpace) &&
        isBlank(*disk.freeSpace)) {
        disk.freeSpace.reset();
        dropped.freeSpace = true;
    }
    return dropped;
}

}  // namespace veskctl
