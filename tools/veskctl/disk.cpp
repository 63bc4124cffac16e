#include "veskctl/disk.h"

#include "veskctl/command.h"
#include "veskctl/format.h"
#include "veskctl/report.h"
#include "veskctl/session.h"
#include "veskctl/sizes.h"
#include "veskctl/verdict.h"

#include <cstdint>
#include <memory>
#include <set>

namespace veskctl {

namespace {

template <std::size_t Room>
std::optional<std::string> textOf(const std::optional<PD_Info>& info, char (PD_Info::*field)[Room],
                                  Padding padding) {
    return info ? deviceText(fieldText((*info).*field), padding) : std::nullopt;
}

}  // namespace

std::optional<std::string> Disk::modelName(Padding padding) const {
    return textOf(info, &PD_Info::modelNumber, padding);
}

std::optional<std::string> Disk::serialNumber(Padding padding) const {
    return textOf(info, &PD_Info::serialNumber, padding);
}

std::optional<std::string> Disk::firmwareVersion(Padding padding) const {
    return textOf(info, &PD_Info::firmwareVersion, padding);
}

std::optional<bool> Disk::online() const {
    return config ? std::optional<bool>(config->online != 0) : std::nullopt;
}

// Two records carry it.
std::optional<unsigned> Disk::hdId() const {
    return config ? valueOf<unsigned>(config, &PD_Config::hdId)
                  : valueOf<unsigned>(raidStatus, &PD_RaidStatus::hdId);
}

std::optional<unsigned> Disk::raidStatusCode() const {
    return valueOf<unsigned>(raidStatus, &PD_RaidStatus::raidStatus);
}

std::optional<bool> Disk::healthAlert() const {
    constexpr unsigned kHealthBit = 1U << 5U;
    const std::optional<unsigned> code = raidStatusCode();
    return code ? std::optional<bool>((*code & kHealthBit) != 0) : std::nullopt;
}

const char* Disk::state() const {
    if (presence != Presence::Present) {
        return presence == Presence::Absent ? "absent" : "not_responding";
    }
    const std::optional<bool> isOnline = online();
    return !isOnline ? "unknown" : *isOnline ? "online" : "not_online";
}

std::string Disk::stateText() const {
    if (presence != Presence::Present) {
        return presence == Presence::Absent ? "absent" : "did not answer";
    }
    const std::optional<bool> isOnline = online();
    std::string text = !isOnline ? "unknown" : *isOnline ? "online" : "not online";
    if (healthAlert().value_or(false)) {
        text += ", health alert";
    }
    const std::optional<unsigned> code = raidStatusCode();
    return code ? format("{} (0x{:02x})", text, *code) : text;
}

// Asking the library. A device command that failed reads as a record of zeros.

namespace {

// No disk that answered has neither texts nor a size.
bool isBlank(const PD_Info& info) {
    return info.modelNumber[0] == '\0' && info.serialNumber[0] == '\0' &&
           info.firmwareVersion[0] == '\0' && info.size == 0 && info.blockSize == 0 &&
           info.deviceId == 0;
}

bool isBlank(const PD_Config& config) {
    return config.hdId == 0 && config.online == 0;
}

bool isBlank(const PD_RaidStatus& status) {
    return status.hdId == 0 && status.raidStatus == 0;
}

bool isBlank(const PD_FreeSpaceInfo& space) {
    return space.deviceId == 0 && space.blockSize == 0 && space.size == 0;
}

bool agree(const PD_Config& config, const PD_RaidStatus& status) {
    return config.hdId == status.hdId && config.online == (status.raidStatus & 1U);
}

bool agree(const PD_Info& info, const PD_FreeSpaceInfo& space) {
    return info.deviceId == space.deviceId && (info.blockSize & 0xFFFFU) == space.blockSize;
}

constexpr const char* kConfig = "its configuration";
constexpr const char* kRaidStatus = "its raid status";
constexpr const char* kFreeSpace = "its free space";

std::string nameOf(unsigned slot) {
    return format("disk {}", slot);
}

Problem silence(unsigned slot, const char* about = "") {
    return didNotAnswer(ProblemKind::DiskNotResponding, nameOf(slot), about);
}

// A part of a disk that is known to be there.
template <class Record>
std::optional<Record> readPart(RecordFunction function, const char* functionName, unsigned slot,
                               const char* about, std::vector<Problem>& problems) {
    const SingleAnswer<Record> answer =
        requestSingle<Record>(function, functionName, slot, nameOf(slot), problems);
    if (!answer.failed && !answer.record) {
        problems.push_back(silence(slot, about));
    }
    return answer.record;
}

// Takes out records of zeros that contradict the others.
void dropContradictions(Disk& disk, std::vector<Problem>& problems) {
    if (disk.config && disk.raidStatus && !agree(*disk.config, *disk.raidStatus)) {
        if (isBlank(*disk.config)) {
            disk.config.reset();
            problems.push_back(silence(disk.slot, kConfig));
        } else if (isBlank(*disk.raidStatus)) {
            disk.raidStatus.reset();
            problems.push_back(silence(disk.slot, kRaidStatus));
        }
    }
    if (disk.info && disk.freeSpace && !agree(*disk.info, *disk.freeSpace) &&
        isBlank(*disk.freeSpace)) {
        disk.freeSpace.reset();
        problems.push_back(silence(disk.slot, kFreeSpace));
    }
}

void readParts(const LibraryFunctions& functions, Disk& disk, std::vector<Problem>& problems) {
    disk.config =
        readPart<PD_Config>(functions.diskConfig, "ZT_PD_GetConfig", disk.slot, kConfig, problems);
    disk.raidStatus = readPart<PD_RaidStatus>(functions.diskRaidStatus, "ZT_PD_GetHDRaidStatus",
                                              disk.slot, kRaidStatus, problems);
    disk.freeSpace = readPart<PD_FreeSpaceInfo>(functions.diskFreeSpace, "ZT_PD_GetFreeSpaceInfo",
                                                disk.slot, kFreeSpace, problems);
    dropContradictions(disk, problems);
}

}  // namespace

Disk readDiskInfo(const LibraryFunctions& functions, unsigned slot,
                  std::vector<Problem>& problems) {
    Disk disk;
    disk.slot = slot;
    const SingleAnswer<PD_Info> answer = requestSingle<PD_Info>(
        functions.diskInfo, "ZT_PD_GetHDInfo_Ext", slot, nameOf(slot), problems);
    if (answer.failed) {
        return disk;
    }
    if (!answer.record) {
        disk.presence = Presence::Absent;
    } else if (isBlank(*answer.record)) {
        problems.push_back(silence(slot));
    } else {
        disk.presence = Presence::Present;
        disk.info = answer.record;
    }
    return disk;
}

Disk readDisk(const LibraryFunctions& functions, unsigned slot, std::vector<Problem>& problems) {
    Disk disk;
    disk.slot = slot;
    guarded(nameOf(slot), problems, [&] {
        disk = readDiskInfo(functions, slot, problems);
        if (disk.presence == Presence::Present) {
            readParts(functions, disk, problems);
        }
    });
    return disk;
}

namespace {

// The library cuts the last character of a full field.
bool isSerialOf(const Disk& disk, const std::string& wanted) {
    constexpr std::size_t kMostCharacters = sizeof(PD_Info::serialNumber) - 1;
    const std::optional<std::string> serial = disk.serialNumber(Padding::Trim);
    if (!serial) {
        return false;
    }
    return *serial == wanted ||
           (serial->size() == kMostCharacters && wanted.size() == kMostCharacters + 1 &&
            wanted.compare(0, kMostCharacters, *serial) == 0);
}

}  // namespace

unsigned findSlot(const LibraryFunctions& functions, const std::string& idOrSerial,
                  std::vector<Problem>& problems) {
    if (idOrSerial == "0" || idOrSerial == "1") {
        return idOrSerial == "0" ? 0 : 1;
    }
    std::string known;
    bool allAnswered = true;
    std::vector<unsigned> found;
    for (unsigned slot = 0; slot < kIdCount; ++slot) {
        const Disk disk = readDiskInfo(functions, slot, problems);
        if (isSerialOf(disk, idOrSerial)) {
            found.push_back(slot);
        }
        allAnswered = allAnswered && disk.presence != Presence::Unknown;
        if (disk.presence == Presence::Present) {
            known += format("{}disk {} has {}", known.empty() ? "" : ", ", slot,
                            disk.serialNumber(Padding::Trim).value_or("none"));
        }
    }
    if (found.size() == 1) {
        return found.front();
    }
    if (!found.empty()) {
        throw UsageError(format("both disks have the serial number '{}': use 0 or 1", idOrSerial));
    }
    const std::string message =
        format("no disk {}has the serial number '{}' ({})", allAnswered ? "" : "that answers ",
               idOrSerial, known.empty() ? "there is no disk" : known);
    if (allAnswered) {
        throw UsageError(message);
    }
    throw ProblemError({ProblemKind::DiskNotResponding, message});
}

std::optional<std::string> serialOfSeveral(const std::vector<Disk>& disks) {
    std::set<std::string> serials;
    for (const Disk& disk : disks) {
        const std::optional<std::string> serial = disk.serialNumber(Padding::Trim);
        if (serial && !serials.insert(*serial).second) {
            return serial;
        }
    }
    return std::nullopt;
}

std::vector<unsigned> wantedSlots(const LibraryFunctions& functions, const std::string& idOrSerial,
                                  std::vector<Problem>& problems) {
    if (!idOrSerial.empty()) {
        return {findSlot(functions, idOrSerial, problems)};
    }
    std::vector<unsigned> slots;
    for (unsigned slot = 0; slot < kIdCount; ++slot) {
        slots.push_back(slot);
    }
    return slots;
}

// Showing.

namespace {

using Number = std::uint64_t;

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

void addText(const char* name, const std::optional<std::string>& text, Blocks& blocks) {
    blocks.addLine(name, text.value_or("not reported"), text ? Tone::Plain : Tone::Faint);
}

void addNumber(const char* name, const std::optional<Number>& number, const char* remark,
               Blocks& blocks) {
    if (number) {
        blocks.addLine(name, format("{}{}", *number, remark));
    } else {
        blocks.addLine(name, "unknown", Tone::Faint);
    }
}

std::optional<Number> blockSizeOf(const Disk& disk) {
    return valueOf<Number>(disk.info, &PD_Info::blockSize);
}

// In a unit that the controller does not state.
void addSize(const char* name, const std::optional<Number>& raw, const Disk& disk, Blocks& blocks) {
    const Number blockSize = blockSizeOf(disk).value_or(0);
    const std::optional<Number> bytes = bytesOf(raw.value_or(0), blockSize);
    if (!raw) {
        blocks.addLine(name, "unknown", Tone::Faint);
    } else if (bytes && *bytes != 0) {
        blocks.addLine(name, format("{} if blocks of {} bytes (raw value {})", sizeText(*bytes),
                                    blockSize, *raw));
    } else {
        blocks.addLine(name, format("{} (unit not stated)", *raw));
    }
}

void addState(const Disk& disk, Blocks& blocks) {
    const Tone known = disk.online() ? Tone::Plain : Tone::Faint;
    blocks.addLine("State", disk.stateText(), wantsAttention(disk) ? Tone::Warning : known);
}

}  // namespace

void putDiskIdentity(Json& json, const Disk& disk, Padding padding) {
    json["slot"] = disk.slot;
    json["present"] = valueOrNull(presentOrUnknown(disk.presence));
    json["model_name"] = valueOrNull(disk.modelName(padding));
    json["serial_number"] = valueOrNull(disk.serialNumber(padding));
}

std::vector<Column> diskIdentityColumns() {
    return {{"DISK"}, {"MODEL", Alignment::Left, 8}, {"SERIAL", Alignment::Left, 8}};
}

std::vector<std::string> diskIdentityCells(const Disk& disk, Padding padding) {
    return {format("{}", disk.slot), disk.modelName(padding).value_or("-"),
            disk.serialNumber(padding).value_or("-")};
}

std::string sizeCell(const std::optional<Number>& raw, const Disk& disk) {
    if (!raw) {
        return "-";
    }
    if (*raw == 0) {
        return "0";
    }
    const std::optional<Number> bytes = bytesOf(*raw, blockSizeOf(disk).value_or(0));
    return bytes ? sizeText(*bytes) : format("raw {}", *raw);
}

std::string sizeRemark(const CommandContext& context) {
    return context.header ? "* if counted in blocks of the disk: the controller does not state the "
                            "unit\n"
                          : "";
}

bool addDiskIdentity(const Disk& disk, Padding padding, Blocks& blocks) {
    blocks.addSection(format("Disk {}", disk.slot));
    if (disk.presence != Presence::Present) {
        addState(disk, blocks);
        return false;
    }
    addText("Model", disk.modelName(padding), blocks);
    addText("Serial number", disk.serialNumber(padding), blocks);
    return true;
}

Json diskToJson(const Disk& disk, Padding padding) {
    Json json;
    putDiskIdentity(json, disk, padding);
    json["firmware_version"] = valueOrNull(disk.firmwareVersion(padding));
    json["device_id"] = valueOrNull(valueOf<unsigned>(disk.info, &PD_Info::deviceId));
    json["hd_id"] = valueOrNull(disk.hdId());
    json["online"] = valueOrNull(disk.online());
    json["state"] = disk.state();
    json["health_alert"] = valueOrNull(disk.healthAlert());
    json["raid_status_code"] = valueOrNull(disk.raidStatusCode());
    putBigNumber(json, "capacity_raw", valueOf<Number>(disk.info, &PD_Info::size));
    // The record does not say what its unit is, so there is nothing to count bytes from.
    json["capacity_bytes"] = nullptr;
    json["block_size_bytes"] = valueOrNull(valueOf<unsigned>(disk.info, &PD_Info::blockSize));
    putBigNumber(json, "free_space_raw", valueOf<Number>(disk.freeSpace, &PD_FreeSpaceInfo::size));
    json["raw"] = constantsToJson(disk);
    return json;
}

void addDiskSection(const Disk& disk, Padding padding, Blocks& blocks) {
    if (!addDiskIdentity(disk, padding, blocks)) {
        return;
    }
    addText("Firmware version", disk.firmwareVersion(padding), blocks);
    addState(disk, blocks);
    addSize("Capacity", valueOf<Number>(disk.info, &PD_Info::size), disk, blocks);
    addSize("Free space", valueOf<Number>(disk.freeSpace, &PD_FreeSpaceInfo::size), disk, blocks);
    addNumber("Block size", valueOf<Number>(disk.info, &PD_Info::blockSize), " bytes", blocks);
    addNumber("Device ID", valueOf<Number>(disk.info, &PD_Info::deviceId), "", blocks);
    addNumber("HD ID", disk.hdId(), "", blocks);
}

// The commands.

namespace {

struct DiskOptions {
    std::string disk;  // empty: all
    bool raw = false;
};

std::vector<Column> diskColumns() {
    std::vector<Column> columns = diskIdentityColumns();
    columns.push_back({"FIRMWARE"});
    columns.push_back({"STATE", Alignment::Left, 8});
    columns.push_back({"SIZE*", Alignment::Right});
    return columns;
}

void addDiskRow(const Disk& disk, Padding padding, Grid& grid) {
    std::vector<std::string> cells = diskIdentityCells(disk, padding);
    cells.push_back(disk.firmwareVersion(padding).value_or("-"));
    cells.push_back(disk.stateText());
    cells.push_back(sizeCell(valueOf<Number>(disk.info, &PD_Info::size), disk));
    grid.addRow(cells, wantsAttention(disk) ? Tone::Warning : Tone::Plain);
}

void runDisks(const CommandContext& context, const DiskOptions& wanted, Report& report) {
    const Padding padding = wanted.raw ? Padding::Keep : Padding::Trim;
    report.items = "disks";
    report.fields["disks"] = Json::array();
    report.grid.setColumns(diskColumns());
    const Session session(context, report);
    for (const unsigned slot : wantedSlots(session.functions(), wanted.disk, report.problems)) {
        const Disk disk = readDisk(session.functions(), slot, report.problems);
        report.fields["disks"].push_back(diskToJson(disk, padding));
        if (wanted.disk.empty()) {
            addDiskRow(disk, padding, report.grid);
            report.text = sizeRemark(context);
        } else {
            addDiskSection(disk, padding, report.blocks);
        }
    }
}

CommandRunner declareDisks(Options& options, bool one) {
    const auto wanted = std::make_shared<DiskOptions>();
    if (one) {
        options.addDisk(wanted->disk, true);
    }
    options.addFlag("--raw", wanted->raw, "Keep the blanks around texts");
    return [wanted](const CommandContext& context, Report& report) {
        runDisks(context, *wanted, report);
    };
}

}  // namespace

Command disksCommand() {
    const Command show = {"show",
                          "Show all that is known of one of them",
                          [](Options& options) { return declareDisks(options, true); },
                          {},
                          true,
                          {{"disks show 1", "all of disk 1"},
                           {"disks show VD00480A000171", "the same by its serial number"}}};
    return {"disks",
            "Show the physical disks: identity, state, capacity",
            [](Options& options) { return declareDisks(options, false); },
            {show},
            true,
            {{"disks", "one line for each disk"},
             {"disks -o csv --no-header", "rows for a spreadsheet"},
             {"disks --raw --json", "texts as the device fills them"}}};
}

}  // namespace veskctl
