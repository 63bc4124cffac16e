#include "veskctl/pcie_link_view.h"

#include "veskctl/json_values.h"

#include <fmt/format.h>

#include <optional>
#include <string>

namespace veskctl {

namespace {

void addSpeed(const std::string& name, const std::optional<double>& speed, unsigned code,
              Table& table) {
    if (speed) {
        table.addLine(name, fmt::format("{} GT/s", *speed));
    } else if (code == 0) {
        table.addLine(name, "not reported", Tone::Faint);
    } else {
        table.addLine(name, fmt::format("unknown (code {})", code), Tone::Faint);
    }
}

void addWidth(const std::string& name, const std::optional<unsigned>& width, Table& table) {
    if (!width) {
        table.addLine(name, "not reported (16 lanes read so too)", Tone::Faint);
    } else {
        table.addLine(name, fmt::format("{} {}", *width, *width == 1 ? "lane" : "lanes"));
    }
}

void addDowngraded(const std::optional<bool>& downgraded, Table& table) {
    const std::string name = "Below maximum";
    if (!downgraded) {
        table.addLine(name, "unknown", Tone::Faint);
    } else if (*downgraded) {
        // No alarm: a link may be limited by its slot, or idle.
        table.addLine(name, "yes (the slot may limit it, or it is idle)");
    } else {
        table.addLine(name, "no");
    }
}

}  // namespace

nlohmann::ordered_json pcieLinkToJson(const PcieLink& link) {
    nlohmann::ordered_json json;
    json["current_speed_gts"] = valueOrNull(link.currentSpeedGts());
    json["max_speed_gts"] = valueOrNull(link.maxSpeedGts());
    json["current_width"] = valueOrNull(link.currentWidth());
    json["max_width"] = valueOrNull(link.maxWidth());
    json["downgraded"] = valueOrNull(link.downgraded());
    json["current_speed_code"] = link.currentSpeedCode;
    json["max_speed_code"] = link.maxSpeedCode;
    json["current_width_code"] = link.currentWidthCode;
    json["max_width_code"] = link.maxWidthCode;
    return json;
}

void addPcieLinkLines(const PcieLink& link, Table& table) {
    addSpeed("Current speed", link.currentSpeedGts(), link.currentSpeedCode, table);
    addSpeed("Maximum speed", link.maxSpeedGts(), link.maxSpeedCode, table);
    addWidth("Current width", link.currentWidth(), table);
    addWidth("Maximum width", link.maxWidth(), table);
    addDowngraded(link.downgraded(), table);
}

}  // namespace veskctl
