#include "veskctl/disk_reader.h"

#include "veskctl/guarded.h"
#include "veskctl/single_request.h"

#include <fmt/format.h>

namespace veskctl {

namespace {

void noteSilence(const std::string& name, const char* about, std::vector<Problem>& problems) {
    problems.push_back({ProblemKind::DiskNotResponding,
                        fmt::format("{} did not answer the request for {}", name, about)});
}

// A part of a disk that is known to be there.
template <class Record>
std::optional<Record> readPart(RecordFunction function, const char* functionName, unsigned slot,
                               const char* about, std::vector<Problem>& problems) {
    const std::string name = fmt::format("disk {}", slot);
    const SingleAnswer<Record> answer =
        requestSingle<Record>(function, functionName, slot, name, problems);
    if (!answer.failed && !answer.record) {
        noteSilence(name, about, problems);
    }
    return answer.record;
}

constexpr const char* kConfig = "its configuration";
constexpr const char* kRaidStatus = "its raid status";
constexpr const char* kFreeSpace = "its free space";

void readParts(const LibraryFunctions& functions, Disk& disk, std::vector<Problem>& problems) {
    disk.config =
        readPart<PD_Config>(functions.diskConfig, "ZT_PD_GetConfig", disk.slot, kConfig, problems);
    disk.raidStatus = readPart<PD_RaidStatus>(functions.diskRaidStatus, "ZT_PD_GetHDRaidStatus",
                                              disk.slot, kRaidStatus, problems);
    disk.freeSpace = readPart<PD_FreeSpaceInfo>(functions.diskFreeSpace, "ZT_PD_GetFreeSpaceInfo",
                                                disk.slot, kFreeSpace, problems);
    const DroppedParts dropped = dropContradictions(disk);
    const std::string name = fmt::format("disk {}", disk.slot);
    if (dropped.config) {
        noteSilence(name, kConfig, problems);
    }
    if (dropped.raidStatus) {
        noteSilence(name, kRaidStatus, problems);
    }
    if (dropped.freeSpace) {
        noteSilence(name, kFreeSpace, problems);
    }
}

}  // namespace

Disk readDiskInfo(const LibraryFunctions& functions, unsigned slot,
                  std::vector<Problem>& problems) {
    Disk disk;
    disk.slot = slot;
    const std::string name = fmt::format("disk {}", slot);
    const SingleAnswer<PD_Info> answer =
        requestSingle<PD_Info>(functions.diskInfo, "ZT_PD_GetHDInfo_Ext", slot, name, problems);
    if (answer.failed) {
        return disk;
    }
    if (!answer.record) {
        disk.presence = Presence::Absent;
    } else if (isBlank(*answer.record)) {
        problems.push_back(
            {ProblemKind::DiskNotResponding, fmt::format("{} did not answer", name)});
    } else {
        disk.presence = Presence::Present;
        disk.info = answer.record;
    }
    return disk;
}

Disk readDisk(const LibraryFunctions& functions, unsigned slot, std::vector<Problem>& problems) {
    Disk disk;
    disk.slot = slot;
    guarded(fmt::format("disk {}", slot), problems, [&] {
        disk = readDiskInfo(functions, slot, problems);
        if (disk.presence == Presence::Present) {
            readParts(functions, disk, problems);
        }
    });
    return disk;
}

}  // namespace veskctl
