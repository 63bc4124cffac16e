// A virtual disk as JSON and as a section for people.
#pragma once

#include "veskctl/table.h"
#include "veskctl/volume.h"

#include <nlohmann/json.hpp>

namespace veskctl {

nlohmann::ordered_json volumeToJson(const Volume& volume);
void addVolumeSection(const Volume& volume, Table& table);

}  // namespace veskctl
