#include "scenario_events_json.h"

namespace vesksim {

namespace {

constexpr double kMaxDecimal = 1e9;

void readOptional(ObjectReader& reader, const std::string& key,
                  std::optional<std::uint32_t>& target) {
    if (const auto place = reader.find(key)) {
        target = static_cast<std::uint32_t>(place->wholeNumber(0, 0xFFFFFFFF));
    }
}

// A text or {"hex": "..."} is a line as it stands; any other object tells an event.
EventEntry readEvent(const JsonPlace& place) {
    if (!place.value.is_object() || place.value.contains("hex")) {
        return place.bytes();
    }
    Event event;
    ObjectReader reader(place);
    readOptional(reader, "sequence", event.sequence);
    readOptional(reader, "time", event.time);
    reader.number("device_id", event.deviceId);
    event.eventId = static_cast<std::uint16_t>(reader.require("event_id").wholeNumber(0, 0xFFFF));
    reader.text("class", event.eventClass);
    event.description = reader.require("description").text();
    reader.text("severity", event.severity);
    reader.finish();
    return event;
}

ScheduledEvent readScheduled(const JsonPlace& place) {
    ScheduledEvent scheduled;
    ObjectReader reader(place);
    scheduled.at = reader.require("at").decimal(0, kMaxDecimal);
    scheduled.event = readEvent(reader.require("event"));
    reader.finish();
    return scheduled;
}

RandomEvents readRandom(const JsonPlace& place) {
    RandomEvents random;
    ObjectReader reader(place);
    reader.number("seed", random.seed);
    if (const auto mean = reader.find("mean_interval_seconds")) {
        random.meanIntervalSeconds = mean->decimal(0, kMaxDecimal);
    }
    reader.number("initial_count", random.initialCount);
    reader.number("unmapped_percent", random.unmappedPercent);
    reader.finish();
    return random;
}

}  // namespace

void readEventSettings(ObjectReader& reader, Adapter& adapter) {
    reader.list("events", adapter.events, readEvent);
    reader.list("event_schedule", adapter.eventSchedule, readScheduled);
    if (const auto random = reader.find("random_events")) {
        adapter.randomEvents = readRandom(*random);
    }
    reader.number("event_start_time", adapter.eventStartTime);
    reader.flag("cut_event_lines", adapter.cutEventLines);
}

}  // namespace vesksim
