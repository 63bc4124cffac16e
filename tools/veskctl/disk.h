// A physical disk: joined from the library's four records of it, asked for, shown.
#pragma once

#include "veskctl/library.h"
#include "veskctl/problem.h"
#include "veskctl/record.h"

#include "VeskNvme.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace veskctl {

class Blocks;
class Grid;
struct Column;
struct Command;
struct CommandContext;

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
    std::optional<unsigned> raidStatusCode() const;
    // The status byte's health bit.
    std::optional<bool> healthAlert() const;

    // "online", "not_online", "absent", "not_responding" or, if the part that says it is missing,
    // "unknown".
    const char* state() const;
    // The same for people, with the alert and the code beside it: "online (0x01)".
    std::string stateText() const;
};

// Never throws: what goes wrong is noted among the problems, so that the other disk is still asked.
Disk readDisk(const LibraryFunctions& functions, unsigned slot, std::vector<Problem>& problems);

// Presence and PD_Info alone. May throw what the library throws.
Disk readDiskInfo(const LibraryFunctions& functions, unsigned slot, std::vector<Problem>& problems);

// The serial number that several disks have.
std::optional<std::string> serialOfSeveral(const std::vector<Disk>& disks);

// The slot of the disk with this id or serial number. Throws ProblemError: a usage error if there
// is none, or several, unless a disk that may be it did not answer.
unsigned findSlot(const LibraryFunctions& functions, const std::string& idOrSerial,
                  std::vector<Problem>& problems);

// All slots, or the one that was asked for by id or serial number.
std::vector<unsigned> wantedSlots(const LibraryFunctions& functions, const std::string& idOrSerial,
                                  std::vector<Problem>& problems);

Json diskToJson(const Disk& disk, Padding padding);
void addDiskSection(const Disk& disk, Padding padding, Blocks& blocks);

// What tells disks apart, for other nouns too: slot, presence, texts. Without a firmware version.
std::vector<Column> diskIdentityColumns();
std::vector<std::string> diskIdentityCells(const Disk& disk, Padding padding);
void putDiskIdentity(Json& json, const Disk& disk, Padding padding);
// The section's title and, of a disk that is there, its texts. False: nothing more is known.
bool addDiskIdentity(const Disk& disk, Padding padding, Blocks& blocks);

// A size in the unit that the controller does not state, for a cell: "480.1 GB", or the number as
// it is if its blocks have no size. The table says below itself what that supposes.
std::string sizeCell(const std::optional<std::uint64_t>& raw, const Disk& disk);
std::string sizeRemark(const CommandContext& context);

Command disksCommand();

}  // namespace veskctl
