// One physical disk, joined from the library's four records of it.
#pragma once

#include "veskctl/presence.h"

#include "VeskNvme.h"

#include <optional>

namespace veskctl {

struct Disk {
    unsigned slot = 0;  // the id that was asked for
    Presence presence = Presence::Unknown;
    // Only where the controller delivered them.
    std::optional<PD_Info> info = std::nullopt;
    std::optional<PD_Config> config = std::nullopt;
    std::optional<PD_RaidStatus> raidStatus = std::nullopt;
    std::optional<PD_FreeSpaceInfo> freeSpace = std::nullopt;
};

// A device command that failed reads as a disk of zeros. No disk that answered has neither texts
// nor a size.
bool isBlank(const PD_Info& info);

struct DroppedParts {
    bool config = false;
    bool raidStatus = false;
    bool freeSpace = false;
};
// Takes out records of zeros that contradict the others: they come from device commands that
// failed.
DroppedParts dropContradictions(Disk& disk);

}  // namespace veskctl
