// A virtual disk: decoded, asked for, shown.
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
struct Command;

struct Volume {
    unsigned id = 0;  // the id that was asked for
    Presence presence = Presence::Unknown;
    // Only where the controller delivered them.
    std::optional<VD_Info> info = std::nullopt;
    std::optional<VD_Config> config = std::nullopt;

    std::optional<std::string> name() const;
    std::optional<unsigned> statusCode() const;
    // "normal" for status 0, "not_normal" for any other: no value has a name. "absent" or
    // "not_responding" without a status.
    const char* state() const;
    // The same for people, with the code beside it: "normal (0x00)".
    std::string stateText() const;
    // "raid0" or "raid1". Other modes have no name.
    std::optional<std::string> raidLevel() const;
    // Empty if the block size is 0 or the product has no room in 64 bits.
    std::optional<std::uint64_t> capacityBytes() const;
};

// Never throws: what goes wrong is noted among the problems, so that the other one is still asked.
Volume readVolume(const LibraryFunctions& functions, unsigned id, std::vector<Problem>& problems);

Json volumeToJson(const Volume& volume);
void addVolumeSection(const Volume& volume, Blocks& blocks);

Command volumesCommand();

}  // namespace veskctl
