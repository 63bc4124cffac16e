// The text form of events.
#pragma once

#include "event_settings.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vesksim {

// A line without its line feed. The two numbers stand in for those that the event leaves open.
std::string eventLine(const EventEntry& entry, std::uint32_t sequence, std::uint32_t time);

// The sequence number of a line, if it has a valid one.
std::optional<std::uint32_t> sequenceOf(const std::string& line);

}  // namespace vesksim
