#include "veskctl/event.h"

#include "veskctl/format.h"
#include "veskctl/library_message.h"
#include "veskctl/printable.h"
#include "veskctl/record.h"
#include "veskctl/report.h"

#include "VeskNvme.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace veskctl {

namespace {

constexpr std::array<const char*, 3> kClasses = {"adapter", "virtual_disk", "physical_disk"};

template <std::size_t Count>
std::optional<std::string> nameOf(const std::array<const char*, Count>& names, unsigned code) {
    return code < Count ? std::optional<std::string>(names[code]) : std::nullopt;
}

}  // namespace

std::optional<std::string> Event::time() const {
    return timeRaw == 0 ? std::nullopt : timeText(static_cast<std::time_t>(timeRaw));
}

std::optional<std::string> Event::className() const {
    return nameOf(kClasses, classCode);
}

std::optional<std::string> Event::severity() const {
    return nameOf(kSeverityNames, severityCode);
}

bool Event::isGrave() const {
    constexpr unsigned kMajor = 5;
    return severity() && severityCode >= kMajor;
}

bool Event::isRanked() const {
    constexpr unsigned kInfo = 2;
    return severity() && severityCode >= kInfo;
}

// Asking the library.

namespace {

constexpr std::size_t kEventRecordSize = 64;
static_assert(sizeof(CEvent) == kEventRecordSize, "the library fills records of this size");

// Read by offsets: the class behind the record lives in the library, which this program does not
// link.
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

}  // namespace

EventDelivery takeEvents(const LibraryFunctions& functions) {
    alignas(CEvent) std::array<std::uint8_t, kMostEvents* kEventRecordSize> room = {};
    UCHAR_ count = 0;
    const UCHAR_ result = functions.getEvents(0, 0, &count, reinterpret_cast<CEvent*>(room.data()));

    EventDelivery delivery;
    const std::size_t delivered = std::min<std::size_t>(count, kMostEvents);
    for (std::size_t index = 0; index < delivered; ++index) {
        delivery.events.push_back(decodeEvent(room.data() + index * kEventRecordSize));
    }
    delivery.full = delivered == kMostEvents;
    if (result != ERR_NONE) {
        delivery.problem = libraryCallFailed("ZT_EVT_GetEvent", result);
        delivery.problem->message +=
            "; run 'veskctl doctor', which checks the alert mapping that each delivery reads";
    }
    return delivery;
}

// Showing.

namespace {

// "info" and what is below it call for nobody.
constexpr unsigned kInfo = 2;

Tone toneOf(const Event& event) {
    if (!event.severity()) {
        return Tone::Faint;
    }
    return event.severityCode > kInfo ? Tone::Warning : Tone::Plain;
}

}  // namespace

Json eventToJson(const Event& event, const std::string& host) {
    Json json;
    json["host"] = host;
    json["sequence"] = event.sequence;
    json["time"] = valueOrNull(event.time());
    json["time_raw"] = event.timeRaw;
    json["class"] = valueOrNull(event.className());
    json["class_code"] = event.classCode;
    json["code"] = event.code;
    json["severity"] = valueOrNull(event.severity());
    json["severity_code"] = event.severityCode;
    json["device_id"] = event.deviceId;
    json["message"] = valueOrNull(deviceText(event.message, Padding::Trim));
    return json;
}

std::string eventToTextLine(const Event& event, bool colour) {
    const std::string severity = format("{:<8}", event.severity().value_or("-"));
    const std::string className = event.className().value_or(format("class {}", event.classCode));
    const std::string message = deviceText(event.message, Padding::Trim).value_or("-");
    return format("{:<20}  {}  {:<13}  device {:<3}  code {:<5}  {}  (#{})\n",
                  event.time().value_or("time not reported"),
                  toned(severity, toneOf(event), colour), className, event.deviceId, event.code,
                  printable(message), event.sequence);
}

}  // namespace veskctl
