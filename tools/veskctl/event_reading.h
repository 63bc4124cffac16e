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
    bool looked = false;          // something shows that the library has looked at the log
    // Everything that the controller holds is below the mark, or it counts anew below it: what
    // comes will not be above the mark for a long time.
    bool numbersBeganAnew = false;
    std::optional<Problem> problem;  // of the last look
};

// The events above a number, as one fresh start of the library delivers them.
using EventLook = std::function<EventDelivery(std::uint32_t above)>;

enum class EventExtent { OneLook, Everything };

// Whether the controller still counts where it did costs a look of its own.
enum class NumberCheck { Never, IfMarkIsGone, IfNothingIsNew };

// What is above the mark. Begins one below it: the event of the mark itself shows that the library
// has looked, and that the controller still counts where it did. Without new events it looks
// whether the numbers began anew, if `check` says so.
EventReading readNewEvents(const EventLook& look, std::uint32_t mark, EventExtent extent,
                           NumberCheck check);

// Everything that the controller holds and the library reports.
EventReading readHeldEvents(const EventLook& look);
}  // namespace veskctl
