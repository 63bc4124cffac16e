#include "veskctl/volume_view.h"

#include "veskctl/device_text.h"
#include "veskctl/json_values.h"
#include "veskctl/record_value.h"

#include <fmt/format.h>

#include <cstdint>
#include <optional>
#include <string>

namespace veskctl {

namespace {

using Json = nlohmann::ordered_json;

std::optional<std::string> nameOf(const Volume& volume) {
    return volume.info ? deviceText(fieldText(volume.info->name), Padding::Trim) : std::nullopt;
}

Json raidLevelOf(const Volume& volume) {
    const char* level = volume.info ? raidLevel(volume.info->raidMode) : nullptr;
    return level != nullptr ? Json(level) : Json();
}

// What the library fills with the same values for every volume. The two cache modes differ.
Json constantsToJson(const Volume& volume) {
    const auto& config = volume.config;
    Json json;
    json["info_cache_mode"] = valueOrNull(valueOf<unsigned>(volume.info, &VD_Info::cacheMode));
    json["config_cache_mode"] = valueOrNull(valueOf<unsigned>(config, &VD_Config::cacheMode));
    json["hypper_water_mark"] = valueOrNull(valueOf<unsigned>(config, &VD_Config::hypperWaterMark));
    json["auto_rebuild_on"] = valueOrNull(valueOf<unsigned>(config, &VD_Config::autoRebuildOn));
    json["hyper_rebuild_mode"] =
        valueOrNull(valueOf<unsigned>(config, &VD_Config::hyperRebuildMode));
    return json;
}

std::string raidText(const VD_Info& info) {
    switch (info.raidMode) {
    case 0:
        return "RAID 0";
    case 1:
        return "RAID 1";
    default:
        return fmt::format("unknown (mode {})", info.raidMode);
    }
}

std::string capacityText(const VD_Info& info) {
    const std::optional<std::uint64_t> bytes = capacityBytes(info);
    return bytes ? fmt::format("{} bytes", *bytes) : "unknown";
}

}  // namespace

Json volumeToJson(const Volume& volume) {
    const auto& info = volume.info;
    Json json;
    json["id"] = volume.id;
    json["present"] = valueOrNull(presentOrUnknown(volume.presence));
    json["vd_id"] = valueOrNull(valueOf<unsigned>(info, &VD_Info::id));
    json["name"] = valueOrNull(nameOf(volume));
    json["status_code"] = valueOrNull(valueOf<unsigned>(info, &VD_Info::status));
    json["raid_level"] = raidLevelOf(volume);
    json["raid_mode_code"] = valueOrNull(valueOf<unsigned>(info, &VD_Info::raidMode));
    json["member_count"] = valueOrNull(valueOf<unsigned>(info, &VD_Info::hdCount));
    putBigNumber(json, "size_lba", valueOf<std::uint64_t>(info, &VD_Info::size));
    json["block_size_bytes"] = valueOrNull(valueOf<unsigned>(info, &VD_Info::blockSize));
    putBigNumber(json, "capacity_bytes", info ? capacityBytes(*info) : std::nullopt);
    json["stripe_block_size"] = valueOrNull(valueOf<unsigned>(info, &VD_Info::stripeBlockSize));
    json["raw"] = constantsToJson(volume);
    return json;
}

void addVolumeSection(const Volume& volume, Table& table) {
    table.addSection(fmt::format("Volume {}", volume.id));
    if (!volume.info) {
        table.addLine("State", volume.presence == Presence::Absent ? "absent" : "did not answer",
                      Tone::Warning);
        return;
    }
    const VD_Info& info = *volume.info;
    const std::optional<std::string> name = nameOf(volume);
    table.addLine("Name", name ? printable(*name) : "none", name ? Tone::Plain : Tone::Faint);
    table.addLine("RAID level", raidText(info));
    table.addLine("Members", fmt::format("{}", info.hdCount));
    table.addLine("Status", fmt::format("0x{:02x}", info.status));
    table.addLine("Capacity", capacityText(info));
    table.addLine("Size", fmt::format("{} blocks", info.size));
    table.addLine("Block size", fmt::format("{} bytes", info.blockSize));
    table.addLine("Stripe block size", fmt::format("{}", info.stripeBlockSize));
    table.addLine("Controller's ID", fmt::format("{}", info.id));
}

}  // namespace veskctl
