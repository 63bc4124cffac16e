#include "veskctl/event_view.h"

#include "veskctl/device_text.h"
#include "veskctl/json_values.h"
#include "veskctl/table.h"

#include <fmt/format.h>

namespace veskctl {

namespace {

using Json = nlohmann::ordered_json;

// "info" and what is below it call for nobody.
constexpr unsigned kInfo = 2;

Tone toneOf(const Event& event) {
    if (!event.severity()) {
        return Tone::Faint;
    }
    return event.severityCode > kInfo ? Tone::Warning : Tone::Plain;
}

}  // namespace

Json eventToJson(const Event& event) {
    Json json;
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

std::string eventToJsonLine(const Event& event) {
    return eventToJson(event).dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string eventToTextLine(const Event& event, bool colour) {
    const std::string severity = fmt::format("{:<8}", event.severity().value_or("-"));
    const std::string className =
        event.className().value_or(fmt::format("class {}", event.classCode));
    const std::string message = deviceText(event.message, Padding::Trim).value_or("-");
    return fmt::format("{:<20}  {}  {:<13}  device {:<3}  code {:<5}  {}  (#{})\n",
                       event.time().value_or("time not reported"),
                       toned(severity, toneOf(event), colour), className, event.deviceId,
                       event.code, printable(message), event.sequence);
}

}  // namespace veskctl
