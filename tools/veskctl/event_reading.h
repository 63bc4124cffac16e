// What the controller's log holds above a mark, out of as many looks as it takes: one look gives at
// most 64 events.
#pragma once

#include "veskctl/event.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace veskctl {

// Events that the controller had overwritten before they were read.
struct EventGap {
    std::uint32_t after = 0;
    std::uint32_t before = 0;

    std::uint32_t missing() const { return before - after - 1; }
};

struct EventReading {
    std::uint32_t mark = 0;       // where it began
    std::vector<Event> events;    // above the mark, oldest first
    std::optional<EventGap> gap;  // between the mark and the first event
    bool more = false;            // the last look was full
    bool looked = false;          // the library has looked at the log, and could read some of it
    bool incomplete = false;      // it could not read all of it: what is missing may be anything
    // Everything that the controller holds is below the mark, or it counts anew below it: what
    // comes will not be above the mark for a long time.
    bool numbersBeganAnew = false;
    // What came since then, oldest first, if old numbers are held beside it. The 64 lowest at most.
    std::vector<Event> belowMark;
    // Above the mark, with the controller's own codes: the alert mapping has no row for them.
    std::vector<Event> unlisted;
    std::optional<Problem> problem;  // of the last look
};

// The events above a number, as one fresh start of the library delivers them.
using EventLook = std::function<EventDelivery(std::uint32_t above)>;

enum class EventExtent { OneLook, Everything };

// Whether the controller still counts where it did costs a look of its own.
enum class NumberCheck { No, Yes };

// What is above the mark. Begins one below it: the event of the mark itself shows that nothing
// behind it was overwritten.
EventReading readNewEvents(const EventLook& look, std::uint32_t mark, EventExtent extent,
                           NumberCheck check);

// Everything that the controller holds and the library reports.
EventReading readHeldEvents(const EventLook& look);

// What makes the reading say less than it seems to: it failed, or saw nothing, or not all.
std::optional<Problem> doubtAbout(const EventReading& reading);

// The last number up to which none is missing behind the mark: above it there may be events that
// the library does not report.
std::uint32_t contiguousEnd(const EventReading& reading);

}  // namespace veskctl
