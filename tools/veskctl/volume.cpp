#include "veskctl/volume.h"

#include "veskctl/command.h"
#include "veskctl/format.h"
#include "veskctl/report.h"
#include "veskctl/session.h"
#include "veskctl/sizes.h"
#include "veskctl/verdict.h"

#include <memory>

namespace veskctl {

std::optional<std::string> Volume::name() const {
    return info ? deviceText(fieldText(info->name), Padding::Trim) : std::nullopt;
}

std::optional<unsigned> Volume::statusCode() const {
    return valueOf<unsigned>(info, &VD_Info::status);
}

const char* Volume::state() const {
    const std::optional<unsigned> code = statusCode();
    if (!code) {
        return presence == Presence::Absent ? "absent" : "not_responding";
    }
    return *code == 0 ? "normal" : "not_normal";
}

std::string Volume::stateText() const {
    const std::optional<unsigned> code = statusCode();
    if (!code) {
        return presence == Presence::Absent ? "absent" : "did not answer";
    }
    return format("{} (0x{:02x})", *code == 0 ? "normal" : "not normal", *code);
}

std::optional<std::string> Volume::raidLevel() const {
    if (!info || info->raidMode > 1) {
        return std::nullopt;
    }
    return info->raidMode == 0 ? "raid0" : "raid1";
}

std::optional<std::uint64_t> Volume::capacityBytes() const {
    return info ? bytesOf(info->size, info->blockSize) : std::nullopt;
}

// Asking the library. A device command that failed reads as a record of zeros.

namespace {

// No volume has neither members nor a size.
bool isBlank(const VD_Info& info) {
    return info.id == 0 && info.hdCount == 0 && info.size == 0 && info.blockSize == 0 &&
           info.name[0] == '\0';
}

bool isBlank(const VD_Config& config) {
    return config.ldId == 0 && config.status == 0 && config.name[0] == '\0';
}

// Takes out a configuration of zeros that contradicts the rest. True if it did.
bool dropContradiction(Volume& volume) {
    if (!volume.info || !volume.config || !isBlank(*volume.config)) {
        return false;
    }
    const VD_Info& info = *volume.info;
    if (info.id == 0 && info.status == 0 && info.name[0] == '\0') {
        return false;
    }
    volume.config.reset();
    return true;
}

void readConfig(const LibraryFunctions& functions, const std::string& name, Volume& volume,
                std::vector<Problem>& problems) {
    const SingleAnswer<VD_Config> answer = requestSingle<VD_Config>(
        functions.volumeConfig, "ZT_LD_GetConfig", volume.id, name, problems);
    volume.config = answer.record;
    if (answer.failed) {
        return;
    }
    if (!volume.config || dropContradiction(volume)) {
        problems.push_back(
            didNotAnswer(ProblemKind::VolumeNotResponding, name, "its configuration"));
    }
}

void readRecords(const LibraryFunctions& functions, const std::string& name, Volume& volume,
                 std::vector<Problem>& problems) {
    const SingleAnswer<VD_Info> answer =
        requestSingle<VD_Info>(functions.volumeInfo, "ZT_LD_GetInfo", volume.id, name, problems);
    if (answer.failed) {
        return;
    }
    if (!answer.record) {
        volume.presence = Presence::Absent;
    } else if (isBlank(*answer.record)) {
        problems.push_back(didNotAnswer(ProblemKind::VolumeNotResponding, name));
    } else {
        volume.presence = Presence::Present;
        volume.info = answer.record;
        readConfig(functions, name, volume, problems);
    }
}

}  // namespace

Volume readVolume(const LibraryFunctions& functions, unsigned id, std::vector<Problem>& problems) {
    Volume volume;
    volume.id = id;
    const std::string name = format("volume {}", id);
    guarded(name, problems, [&] { readRecords(functions, name, volume, problems); });
    return volume;
}

// Showing.

namespace {

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
        return format("unknown (mode {})", info.raidMode);
    }
}

}  // namespace

Json volumeToJson(const Volume& volume) {
    const auto& info = volume.info;
    Json json;
    json["id"] = volume.id;
    json["present"] = valueOrNull(presentOrUnknown(volume.presence));
    json["vd_id"] = valueOrNull(valueOf<unsigned>(info, &VD_Info::id));
    json["name"] = valueOrNull(volume.name());
    json["state"] = volume.state();
    json["status_code"] = valueOrNull(volume.statusCode());
    json["raid_level"] = valueOrNull(volume.raidLevel());
    json["raid_mode_code"] = valueOrNull(valueOf<unsigned>(info, &VD_Info::raidMode));
    json["member_count"] = valueOrNull(valueOf<unsigned>(info, &VD_Info::hdCount));
    putBigNumber(json, "size_lba", valueOf<std::uint64_t>(info, &VD_Info::size));
    json["block_size_bytes"] = valueOrNull(valueOf<unsigned>(info, &VD_Info::blockSize));
    putBigNumber(json, "capacity_bytes", volume.capacityBytes());
    json["stripe_block_size"] = valueOrNull(valueOf<unsigned>(info, &VD_Info::stripeBlockSize));
    json["raw"] = constantsToJson(volume);
    return json;
}

void addVolumeSection(const Volume& volume, Blocks& blocks) {
    blocks.addSection(format("Volume {}", volume.id));
    const Tone tone = wantsAttention(volume) ? Tone::Warning : Tone::Plain;
    if (!volume.info) {
        blocks.addLine("State", volume.stateText(), tone);
        return;
    }
    const VD_Info& info = *volume.info;
    const std::optional<std::string> name = volume.name();
    const std::optional<std::uint64_t> capacity = volume.capacityBytes();
    blocks.addLine("Name", name.value_or("none"), name ? Tone::Plain : Tone::Faint);
    blocks.addLine("RAID level", raidText(info));
    blocks.addLine("Members", format("{}", info.hdCount));
    blocks.addLine("State", volume.stateText(), tone);
    blocks.addLine("Capacity",
                   capacity ? format("{} ({} bytes)", sizeText(*capacity), *capacity) : "unknown");
    blocks.addLine("Size", format("{} blocks of {} bytes", info.size, info.blockSize));
    blocks.addLine("Stripe block size", format("{}", info.stripeBlockSize));
    blocks.addLine("Controller's ID", format("{}", info.id));
}

// The commands.

namespace {

void addVolumeRow(const Volume& volume, Grid& grid) {
    std::vector<std::string> cells = {format("{}", volume.id), volume.name().value_or("-")};
    if (volume.info) {
        const std::optional<std::uint64_t> capacity = volume.capacityBytes();
        cells.push_back(raidText(*volume.info));
        cells.push_back(format("{}", volume.info->hdCount));
        cells.push_back(volume.stateText());
        cells.push_back(capacity ? sizeText(*capacity) : "unknown");
    } else {
        cells.insert(cells.end(), {"-", "-", volume.stateText(), "-"});
    }
    grid.addRow(cells, wantsAttention(volume) ? Tone::Warning : Tone::Plain);
}

// A volume that does not exist is nothing that broke: the list leaves it out.
void runVolumes(const CommandContext& context, Report& report) {
    report.items = "volumes";
    report.fields["volumes"] = Json::array();
    report.grid.setColumns({{"VOLUME"},
                            {"NAME", Alignment::Left, 8},
                            {"RAID", Alignment::Left, 6},
                            {"MEMBERS", Alignment::Right},
                            {"STATE", Alignment::Left, 8},
                            {"SIZE", Alignment::Right}});
    const Session session(context, report);
    for (unsigned id = 0; id < kIdCount; ++id) {
        const Volume volume = readVolume(session.functions(), id, report.problems);
        if (volume.presence != Presence::Absent) {
            report.fields["volumes"].push_back(volumeToJson(volume));
            addVolumeRow(volume, report.grid);
        }
    }
    if (report.fields["volumes"].empty()) {
        report.text = "There is no volume.\n";
    }
}

CommandRunner declareVolumesShow(Options& options) {
    const auto id = std::make_shared<std::optional<unsigned>>();
    options.addVolumeId(*id);
    return [id](const CommandContext& context, Report& report) {
        report.items = "volumes";
        report.fields["volumes"] = Json::array();
        const Session session(context, report);
        const Volume volume = readVolume(session.functions(), id->value(), report.problems);
        report.fields["volumes"].push_back(volumeToJson(volume));
        addVolumeSection(volume, report.blocks);
    };
}

}  // namespace

Command volumesCommand() {
    const Command show = {"show", "Show all that is known of one of them", declareVolumesShow, {},
                          true,   {{"volumes show 0", "all of volume 0"}}};
    return {"volumes",
            "Show the virtual disks: RAID level, members, state, capacity",
            [](Options&) { return CommandRunner(runVolumes); },
            {show},
            true,
            {{"volumes", "one line for each volume"}}};
}

}  // namespace veskctl
