// Events: decoded, asked of the library, shown.
#pragma once

#include "veskctl/library.h"
#include "veskctl/log_reads.h"
#include "veskctl/problem.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace veskctl {

// By severity code. What is below "info" calls for nobody.
constexpr std::array<const char*, 8> kSeverityNames = {"unknown", "other", "info",     "warning",
                                                       "minor",   "major", "critical", "fatal"};

struct Event {
    std::uint32_t sequence = 0;
    std::uint32_t timeRaw = 0;  // seconds since 1970; 0: not reported
    unsigned classCode = 0;
    unsigned code = 0;  // the external one
    unsigned severityCode = 0;
    unsigned deviceId = 0;
    std::string message;

    // RFC 3339 in UTC: "2026-09-21T14:13:20Z".
    std::optional<std::string> time() const;
    std::optional<std::string> className() const;
    std::optional<std::string> severity() const;
    bool isGrave() const;   // major, critical, fatal
    bool isRanked() const;  // the severity has a place among the others: not unknown, not other
    bool callsForSomebody() const { return isGrave() || !isRanked(); }
};

// One delivery by the library.
struct EventDelivery {
    std::vector<Event> events;  // oldest first
    // There was no room for more: the library has dropped what was left, and finds it again at its
    // next start.
    bool full = false;
    std::optional<Problem> problem;  // the library did not get through
    LogReads reads;                  // by then
};

EventDelivery takeEvents(const LibraryFunctions& functions);

// The host, the number and the time together tell events of many hosts apart.
Json eventToJson(const Event& event, const std::string& host);
// With its line end.
std::string eventToTextLine(const Event& event, bool colour);

}  // namespace veskctl
