// What a scenario says about the event log. Plain values.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace vesksim {

struct Event {
    std::optional<std::uint32_t> sequence;  // else one more than that of the event before
    std::optional<std::uint32_t> time;      // seconds since 1970, else the log's own time
    std::uint16_t deviceId = 0;
    std::uint16_t eventId = 0;
    std::string eventClass = "NVMe";
    std::string description;
    std::string severity = "INFO";
};

// A text is a line of the log as it stands there, without its line feed.
using EventEntry = std::variant<std::string, Event>;

struct ScheduledEvent {
    double at = 0;  // seconds since the log began
    EventEntry event;
};

// Events made up from a seed: equal seeds, equal events.
struct RandomEvents {
    std::uint64_t seed = 1;
    double meanIntervalSeconds = 0;     // 0: none come after the initial ones
    std::uint32_t initialCount = 0;     // at the beginning, behind the scenario's own events
    std::uint8_t unmappedPercent = 20;  // share of events that the usual mapping file leaves out
};

}  // namespace vesksim
