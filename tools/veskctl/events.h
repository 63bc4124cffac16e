// The command that shows events: new ones, once or on and on, or all that the controller holds.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace veskctl {

struct Command;

// A point in time as a person gives it: "2026-09-21T14:13:20Z", "2026-09-21", or how long ago:
// "90s", "30m", "2h", "3d". Empty if it is none of these.
std::optional<std::time_t> parseSince(const std::string& text, std::time_t now);

Command eventsCommand();

}  // namespace veskctl
