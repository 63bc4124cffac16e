// Made-up events of a controller. The n-th one depends on nothing but the seed, n and the devices.
#pragma once

#include "sim/scenario/scenario.h"

#include <cstdint>
#include <vector>

namespace vesksim {

Event randomEvent(const Adapter& adapter, const RandomEvents& settings, std::uint64_t n);

// Seconds between the n-th event and the one before: anything up to twice the mean.
double randomInterval(const RandomEvents& settings, std::uint64_t n);

// A kind of event: what of it repeats.
struct EventKind {
    const char* eventClass;
    std::uint16_t eventId;
    const char* description;
    const char* severity;
};

// Kinds that the usual mapping file reports, and kinds that it leaves out.
const std::vector<EventKind>& mappedKinds();
const std::vector<EventKind>& unmappedKinds();

}  // namespace vesksim
