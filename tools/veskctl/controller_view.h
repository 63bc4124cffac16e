// A controller as JSON and as sections for people.
#pragma once

#include "veskctl/controller_record.h"
#include "veskctl/table.h"

#include <nlohmann/json.hpp>

namespace veskctl {

nlohmann::ordered_json controllerToJson(const Controller& controller);
void addControllerSections(const Controller& controller, Table& table);

}  // namespace veskctl
