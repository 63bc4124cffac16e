// One delivery of events by the library.
#pragma once

#include "veskctl/event.h"
#include "veskctl/library.h"
#include "veskctl/problem.h"

#include <optional>
#include <vector>

namespace veskctl {

struct EventDelivery {
    std::vector<Event> events;  // oldest first
    // There was no room for more: the library has dropped what was left, and finds it again when it
    // looks at the controller's log the next time.
    bool full = false;
    std::optional<Problem> problem;  // the library will deliver the same events again
};

EventDelivery takeEvents(const LibraryFunctions& functions);

}  // namespace veskctl
