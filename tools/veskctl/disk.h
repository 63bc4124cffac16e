// A physical disk: joined from the library's four records of it, asked for, shown.
#pragma once

#include "veskctl/library.h"
#include "veskctl/problem.h"
#include "veskctl/record.h"

#include "VeskNvme.h"

#include <optional>
#include <string>
#include <vector>

namespace veskctl {

class Blocks;
struct Command;

struct Disk {
    unsigned slot = 0;  // the id that was asked for
    Presence presence = Presence::Unknown;
    // Only where the controller delivered them.
    std::optional<PD_Info> info = std::nullopt;
    std::optional<PD_Config> config = std::nullopt;
    std::optional<PD_RaidStatus> raidStatus = std::nullopt;
    std::optional<PD_FreeSpaceInfo> freeSpace = std::nullopt;

    std::optional<std::string> modelName(Padding padding) const;
    std::optional<std::string> serialNumber(Padding padding) const;
    std::optional<std::string> firmwareVersion(Padding padding) const;
    std::optional<bool> online() const;
    std::optional<unsigned> hdId() const;
};

// Never throws: what goes wrong is noted among the problems, so that the other disk is still asked.
Disk readDisk(const LibraryFunctions& functions, unsigned slot, std::vector<Problem>& problems);

// Presence and PD_Info alone. May throw what the library throws.
Disk readDiskInfo(const LibraryFunctions& functions, unsigned slot, std::vector<Problem>& problems);

Json diskToJson(const Disk& disk, Padding padding);
void addDiskSection(const Disk& disk, Padding padding, Blocks& blocks);

// What tells disks apart, for other nouns too: slot, presence, texts. Without a firmware version.
void putDiskIdentity(Json& json, const Disk& disk, Padding padding);
// The section's title and, of a disk that is there, its texts. False: nothing more is known.
bool addDiskIdentity(const Disk& disk, Padding padding, Blocks& blocks);

Command disksCommand();

}  // namespace veskctl
