// One virtual disk.
#pragma once

#include "veskctl/presence.h"

#include "VeskNvme.h"

#include <cstdint>
#include <optional>

namespace veskctl {

struct Volume {
    unsigned id = 0;  // the id that was asked for
    Presence presence = Presence::Unknown;
    // Only where the controller delivered them.
    std::optional<VD_Info> info = std::nullopt;
    std::optional<VD_Config> config = std::nullopt;
};

// A device command that failed reads as a volume of zeros. No volume has neither members nor a
// size.
bool isBlank(const VD_Info& info);

// Takes out a configuration of zeros that contradicts the rest: it comes from a device command that
// failed. True if it did.
bool dropContradiction(Volume& volume);

// "raid0", "raid1" or null for a mode that has no name.
const char* raidLevel(unsigned raidMode);

// Empty if the block size is 0 or the product has no room in 64 bits.
std::optional<std::uint64_t> capacityBytes(const VD_Info& info);

}  // namespace veskctl
