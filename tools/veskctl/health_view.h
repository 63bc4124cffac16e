// The health of a disk as JSON and as a section for people.
#pragma once

#include "veskctl/health.h"
#include "veskctl/table.h"

#include <nlohmann/json.hpp>

namespace veskctl {

nlohmann::ordered_json healthToJson(const Health& health);
void addHealthSection(const Health& health, Table& table);

}  // namespace veskctl
