#include "veskctl/disk_view.h"

#include "veskctl/json_values.h"
#include "veskctl/record_value.h"

#include <fmt/format.h>

#include <cstdint>
#include <optional>
#include <string>

namespace veskctl {

namespace {

using Json = nlohmann::ordered_json;

template <std::size_t Room>
std::optional<std::string> textOf(const std::optional<PD_Info>& info, char (PD_Info::*field)[Room],
                                  Padding padding) {
    return info ? deviceText(fieldText((*info).*field), padding) : std::nullopt;
}

std::optional<bool> onlineOf(const Disk& disk) {
    return disk.config ? std::optional<bool>(disk.config->online != 0) : std::nullopt;
}

// Two records carry it.
std::optional<std::uint64_t> hdIdOf(const Disk& disk) {
    return disk.config ? valueOf<std::uint64_t>(disk.config, &PD_Config::hdId)
                       : valueOf<std::uint64_t>(disk.raidStatus, &PD_RaidStatus::hdId);
}

// What the library fills with the same values for every disk.
Json constantsToJson(const Disk& disk) {
    Json json;
    json["hd_type"] = valueOrNull(valueOf<unsigned>(disk.info, &PD_Info::hdType));
    json["hd_ssd_type"] = valueOrNull(valueOf<unsigned>(disk.info, &PD_Info::hdSsdType));
    json["feature_support"] = valueOrNull(valueOf<unsigned>(disk.info, &PD_Info::featureSupport));
    json["write_cache_on"] = valueOrNull(valueOf<unsigned>(disk.config, &PD_Config::writeCacheOn));
    json["smart_on"] = valueOrNull(valueOf<unsigned>(disk.config, &PD_Config::smartOn));
    json["drive_speed"] = valueOrNull(valueOf<unsigned>(disk.config, &PD_Config::driveSpeed));
    json["crypto"] = valueOrNull(valueOf<unsigned>(disk.config, &PD_Config::crypto));
    json["aes_percentage"] = valueOrNull(valueOf<unsigned>(disk.config, &PD_Config::aesPercentage));
    return json;
}

void addText(const char* name, const std::optional<std::string>& text, Table& table) {
    table.addLine(name, text ? printable(*text) : "not reported", text ? Tone::Plain : Tone::Faint);
}

void addNumber(const char* name, const std::optional<std::uint64_t>& number, const char* remark,
               Table& table) {
    if (number) {
        table.addLine(name, fmt::format("{}{}", *number, remark));
    } else {
        table.addLine(name, "unknown", Tone::Faint);
    }
}

void addOnline(const Disk& disk, Table& table) {
    const std::optional<bool> online = onlineOf(disk);
    if (online) {
        // No alarm: a disk that belongs to no volume is not online either.
        table.addLine("State", *online ? "online" : "not online");
    } else {
        table.addLine("State", "unknown", Tone::Faint);
    }
}

}  // namespace

void putDiskIdentity(Json& json, const Disk& disk, Padding padding) {
    json["slot"] = disk.slot;
    json["present"] = valueOrNull(presentOrUnknown(disk.presence));
    json["model_name"] = valueOrNull(textOf(disk.info, &PD_Info::modelNumber, padding));
    json["serial_number"] = valueOrNull(textOf(disk.info, &PD_Info::serialNumber, padding));
}

bool addDiskIdentity(const Disk& disk, Padding padding, Table& table) {
    table.addSection(fmt::format("Disk {}", disk.slot));
    if (disk.presence == Presence::Absent) {
        table.addLine("State", "absent", Tone::Warning);
        return false;
    }
    if (disk.presence == Presence::Unknown) {
        table.addLine("State", "did not answer", Tone::Warning);
        return false;
    }
    addText("Model", textOf(disk.info, &PD_Info::modelNumber, padding), table);
    addText("Serial number", textOf(disk.info, &PD_Info::serialNumber, padding), table);
    return true;
}

Json diskToJson(const Disk& disk, Padding padding) {
    using Number = std::uint64_t;
    Json json;
    putDiskIdentity(json, disk, padding);
    json["firmware_version"] = valueOrNull(textOf(disk.info, &PD_Info::firmwareVersion, padding));
    json["device_id"] = valueOrNull(valueOf<unsigned>(disk.info, &PD_Info::deviceId));
    json["hd_id"] = valueOrNull(hdIdOf(disk));
    json["online"] = valueOrNull(onlineOf(disk));
    json["raid_status_code"] =
        valueOrNull(valueOf<unsigned>(disk.raidStatus, &PD_RaidStatus::raidStatus));
    putBigNumber(json, "capacity_raw", valueOf<Number>(disk.info, &PD_Info::size));
    // The record does not say what its unit is, so there is nothing to count bytes from.
    json["capacity_bytes"] = nullptr;
    json["block_size_bytes"] = valueOrNull(valueOf<unsigned>(disk.info, &PD_Info::blockSize));
    putBigNumber(json, "free_space_raw", valueOf<Number>(disk.freeSpace, &PD_FreeSpaceInfo::size));
    json["raw"] = constantsToJson(disk);
    return json;
}

void addDiskSection(const Disk& disk, Padding padding, Table& table) {
    using Number = std::uint64_t;
    if (!addDiskIdentity(disk, padding, table)) {
        return;
    }
    addText("Firmware version", textOf(disk.info, &PD_Info::firmwareVersion, padding), table);
    addOnline(disk, table);
    const std::optional<unsigned> raidStatus =
        valueOf<unsigned>(disk.raidStatus, &PD_RaidStatus::raidStatus);
    table.addLine("RAID status", raidStatus ? fmt::format("0x{:02x}", *raidStatus) : "unknown",
                  raidStatus ? Tone::Plain : Tone::Faint);
    addNumber("Capacity", valueOf<Number>(disk.info, &PD_Info::size), " (unit not stated)", table);
    addNumber("Free space", valueOf<Number>(disk.freeSpace, &PD_FreeSpaceInfo::size),
              " (in the same unit)", table);
    addNumber("Block size", valueOf<Number>(disk.info, &PD_Info::blockSize), " bytes", table);
    addNumber("Device ID", valueOf<Number>(disk.info, &PD_Info::deviceId), "", table);
    addNumber("HD ID", hdIdOf(disk), "", table);
}

}  // namespace veskctl
