// One NVMe adapter: answers commands from its state. Not synchronised.
#pragma once

#include "event_log.h"
#include "locate_leds.h"
#include "received_command.h"
#include "scenario.h"

#include <cstdint>
#include <vector>

namespace vesksim {

// Completion of a command. `data` is what the controller sends; how much of it arrives is the
// driver's affair. No data with a status other than success.
struct Answer {
    std::uint8_t statusCode = 0;
    std::uint8_t statusCodeType = 0;
    std::vector<std::uint8_t> data;
};

class ControllerModel {
public:
    ControllerModel(const Adapter& adapter, std::uint64_t noiseSeed);

    // Takes over another state of the same adapter; the lights stay as they are.
    void update(const Adapter& adapter);

    Answer answer(const ReceivedCommand& command);
    const Adapter& adapter() const { return m_adapter; }
    std::vector<unsigned> locatingDisks() const { return m_leds.blinking(); }

private:
    Answer answerVendor(const ReceivedCommand& command, std::uint64_t seed);
    Answer readDiskLogPage(const ReceivedCommand& command, std::uint64_t seed) const;
    Answer setLed(std::uint32_t target);

    std::uint64_t m_noiseSeed;
    Adapter m_adapter;
    EventLog m_events;
    LocateLeds m_leds;
};

}  // namespace vesksim
