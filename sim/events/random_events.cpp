#include "sim/events/random_events.h"

#include "sim/scenario/noise.h"

#include <cstddef>
#include <string>

namespace vesksim {

namespace {

// Independent numbers for the different questions about one event.
enum class Draw : std::uint64_t { kInterval, kMapped, kKind, kDevice };

std::uint64_t draw(const RandomEvents& settings, std::uint64_t n, Draw what) {
    return mix(mix(settings.seed) ^ mix(n * 4 + static_cast<std::uint64_t>(what)));
}

std::uint16_t pickDevice(const Adapter& adapter, const std::string& eventClass,
                         std::uint64_t number) {
    if (eventClass == "PD" && !adapter.disks.empty()) {
        return adapter.disks[static_cast<std::size_t>(number % adapter.disks.size())].id;
    }
    if (eventClass == "VD" && !adapter.volumes.empty()) {
        return adapter.volumes[static_cast<std::size_t>(number % adapter.volumes.size())].id;
    }
    return 0;
}

}  // namespace

const std::vector<EventKind>& mappedKinds() {
    static const std::vector<EventKind> kinds = {
        {"NVMe", 1, "Controller started", "INFO"},
        {"NVMe", 2, "Firmware updated", "NOTIFY"},
        {"NVMe", 3, "Temperature too high", "WARNING"},
        {"ADAPTER", 10, "Link slowed down", "MINOR"},
        {"ADAPTER", 11, "Link restored", "INFO"},
        {"PD", 101, "Drive online", "INFO"},
        {"PD", 102, "Drive removed", "CRITICAL"},
        {"PD", 103, "Drive failed", "FATAL"},
        {"PD", 104, "Drive health alert", "MAJOR"},
        {"VD", 201, "Volume optimal", "INFO"},
        {"VD", 202, "Volume degraded", "MAJOR"},
        {"VD", 203, "Rebuild done", "INFO"},
        {"VD", 204, "Volume failed", "FATAL"},
    };
    return kinds;
}

const std::vector<EventKind>& unmappedKinds() {
    static const std::vector<EventKind> kinds = {
        {"NVMe", 7, "Log page read", "INFO"},     {"PD", 150, "Patrol read done", "INFO"},
        {"VD", 250, "Rebuild progress", "OTHER"}, {"PM", 301, "Port reset", "MINOR"},
        {"BSL", 401, "Boot loader ran", "INFO"},
    };
    return kinds;
}

Event randomEvent(const Adapter& adapter, const RandomEvents& settings, std::uint64_t n) {
    const bool mapped = draw(settings, n, Draw::kMapped) % 100 >= settings.unmappedPercent;
    const std::vector<EventKind>& kinds = mapped ? mappedKinds() : unmappedKinds();
    const EventKind& kind =
        kinds[static_cast<std::size_t>(draw(settings, n, Draw::kKind) % kinds.size())];
    Event event;
    event.deviceId = pickDevice(adapter, kind.eventClass, draw(settings, n, Draw::kDevice));
    event.eventId = kind.eventId;
    event.eventClass = kind.eventClass;
    event.description = kind.description;
    event.severity = kind.severity;
    return event;
}

double randomInterval(const RandomEvents& settings, std::uint64_t n) {
    // 32 bits are exact in a double, so the result is the same everywhere.
    const auto part = static_cast<double>(draw(settings, n, Draw::kInterval) >> 32U);
    return settings.meanIntervalSeconds * 2 * (part + 1) / 4294967296.0;
}

}  // namespace vesksim
