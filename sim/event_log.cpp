#include "event_log.h"

#include "event_text.h"
#include "mix.h"
#include "random_events.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

namespace vesksim {

namespace {

constexpr double kNever = std::numeric_limits<double>::infinity();
constexpr double kLastSecond = 1e12;
constexpr double kInitialSpacing = 60;  // seconds between made-up events of the past

std::string describe(const EventEntry& entry) {
    if (const auto* line = std::get_if<std::string>(&entry)) {
        return fmt::format("line {}:{}", line->size(), *line);
    }
    const Event& event = std::get<Event>(entry);
    return fmt::format("event {} {} {}", event.sequence.has_value(), event.time.has_value(),
                       eventLine(entry, 0, 0));
}

}  // namespace

std::string eventSource(const Adapter& adapter) {
    std::string text = fmt::format("{} {}\n", adapter.cutEventLines, adapter.eventStartTime);
    for (const EventEntry& entry : adapter.events) {
        text += describe(entry) + '\n';
    }
    for (const ScheduledEvent& scheduled : adapter.eventSchedule) {
        text += fmt::format("{} {}\n", scheduled.at, describe(scheduled.event));
    }
    if (const auto& random = adapter.randomEvents) {
        text += fmt::format("{} {} {} {}", random->seed, random->meanIntervalSeconds,
                            random->initialCount, random->unmappedPercent);
    }
    std::uint64_t hash = mix(text.size());
    for (const char c : text) {
        hash = mix(hash ^ static_cast<unsigned char>(c));
    }
    return fmt::format("{:016x}", hash);
}

EventLog::EventLog(const Adapter& adapter, std::uint64_t noiseSeed)
    : m_adapter(adapter),
      m_schedule(adapter.eventSchedule),
      m_area(adapter.cutEventLines, noiseSeed) {
    std::stable_sort(m_schedule.begin(), m_schedule.end(),
                     [](const ScheduledEvent& a, const ScheduledEvent& b) { return a.at < b.at; });
    for (const EventEntry& entry : adapter.events) {
        append(entry, 0);
    }
    if (adapter.randomEvents) {
        const std::uint32_t count = adapter.randomEvents->initialCount;
        for (; m_randomMade < count; ++m_randomMade) {
            append(randomEvent(adapter, *adapter.randomEvents, m_randomMade),
                   -kInitialSpacing * static_cast<double>(count - m_randomMade));
        }
        m_nextRandomAt = randomInterval(*adapter.randomEvents, m_randomMade);
    }
}

void EventLog::append(const EventEntry& entry, double seconds) {
    const double time = std::max(0.0, static_cast<double>(m_adapter.eventStartTime) + seconds);
    const std::string line = eventLine(
        entry, m_nextSequence, static_cast<std::uint32_t>(static_cast<std::uint64_t>(time)));
    m_area.append(line);
    if (const auto sequence = sequenceOf(line)) {
        m_nextSequence = *sequence + 1;
    }
}

void EventLog::advance(double seconds) {
    const double now = std::min(seconds, kLastSecond);
    const bool grows = m_adapter.randomEvents && m_adapter.randomEvents->meanIntervalSeconds > 0;
    if (grows && now - m_nextRandomAt > kLongestGapSeconds) {
        m_nextRandomAt = now - kLongestGapSeconds;
    }
    for (;;) {
        const double scheduled =
            m_scheduledDone < m_schedule.size() ? m_schedule[m_scheduledDone].at : kNever;
        const double random = grows ? m_nextRandomAt : kNever;
        // Written so that a time that is no number ends the loop.
        if (!(std::min(scheduled, random) <= now)) {
            break;
        }
        if (scheduled <= random) {
            append(m_schedule[m_scheduledDone].event, scheduled);
            ++m_scheduledDone;
        } else {
            append(randomEvent(m_adapter, *m_adapter.randomEvents, m_randomMade), random);
            ++m_randomMade;
            m_nextRandomAt += randomInterval(*m_adapter.randomEvents, m_randomMade);
        }
    }
    m_seconds = now > m_seconds ? now : m_seconds;
}

EventLogState EventLog::state() const {
    EventLogState state;
    state.source = eventSource(m_adapter);
    state.seconds = m_seconds;
    state.area = m_area.bytes();
    state.position = m_area.position();
    state.nextSequence = m_nextSequence;
    state.scheduledDone = m_scheduledDone;
    state.randomMade = m_randomMade;
    state.nextRandomAt = m_nextRandomAt;
    return state;
}

void EventLog::restore(const EventLogState& state) {
    m_area.restore(state.area, state.position);
    m_seconds = state.seconds;
    m_nextSequence = state.nextSequence;
    m_scheduledDone = state.scheduledDone;
    m_randomMade = state.randomMade;
    m_nextRandomAt = state.nextRandomAt;
}

}  // namespace vesksim
