// One event, decoded from the library's 64-byte record. Read by offsets: the class behind the
// record lives in the library, which this program does not link.
#pragma once

#include "VeskNvme.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace veskctl {

constexpr std::size_t kEventRecordSize = 64;
static_assert(sizeof(CEvent) == kEventRecordSize, "the library fills records of this size");

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
};

// bytes: kEventRecordSize of them.
Event decodeEvent(const std::uint8_t* bytes);

}  // namespace veskctl
