// The health of a physical disk: decoded, asked for, shown.
#pragma once

#include "veskctl/disk.h"

#include "VeskNvme.h"

#include <optional>
#include <vector>

namespace veskctl {

struct Wear {
    unsigned percentageUsed = 0;  // may exceed 100
    unsigned availableSpare = 0;  // percent, as is the threshold
    unsigned availableSpareThreshold = 0;

    bool spareLow() const { return availableSpare < availableSpareThreshold; }
};

struct Health {
    Disk disk;                                              // presence and PD_Info
    std::optional<SMART_INFO_ARRAY> record = std::nullopt;  // if the library delivered it

    // Empty if the disk's health page did not come: then all of it is zero, which no disk reports,
    // since spare blocks that are used up have worn the disk.
    std::optional<Wear> wear() const;
    // "ok", "alert" or "unknown".
    const char* status() const;
    // The same for people, with the code beside it: "ok (0x4f)".
    std::string statusText() const;
};

// Never throws: what goes wrong is noted among the problems, so that the other disk is still asked.
// Of a disk that was read before:
Health readHealthOf(const LibraryFunctions& functions, const Disk& disk,
                    std::vector<Problem>& problems);
// Asks for the disk as well:
Health readHealth(const LibraryFunctions& functions, unsigned slot, std::vector<Problem>& problems);

Json healthToJson(const Health& health);
void addHealthSection(const Health& health, Blocks& blocks);

Command healthCommand();

}  // namespace veskctl
