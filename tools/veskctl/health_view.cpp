#include "veskctl/health_view.h"

#include "veskctl/device_text.h"
#include "veskctl/disk_view.h"
#include "veskctl/json_values.h"
#include "veskctl/record_value.h"

#include <fmt/format.h>

#include <optional>
#include <string>

namespace veskctl {

namespace {

using Json = nlohmann::ordered_json;

// Rows without a name are not in use.
Json attributesToJson(const SMART_INFO_ARRAY& record) {
    Json json = Json::array();
    for (const SMART_ATTRIBUTE& attribute : record.attributes) {
        const std::string name = fieldText(attribute.name);
        if (!name.empty()) {
            json.push_back({{"id", attribute.id},
                            {"name", name},
                            {"value_raw", attribute.currentValue},
                            {"threshold_raw", attribute.thresholdValue}});
        }
    }
    return json;
}

void addPercent(const char* name, const std::optional<unsigned>& percent, bool alarming,
                const char* remark, Table& table) {
    if (percent) {
        table.addLine(name, fmt::format("{} %{}", *percent, remark),
                      alarming ? Tone::Warning : Tone::Plain);
    } else {
        table.addLine(name, "unknown", Tone::Faint);
    }
}

void addStatus(const Health& health, Table& table) {
    const std::string status = health.status();
    if (status == "alert") {
        table.addLine("Health status", "alert", Tone::Warning);
    } else if (status == "ok") {
        table.addLine("Health status", "ok");
    } else if (health.record) {
        table.addLine("Health status", fmt::format("unknown (code {})", health.record->smartStatus),
                      Tone::Faint);
    } else {
        table.addLine("Health status", "unknown", Tone::Faint);
    }
}

}  // namespace

Json healthToJson(const Health& health) {
    const std::optional<Wear> wear = health.wear();
    Json json;
    putDiskIdentity(json, health.disk, Padding::Trim);
    json["smart_status"] = health.status();
    json["smart_status_code"] = nullptr;
    json["percentage_used"] = valueOrNull(valueOf<unsigned>(wear, &Wear::percentageUsed));
    json["available_spare"] = valueOrNull(valueOf<unsigned>(wear, &Wear::availableSpare));
    json["available_spare_threshold"] =
        valueOrNull(valueOf<unsigned>(wear, &Wear::availableSpareThreshold));
    json["attributes"] = Json::array();
    if (health.record) {
        json["smart_status_code"] = health.record->smartStatus;
        json["attributes"] = attributesToJson(*health.record);
    }
    return json;
}

void addHealthSection(const Health& health, Table& table) {
    if (!addDiskIdentity(health.disk, Padding::Trim, table)) {
        return;
    }
    const std::optional<Wear> wear = health.wear();
    addStatus(health, table);
    addPercent("Percentage used", valueOf<unsigned>(wear, &Wear::percentageUsed),
               wear && wear->spent(), " (100 is the rated life)", table);
    addPercent("Available spare", valueOf<unsigned>(wear, &Wear::availableSpare),
               wear && wear->spareLow(), "", table);
    addPercent("Spare threshold", valueOf<unsigned>(wear, &Wear::availableSpareThreshold), false,
               "", table);
}

}  // namespace veskctl
