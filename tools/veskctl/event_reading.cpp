#include "veskctl/event_reading.h"

#include "events/event_log_layout.h"

#include <algorithm>
#include <iterator>

namespace veskctl {

namespace {

constexpr int kMostLooks = 64;  // far more than the log has room for

const Event* findEvent(const std::vector<Event>& events, std::uint32_t sequence) {
    const auto found = std::find_if(events.begin(), events.end(), [sequence](const Event& event) {
        return event.sequence == sequence;
    });
    return found == events.end() ? nullptr : &*found;
}

// Notes what a look tells of the log as a whole.
void note(const EventDelivery& delivery, EventReading& reading) {
    if (delivery.problem) {
        reading.problem = delivery.problem;
    }
    const LogReads& reads = delivery.reads;
    const bool seen = reads.finished && reads.read > 0;
    reading.looked = reading.looked || seen || !delivery.events.empty();
    reading.incomplete = reading.incomplete || (reading.looked && reads.failed > 0);
}

void goOn(const EventLook& look, EventReading& reading, bool full) {
    for (int looks = 1; full && looks < kMostLooks; ++looks) {
        EventDelivery next = look(reading.events.back().sequence);
        full = next.full && !next.events.empty();
        note(next, reading);
        reading.events.insert(reading.events.end(), next.events.begin(), next.events.end());
    }
    reading.more = full;
}

// Lower numbers that are younger than the event, or so far below it that a log that counts on could
// not hold both.
std::vector<Event> countedAnew(const std::vector<Event>& lowest, const Event& old) {
    // No line of an event is shorter than 32 bytes.
    constexpr std::uint32_t kMostHeld = kEventAreaSize / 32;
    std::vector<Event> anew;
    std::copy_if(lowest.begin(), lowest.end(), std::back_inserter(anew), [&](const Event& event) {
        const bool younger = old.timeRaw != 0 && event.timeRaw > old.timeRaw;
        return event.sequence < old.sequence &&
               (younger || event.sequence + kMostHeld < old.sequence);
    });
    return anew;
}

void checkNumbers(const EventLook& look, const std::optional<Event>& atMark,
                  EventReading& reading) {
    const EventDelivery lowest = look(0);
    note(lowest, reading);
    if (reading.incomplete) {
        return;  // what lies between may only be unread
    }
    if (atMark || !reading.events.empty()) {
        const Event& old = atMark ? *atMark : reading.events.front();
        reading.belowMark = countedAnew(lowest.events, old);
        reading.belowMark.erase(
            std::remove_if(reading.belowMark.begin(), reading.belowMark.end(),
                           [&](const Event& event) { return event.sequence >= reading.mark; }),
            reading.belowMark.end());
        reading.numbersBeganAnew = !reading.belowMark.empty();
    } else if (!lowest.events.empty()) {
        // Asked again: the first look may have come before the library's own.
        reading.numbersBeganAnew = look(reading.mark - 1).events.empty();
    }
}

}  // namespace

EventReading readNewEvents(const EventLook& look, std::uint32_t mark, EventExtent extent,
                           NumberCheck check) {
    EventReading reading;
    reading.mark = mark;
    EventDelivery first = look(mark == 0 ? 0 : mark - 1);
    note(first, reading);
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
    if (check == NumberCheck::Yes && mark > 0 && !reading.problem && !reading.incomplete) {
        checkNumbers(look, atMark, reading);
    }
    // The oldest go first: while the mark's own event is there, none behind it was overwritten.
    if (mark > 0 && !atMark && !reading.incomplete && !reading.events.empty() &&
        reading.events.front().sequence > mark + 1) {
        reading.gap = EventGap{mark, reading.events.front().sequence};
    }
    return reading;
}

EventReading readHeldEvents(const EventLook& look) {
    EventReading reading;
    const EventDelivery first = look(0);
    note(first, reading);
    reading.events = first.events;
    goOn(look, reading, first.full);
    return reading;
}

std::optional<Problem> doubtAbout(const EventReading& reading) {
    if (reading.problem) {
        return reading.problem;
    }
    if (!reading.looked) {
        return Problem{ProblemKind::EventsNotSeen,
                       "the controller's event log could not be read, or not in time: nothing is "
                       "known of its events"};
    }
    if (reading.incomplete) {
        return Problem{ProblemKind::EventsIncomplete,
                       "the controller's event log could not be read in full: what is missing may "
                       "be anything"};
    }
    return std::nullopt;
}

std::uint32_t contiguousEnd(const EventReading& reading) {
    std::uint32_t end = reading.mark;
    for (const Event& event : reading.events) {
        if (event.sequence != end + 1) {
            break;
        }
        end = event.sequence;
    }
    return end;
}

}  // namespace veskctl
