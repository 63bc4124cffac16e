#include "veskctl/health.h"

#include "veskctl/command.h"
#include "veskctl/format.h"
#include "veskctl/report.h"
#include "veskctl/session.h"
#include "veskctl/sizes.h"
#include "veskctl/verdict.h"

#include <memory>
#include <string>

namespace veskctl {

namespace {

constexpr unsigned kStatusOk = 0x4F;
constexpr unsigned kStatusAlert = 1;

// Rows of the table. The first one is named "Percent Drive Life Remaining", and carries the
// percentage used nevertheless.
constexpr std::size_t kUsedRow = 0;
constexpr std::size_t kSpareRow = 1;

}  // namespace

std::optional<Wear> Health::wear() const {
    if (!record) {
        return std::nullopt;
    }
    const SMART_ATTRIBUTE& spare = record->attributes[kSpareRow];
    const Wear wear{record->attributes[kUsedRow].currentValue, spare.currentValue,
                    spare.thresholdValue};
    if (wear.percentageUsed == 0 && wear.availableSpare == 0 && wear.availableSpareThreshold == 0) {
        return std::nullopt;
    }
    return wear;
}

const char* Health::status() const {
    const unsigned code = record ? record->smartStatus : 0;
    if (code == kStatusOk) {
        return "ok";
    }
    return code == kStatusAlert ? "alert" : "unknown";
}

std::string Health::statusText() const {
    return record ? format("{} (0x{:02x})", status(), record->smartStatus) : status();
}

// Asking the library.

namespace {

// The library leaves the record of an absent disk as it was, and never writes 0 as the status of
// another.
bool wasWritten(const SMART_INFO_ARRAY& record) {
    return record.smartStatus != 0;
}

void readRecord(const LibraryFunctions& functions, const std::string& name, Health& health,
                std::vector<Problem>& problems) {
    SMART_INFO_ARRAY record = {};
    const UCHAR_ result =
        functions.diskHealth(0, static_cast<UCHAR_>(health.disk.slot), 0, &record);
    if (result != ERR_NONE) {
        problems.push_back(libraryCallFailed("ZT_PD_GET_SMART_INFO", result, name));
    }
    if (wasWritten(record)) {
        health.record = record;
    }
    if (result == ERR_NONE && !health.wear()) {
        problems.push_back(didNotAnswer(ProblemKind::DiskNotResponding, name, "its health"));
    }
}

}  // namespace

Health readHealthOf(const LibraryFunctions& functions, const Disk& disk,
                    std::vector<Problem>& problems) {
    Health health = {disk};
    const std::string name = format("disk {}", disk.slot);
    guarded(name, problems, [&] {
        if (disk.presence == Presence::Present) {
            readRecord(functions, name, health, problems);
        }
    });
    return health;
}

Health readHealth(const LibraryFunctions& functions, unsigned slot,
                  std::vector<Problem>& problems) {
    Disk disk;
    disk.slot = slot;
    // Asked for first, since a disk that does not answer would read as healthy.
    guarded(format("disk {}", slot), problems,
            [&] { disk = readDiskInfo(functions, slot, problems); });
    return readHealthOf(functions, disk, problems);
}

// Showing.

namespace {

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
                const char* remark, Blocks& blocks) {
    if (percent) {
        blocks.addLine(name, format("{} %{}", *percent, remark),
                       alarming ? Tone::Warning : Tone::Plain);
    } else {
        blocks.addLine(name, "unknown", Tone::Faint);
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

void addHealthSection(const Health& health, Blocks& blocks) {
    if (!addDiskIdentity(health.disk, Padding::Trim, blocks)) {
        return;
    }
    const std::optional<Wear> wear = health.wear();
    const std::vector<Reason> reasons = reasonsOf(health);
    const bool statusOk = std::string(health.status()) == "ok";
    blocks.addLine("Health status", health.statusText(), statusOk ? Tone::Plain : Tone::Warning);
    addPercent("Percentage used", valueOf<unsigned>(wear, &Wear::percentageUsed),
               hasReason(reasons, "life_used"), " (100 is the rated life)", blocks);
    addPercent("Available spare", valueOf<unsigned>(wear, &Wear::availableSpare),
               hasReason(reasons, "spare_below_threshold") ||
                   hasReason(reasons, "spare_near_threshold") ||
                   hasReason(reasons, "disk_health_unknown"),
               "", blocks);
    addPercent("Spare threshold", valueOf<unsigned>(wear, &Wear::availableSpareThreshold), false,
               "", blocks);
}

// The command.

namespace {

std::vector<Column> healthColumns() {
    std::vector<Column> columns = diskIdentityColumns();
    columns.push_back({"STATUS", Alignment::Left, 8});
    columns.push_back({"USED", Alignment::Right});
    columns.push_back({"SPARE", Alignment::Right});
    columns.push_back({"THRESHOLD", Alignment::Right});
    return columns;
}

void addHealthRow(const Health& health, Grid& grid) {
    const std::optional<Wear> wear = health.wear();
    std::vector<std::string> cells = diskIdentityCells(health.disk, Padding::Trim);
    cells.push_back(health.disk.presence == Presence::Present ? health.statusText()
                                                              : health.disk.stateText());
    cells.push_back(percentText(valueOf<unsigned>(wear, &Wear::percentageUsed)));
    cells.push_back(percentText(valueOf<unsigned>(wear, &Wear::availableSpare)));
    cells.push_back(percentText(valueOf<unsigned>(wear, &Wear::availableSpareThreshold)));
    grid.addRow(cells, wantsAttention(health) ? Tone::Warning : Tone::Plain);
}

void runHealth(const CommandContext& context, const std::string& wanted, Report& report) {
    report.items = "health";
    report.fields["health"] = Json::array();
    report.grid.setColumns(healthColumns());
    const Session session(context, report);
    for (const unsigned slot : wantedSlots(session.functions(), wanted, report.problems)) {
        const Health health = readHealth(session.functions(), slot, report.problems);
        report.fields["health"].push_back(healthToJson(health));
        if (wanted.empty()) {
            addHealthRow(health, report.grid);
        } else {
            addHealthSection(health, report.blocks);
        }
    }
}

CommandRunner declareHealth(Options& options, bool one) {
    const auto disk = std::make_shared<std::string>();
    options.addDisk(*disk, one);
    return [disk](const CommandContext& context, Report& report) {
        runHealth(context, *disk, report);
    };
}

}  // namespace

Command healthCommand() {
    const Command show = {"show",
                          "Show all that is known of the health of one of them",
                          [](Options& options) { return declareHealth(options, true); },
                          {},
                          true,
                          {{"health show 0", "status, wear and attributes of disk 0"}}};
    return {
        "health",
        "Show the health of the physical disks: wear, spare, alert",
        [](Options& options) { return declareHealth(options, false); },
        {show},
        true,
        {{"health", "one line for each disk"}, {"health --ndjson", "one document for each disk"}}};
}

}  // namespace veskctl
