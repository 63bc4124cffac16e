// A physical disk as JSON and as a section for people.
#pragma once

#include "veskctl/device_text.h"
#include "veskctl/disk.h"
#include "veskctl/table.h"

#include <nlohmann/json.hpp>

namespace veskctl {

nlohmann::ordered_json diskToJson(const Disk& disk, Padding padding);
void addDiskSection(const Disk& disk, Padding padding, Table& table);

// What tells disks apart, for other views too: slot, presence, texts. Without a firmware version.
void putDiskIdentity(nlohmann::ordered_json& json, const Disk& disk, Padding padding);
// The section's title and, of a disk that is there, its texts. False: nothing more is known.
bool addDiskIdentity(const Disk& disk, Padding padding, Table& table);

}  // namespace veskctl
