#include "veskctl/event.h"

#include "veskctl/device_text.h"
#include "veskctl/little_endian.h"

#include <fmt/format.h>

#include <array>
#include <ctime>

namespace veskctl {

namespace {

constexpr std::array<const char*, 3> kClasses = {"adapter", "virtual_disk", "physical_disk"};
constexpr std::array<const char*, 8> kSeverities = {"unknown", "other", "info",     "warning",
                                                    "minor",   "major", "critical", "fatal"};

template <std::size_t Count>
std::optional<std::string> nameOf(const std::array<const char*, Count>& names, unsigned code) {
    return code < Count ? std::optional<std::string>(names[code]) : std::nullopt;
}

}  // namespace

std::optional<std::string> Event::time() const {
    const auto seconds = static_cast<std::time_t>(timeRaw);
    std::tm utc = {};
    if (timeRaw == 0 || gmtime_r(&seconds, &utc) == nullptr) {
        return std::nullopt;
    }
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", utc.tm_year + 1900, utc.tm_mon + 1,
                       utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec);
}

std::optional<std::string> Event::className() const {
    return nameOf(kClasses, classCode);
}

std::optional<std::string> Event::severity() const {
    return nameOf(kSeverities, severityCode);
}

Event decodeEvent(const std::uint8_t* bytes) {
    constexpr std::size_t kDescriptionRoom = kEventRecordSize - CEVENT_DESCRIPTION;
    Event event;
    event.sequence = read32(bytes + CEVENT_SEQUENCE_NO);
    event.timeRaw = read32(bytes + CEVENT_TIME_STAMP);
    event.classCode = read16(bytes + CEVENT_CLASS);
    event.code = read16(bytes + CEVENT_CODE);
    event.severityCode = bytes[CEVENT_SEVERITY];
    event.deviceId = read16(bytes + CEVENT_DEVICE_ID);
    event.message =
        fieldText(reinterpret_cast<const char*>(bytes) + CEVENT_DESCRIPTION, kDescriptionRoom);
    return event;
}

}  // namespace veskctl
