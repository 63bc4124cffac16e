// An event as JSON and as one line.
#pragma once

#include "veskctl/event.h"

#include <nlohmann/json.hpp>

#include <string>

namespace veskctl {

nlohmann::ordered_json eventToJson(const Event& event);

// With its line end.
std::string eventToJsonLine(const Event& event);
std::string eventToTextLine(const Event& event, bool colour);

}  // namespace veskctl
