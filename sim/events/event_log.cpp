#include "sim/events/event_log.h"

#include "sim/events/random_events.h"
#include "sim/scenario/noise.h"

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

std::string eventLine(const EventEntry& entry, std::uint32_t sequence, std::uint32_t time) {
    if (const auto* line = std::get_if<std::string>(&entry)) {
        return *line;
    }
    const Event& event = std::get<Event>(entry);
    return fmt::format("[SEQ]{}[TIME]{}[EVT_ID]0x{:X}[DEV_ID]{}[MSG]{}_{}_{}",
                       event.sequence.value_or(sequence), event.time.value_or(time), event.eventId,
                       event.deviceId, event.eventClass, event.description, event.severity);
}

std::optional<std::uint32_t> sequenceOf(const std::string& line) {
    const std::string tag = "[SEQ]";
    const std::size_t found = line.find(tag);
    if (found == std::string::npos) {
        return std::nullopt;
    }
    constexpr std::uint64_t kMax = std::numeric_limits<std::uint32_t>::max();
    const std::size_t first = found + tag.size();
    std::size_t at = first;
    std::uint64_t number = 0;
    for (; at < line.size() && line[at] >= '0' && line[at] <= '9'; ++at) {
        number = number * 10 + static_cast<std::uint64_t>(line[at] - '0');
        if (number > kMax) {
            return std::nullopt;
        }
    }
    return at == first ? std::nullopt
                       : std::optional<std::uint32_t>(static_cast<std::uint32_t>(number));
}

EventArea::EventArea(bool cut, std::uint64_t noiseSeed)
    : m_cut(cut), m_noiseSeed(noiseSeed), m_bytes(kAreaBytes) {
    for (std::size_t page = 0; page < kAreaBytes; page += kPageBytes) {
        const std::vector<std::uint8_t> header = noise(kHeaderBytes, noiseSeed + page);
        std::copy(header.begin(), header.end(),
                  m_bytes.begin() + static_cast<std::ptrdiff_t>(page));
    }
}

void EventArea::append(const std::string& line) {
    const std::string text = line + '\n';
    // A position at the end of a page belongs to that page still.
    const std::size_t left = (kPageBytes - m_position % kPageBytes) % kPageBytes;
    if (text.size() <= left) {
        put(m_position, text);
        m_position += text.size();
        return;
    }
    if (!m_cut || left == 0) {
        enterNextPage();
        put(m_position, text);
        m_position += text.size();
        return;
    }
    put(m_position, text.substr(0, left));
    enterNextPage();
    put(m_position - kHeaderBytes, text.substr(left, kHeaderBytes));
}

void EventArea::enterNextPage() {
    const std::size_t page = (m_position + kPageBytes - 1) / kPageBytes * kPageBytes % kAreaBytes;
    const auto begin = m_bytes.begin() + static_cast<std::ptrdiff_t>(page);
    m_wrapped = m_wrapped || page == 0;
    const std::vector<std::uint8_t> header = noise(kHeaderBytes, m_noiseSeed + page);
    std::fill_n(begin, kPageBytes, std::uint8_t{0});
    std::copy(header.begin(), header.end(), begin);
    m_position = page + kHeaderBytes;
}

void EventArea::put(std::size_t offset, const std::string& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        m_bytes.at(offset + i) = static_cast<std::uint8_t>(text[i]);
    }
}

std::vector<std::uint8_t> EventArea::read(std::uint32_t offset, std::size_t length) const {
    std::vector<std::uint8_t> bytes(length);
    if (offset < m_bytes.size()) {
        std::copy_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(offset),
                    std::min(length, m_bytes.size() - offset), bytes.begin());
    }
    return bytes;
}

void EventArea::restore(const std::vector<std::uint8_t>& bytes, std::size_t position) {
    m_bytes = bytes;
    m_position = position;
}

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
