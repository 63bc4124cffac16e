#include "veskctl/event_reading.h"

#include <algorithm>

namespace veskctl {

namespace {

constexpr int kMostLooks = 64;  // far more than the log has room for

const Event* findEvent(const std::vector<Event>& events, std::uint32_t sequence) {
    const auto found = std::find_if(events.begin(), events.end(), [sequence](const Event& event) {
        return event.sequence == sequence;
    });
    return found == events.end() ? nullptr : &*found;
}

void goOn(const EventLook& look, EventReading& reading, bool full) {
    for (int looks = 1; full && looks < kMostLooks; ++looks) {
        EventDelivery next = look(reading.events.back().sequence);
        full = next.full && !next.events.empty();
        reading.problem = next.problem;
        reading.events.insert(reading.events.end(), next.events.begin(), next.events.end());
    }
    reading.more = full;
}

// Lower numbers that are younger than the mark's event, or nothing but lower numbers.
bool beganAnew(const EventLook& look, std::uint32_t mark, const std::optional<Event>& atMark) {
    const EventDelivery lowest = look(0);
    if (atMark) {
        return std::any_of(lowest.events.begin(), lowest.events.end(), [&](const Event& event) {
            return event.sequence < mark && event.timeRaw > atMark->timeRaw;
        });
    }
    // Asked again: the first look may have come before the library's own.
    return !lowest.events.empty() && look(mark - 1).events.empty();
}

}  // namespace

EventReading readNewEvents(const EventLook& look, std::uint32_t mark, EventExtent extent,
                           NumberCheck check) {
    EventReading reading;
    reading.mark = mark;
    EventDelivery first = look(mark == 0 ? 0 : mark - 1);
    reading.problem = first.problem;
    reading.looked = !first.events.empty();
    const Event* const found = mark == 0 ? nullptr : findEvent(first.events, mark);
    const std::optional<Event> atMark = found == nullptr ? std::nullopt : std::optional(*found);
    for (const Event& event : first.events) {
        if (event.sequence > mark) {
            reading.events.push_back(event);
        }
    }
    reading.more = first.full;
    if (extent == EventExtent::Everything && first.full && !reading.events.empty()) {
        goOn(look, reading, true);
    }
    const bool wanted =
        check == NumberCheck::IfNothingIsNew || (check == NumberCheck::IfMarkIsGone && !atMark);
    if (wanted && reading.events.empty() && mark > 0 && !reading.problem) {
        reading.numbersBeganAnew = beganAnew(look, mark, atMark);
        reading.looked = reading.looked || reading.numbersBeganAnew;
    }
    // The oldest go first: while the mark's own event is there, none behind it was overwritten.
    if (mark > 0 && !atMark && !reading.events.empty() &&
        reading.events.front().sequence > mark + 1) {
        reading.gap = EventGap{mark, reading.events.front().sequence};
    }
    return reading;
}

EventReading readHeldEvents(const EventLook& look) {
    EventReading reading;
    const EventDelivery first = look(0);
    reading.problem = first.problem;
    reading.looked = !first.events.empty();
    reading.events = first.events;
    goOn(look, reading, first.full);
    return reading;
}

}  // namespace veskctl
