// One NVMe adapter: answers commands from its state. Not synchronised.
#pragma once

#include "sim/controller/command.h"
#include "sim/events/event_log.h"
#include "sim/scenario/scenario.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace vesksim {

// Completion of a command. `data` is what the controller sends; how much of it arrives is the
// driver's affair. No data with a status other than success.
struct Answer {
    std::uint8_t statusCode = 0;
    std::uint8_t statusCodeType = 0;
    std::vector<std::uint8_t> data;
};

// What a controller keeps over a restart of the program.
struct ControllerState {
    std::vector<unsigned> locatingDisks;
    EventLogState events;
};

using ControllerStates = std::map<std::string, ControllerState>;  // by the adapter's name

class ControllerModel {
public:
    static constexpr std::size_t kLedSlots = 4;  // a command names the slot with two bits

    // Every `now` is the host's time in seconds.
    ControllerModel(const Adapter& adapter, std::uint64_t noiseSeed, double now);

    // Takes over another state of the same adapter. The lights stay as they are, and so does the
    // event log if nothing has changed in what the scenario says of it; else it begins anew.
    void update(const Adapter& adapter, double now);

    // A look at the event log begins with its first byte: that is when the log takes up what has
    // happened since, so that all pages of one look belong together.
    Answer answer(const ReceivedCommand& command, double now);
    // What the scenario does to commands of this kind.
    // Counts the command.
    CommandOverride failureOf(const ReceivedCommand& command, double now);
    // Ids of the disks whose locate light blinks, rising.
    std::vector<unsigned> locatingDisks() const;

    ControllerState state(double now);
    // Lights of disks that are not there stay dark; a log that came from other settings of the
    // scenario is left out.
    void restore(const ControllerState& state, double now);

private:
    Answer answerVendor(const ReceivedCommand& command, std::uint64_t seed, double now);
    Answer readEvents(const ReceivedCommand& command, double now);
    Answer readDiskLogPage(const ReceivedCommand& command, std::uint64_t seed) const;
    Answer setLed(std::uint32_t target);

    std::uint64_t m_noiseSeed;
    Adapter m_adapter;
    EventLog m_events;
    std::map<CommandClass, std::uint32_t> m_commandCounts;
    double m_eventsBegan;  // host time at which the log's own time was 0
    std::array<bool, kLedSlots> m_blinking = {};
};

}  // namespace vesksim
