// The controller's event log: its text, and what is added to it as time goes by. Not synchronised.
#pragma once

#include "controller_state.h"
#include "event_area.h"
#include "scenario.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vesksim {

// Equal for adapters whose logs begin and grow in the same way.
std::string eventSource(const Adapter& adapter);

class EventLog {
public:
    // Made-up events of a longer gap are left out, so that a long break costs no time.
    static constexpr double kLongestGapSeconds = 3600;

    // The log with the events that are there from the beginning.
    EventLog(const Adapter& adapter, std::uint64_t noiseSeed);

    // Adds what has happened up to this time, in seconds since the log began. Time that goes back
    // takes nothing away.
    void advance(double seconds);

    std::vector<std::uint8_t> read(std::uint32_t offset, std::size_t length) const {
        return m_area.read(offset, length);
    }

    // True once old text had to go.
    bool wrapped() const { return m_area.wrapped(); }

    EventLogState state() const;
    void restore(const EventLogState& state);

private:
    void append(const EventEntry& entry, double seconds);

    Adapter m_adapter;
    std::vector<ScheduledEvent> m_schedule;  // by rising time
    EventArea m_area;
    double m_seconds = 0;
    std::uint32_t m_nextSequence = 1;
    std::size_t m_scheduledDone = 0;
    std::uint64_t m_randomMade = 0;
    double m_nextRandomAt = 0;
};

}  // namespace vesksim
