// What the types of a scenario do not say. Whether events fit, the event log itself is asked.
#include "sim/events/event_log.h"
#include "sim/scenario/scenario.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <set>

namespace vesksim {

namespace {

constexpr std::size_t kNameBytes = 31;      // 32 with the NUL
constexpr std::size_t kMaxMembers = 33;     // places in the volume record
constexpr std::uint8_t kMaxSpeedCode = 15;  // 4 bits of the link registers
constexpr std::uint8_t kMaxWidthCode = 63;  // 6 bits of the link registers
constexpr double kShortestInterval = 0.01;  // seconds; an hour of it is still made up at once
constexpr double kLongestInterval = 1e6;
constexpr double kLatestEvent = 1e9;
constexpr std::uint32_t kMaxInitialEvents = 100000;

class Checker {
public:
    explicit Checker(const std::string& source) : m_source(source) {}

    [[noreturn]] void fail(const std::string& place, const std::string& reason,
                           const std::string& advice) const {
        throw ScenarioError(m_source, place, reason, advice);
    }

    void name(const std::string& place, const std::string& text) const {
        const bool printable =
            std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c <= '~'; });
        if (text.empty() || text.size() > kNameBytes || !printable) {
            fail(place, fmt::format("\"{}\" cannot be a name", text),
                 fmt::format("Write 1 to {} ASCII characters without blanks", kNameBytes));
        }
    }

    void width(const std::string& place, const std::string& text, std::size_t bytes) const {
        if (text.size() > bytes) {
            fail(place, fmt::format("the text has {} bytes and the field {}", text.size(), bytes),
                 "Shorten it");
        }
    }

    template <typename Value>
    void unique(const std::string& place, std::set<Value>& seen, const Value& value) const {
        if (!seen.insert(value).second) {
            fail(place, "the same value stands in an entry before this one",
                 "Give each entry its own");
        }
    }

private:
    const std::string& m_source;
};

void checkDisks(const Checker& check, const std::string& place, const Adapter& adapter) {
    std::set<std::uint8_t> ids;
    for (std::size_t i = 0; i < adapter.disks.size(); ++i) {
        const Disk& disk = adapter.disks[i];
        const std::string here = fmt::format("{}/disks/{}", place, i);
        check.unique(here + "/id", ids, disk.id);
        check.width(here + "/model", disk.model, 40);
        check.width(here + "/serial", disk.serial, 20);
        check.width(here + "/firmware", disk.firmware, 8);
    }
}

void checkVolumes(const Checker& check, const std::string& place, const Adapter& adapter) {
    std::set<std::uint8_t> ids;
    for (std::size_t i = 0; i < adapter.volumes.size(); ++i) {
        const Volume& volume = adapter.volumes[i];
        const std::string here = fmt::format("{}/volumes/{}", place, i);
        check.unique(here + "/id", ids, volume.id);
        check.width(here + "/name", volume.name, 15);
        if (volume.members.size() > kMaxMembers) {
            check.fail(here + "/members",
                       fmt::format("{} members, and the record holds {}", volume.members.size(),
                                   kMaxMembers),
                       "Take some out");
        }
    }
}

void checkEvent(const Checker& check, const std::string& place, const EventEntry& entry) {
    constexpr std::uint32_t kLongest = std::numeric_limits<std::uint32_t>::max();
    const std::string line = eventLine(entry, kLongest, kLongest);
    if (line.find('\n') != std::string::npos) {
        check.fail(place, "a line feed inside a line", "Make two lines of it");
    }
    check.width(place, line, EventArea::kMaxLineBytes);
}

void checkRandomEvents(const Checker& check, const std::string& place, const RandomEvents& random) {
    const double mean = random.meanIntervalSeconds;
    if (mean != 0 && !(mean >= kShortestInterval && mean <= kLongestInterval)) {
        check.fail(place + "/mean_interval_seconds",
                   fmt::format("{} is not an interval for events", mean),
                   fmt::format("Write a number from {} to {}, or 0 for none", kShortestInterval,
                               kLongestInterval));
    }
    if (random.initialCount > kMaxInitialEvents) {
        check.fail(place + "/initial_count", fmt::format("{} are too many", random.initialCount),
                   fmt::format("Write at most {}", kMaxInitialEvents));
    }
    if (random.unmappedPercent > 100) {
        check.fail(place + "/unmapped_percent",
                   fmt::format("{} is no percentage", random.unmappedPercent),
                   "Write a number from 0 to 100");
    }
}

void checkEvents(const Checker& check, const std::string& place, const Adapter& adapter) {
    for (std::size_t i = 0; i < adapter.events.size(); ++i) {
        checkEvent(check, fmt::format("{}/events/{}", place, i), adapter.events[i]);
    }
    for (std::size_t i = 0; i < adapter.eventSchedule.size(); ++i) {
        const ScheduledEvent& scheduled = adapter.eventSchedule[i];
        const std::string here = fmt::format("{}/event_schedule/{}", place, i);
        checkEvent(check, here + "/event", scheduled.event);
        if (!(scheduled.at >= 0 && scheduled.at <= kLatestEvent)) {
            check.fail(here + "/at", fmt::format("{} is not a time of the log", scheduled.at),
                       fmt::format("Write seconds from 0 to {}", kLatestEvent));
        }
    }
    if (adapter.randomEvents) {
        checkRandomEvents(check, place + "/random_events", *adapter.randomEvents);
    }
    Adapter ownEventsOnly = adapter;
    ownEventsOnly.randomEvents.reset();
    if (EventLog(ownEventsOnly, 0).wrapped()) {
        check.fail(place + "/events",
                   fmt::format("the {} lines do not fit in the {} bytes of the event log",
                               adapter.events.size(), EventArea::kAreaBytes),
                   "Take some out");
    }
}

void checkPlace(const Checker& check, const std::string& place, const Adapter& adapter) {
    if (adapter.pciAddress.device > 31 || adapter.pciAddress.function > 7) {
        check.fail(place + "/pci_address", "no such device or function on a bus",
                   "Keep the device below 32 and the function below 8");
    }
    const PcieLink& link = adapter.link;
    if (std::max(link.speed, link.maxSpeed) > kMaxSpeedCode ||
        std::max(link.width, link.maxWidth) > kMaxWidthCode) {
        check.fail(place + "/pcie_link", "a value does not fit in the link registers",
                   "Keep speed codes below 16 and widths below 64");
    }
}

void checkFailures(const Checker& check, const std::string& place, const Adapter& adapter) {
    for (const auto& failure : adapter.failures) {
        if (failure.second.statusCodeType > 7) {
            check.fail(place + "/failures", "a status code type above 7",
                       "Write a number from 0 to 7");
        }
    }
}

}  // namespace

void checkScenario(const Scenario& scenario, const std::string& source) {
    const Checker check(source);
    if (scenario.adapters.size() > kMaxAdapters) {
        check.fail("/adapters",
                   fmt::format("{} adapters, and the driver lists {}", scenario.adapters.size(),
                               kMaxAdapters),
                   "Take some out");
    }
    std::set<std::string> names;
    std::set<std::string> signatures = {"nvmeMgmt"};  // taken by the adapter list itself
    std::set<std::uint32_t> addresses;
    for (std::size_t i = 0; i < scenario.adapters.size(); ++i) {
        const Adapter& adapter = scenario.adapters[i];
        const std::string place = fmt::format("/adapters/{}", i);
        check.name(place + "/name", adapter.name);
        check.unique(place + "/name", names, adapter.name);
        check.name(place + "/signature", adapter.signature);
        check.unique(place + "/signature", signatures, adapter.signature);
        checkPlace(check, place, adapter);
        const PciAddress& pci = adapter.pciAddress;
        check.unique(place + "/pci_address", addresses,
                     (std::uint32_t{pci.domain} << 16U) | (std::uint32_t{pci.bus} << 8U) |
                         (std::uint32_t{pci.device} << 3U) | pci.function);
        check.width(place + "/model", adapter.model, 40);
        check.width(place + "/serial", adapter.serial, 20);
        check.width(place + "/firmware_revision", adapter.firmwareRevision, 8);
        checkDisks(check, place, adapter);
        checkVolumes(check, place, adapter);
        checkEvents(check, place, adapter);
        checkFailures(check, place, adapter);
    }
}

}  // namespace vesksim
