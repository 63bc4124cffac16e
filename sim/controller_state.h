// What a controller keeps over a restart of the program. Plain values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace vesksim {

struct EventLogState {
    std::string source;              // mark of the scenario's settings that the log came from
    double seconds = 0;              // the log's own time
    std::vector<std::uint8_t> area;  // 64 KiB
    std::size_t position = 0;        // where the next line goes
    std::uint32_t nextSequence = 0;  // of an event that has no number of its own
    std::size_t scheduledDone = 0;   // scheduled events that have happened
    std::uint64_t randomMade = 0;    // made-up events that have happened
    double nextRandomAt = 0;         // when the next one of these happens
};

struct ControllerState {
    std::vector<unsigned> locatingDisks;
    EventLogState events;
};

using ControllerStates = std::map<std::string, ControllerState>;  // by the adapter's name

}  // namespace vesksim
