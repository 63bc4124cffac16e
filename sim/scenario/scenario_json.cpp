// The keys of a scenario file. scenarios/README.md tells what each one means.
#include "sim/scenario/scenario.h"
#include "sim/scenario/strict_json.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <regex>

namespace vesksim {

namespace {

constexpr double kMaxDecimal = 1e9;

// A 16-bit id: a number, or the way such ids are printed, "0x1b4b".
void readId(ObjectReader& reader, const std::string& key, std::uint16_t& target) {
    const auto place = reader.find(key);
    if (!place) {
        return;
    }
    if (!place->value.is_string()) {
        target = static_cast<std::uint16_t>(place->wholeNumber(0, 0xFFFF));
        return;
    }
    const std::string text = place->text();
    if (!std::regex_match(text, std::regex("0x[0-9a-fA-F]{1,4}"))) {
        place->fail(fmt::format("\"{}\" is not a 16-bit id", text),
                    "Write one to four hexadecimal digits behind 0x, or a number");
    }
    target = static_cast<std::uint16_t>(std::strtoul(text.c_str(), nullptr, 16));
}

PciAddress readPciAddress(const JsonPlace& place) {
    static const std::regex kForm("([0-9a-fA-F]{4}):([0-9a-fA-F]{2}):([01][0-9a-fA-F])\\.([0-7])");
    const std::string text = place.text();
    std::smatch parts;
    if (!std::regex_match(text, parts, kForm)) {
        place.fail(fmt::format("\"{}\" is not a PCI address", text),
                   "Write it as 0000:3b:00.0, with a device up to 1f and a function up to 7");
    }
    const auto part = [&](std::size_t i) {
        return std::strtoul(parts[i].str().c_str(), nullptr, 16);
    };
    PciAddress address;
    address.domain = static_cast<std::uint16_t>(part(1));
    address.bus = static_cast<std::uint8_t>(part(2));
    address.device = static_cast<std::uint8_t>(part(3));
    address.function = static_cast<std::uint8_t>(part(4));
    return address;
}

PciIds readPciIds(const JsonPlace& place) {
    PciIds ids;
    ObjectReader reader(place);
    readId(reader, "vendor_id", ids.vendor);
    readId(reader, "device_id", ids.device);
    readId(reader, "subsystem_vendor_id", ids.subsystemVendor);
    readId(reader, "subsystem_device_id", ids.subsystemDevice);
    reader.finish();
    return ids;
}

void readSpeed(ObjectReader& reader, const std::string& key, std::uint8_t& target) {
    const auto place = reader.find(key);
    if (!place) {
        return;
    }
    const std::vector<double> speeds = {2.5, 5, 8, 16, 32};
    const auto found = place->value.is_number()
                           ? std::find(speeds.begin(), speeds.end(), place->value.get<double>())
                           : speeds.end();
    if (found == speeds.end()) {
        place->fail(fmt::format("{} is not a speed of a link", place->value.dump()),
                    "Write 2.5, 5, 8, 16 or 32");
    }
    target = static_cast<std::uint8_t>(found - speeds.begin() + 1);
}

void readWidth(ObjectReader& reader, const std::string& key, std::uint8_t& target) {
    const auto place = reader.find(key);
    if (!place) {
        return;
    }
    const std::vector<std::uint64_t> widths = {1, 2, 4, 8, 12, 16, 32};
    const std::uint64_t width = place->wholeNumber(1, 32);
    if (std::find(widths.begin(), widths.end(), width) == widths.end()) {
        place->fail(fmt::format("a link of {} lanes does not exist", width),
                    "Write 1, 2, 4, 8, 12, 16 or 32");
    }
    target = static_cast<std::uint8_t>(width);
}

PcieLink readLink(const JsonPlace& place) {
    PcieLink link;
    ObjectReader reader(place);
    readSpeed(reader, "max_speed_gts", link.maxSpeed);
    readWidth(reader, "max_width", link.maxWidth);
    link.speed = link.maxSpeed;
    link.width = link.maxWidth;
    readSpeed(reader, "current_speed_gts", link.speed);
    readWidth(reader, "current_width", link.width);
    reader.finish();
    if (link.speed > link.maxSpeed || link.width > link.maxWidth) {
        place.fail("the link runs faster or wider than it can",
                   "Keep the current values at or below the maximum");
    }
    return link;
}

FirmwareVersion readFirmware(const JsonPlace& place) {
    static const std::regex kForm("(\\d{1,5})\\.(\\d{1,5})\\.(\\d{1,5})\\.(\\d{1,5})");
    const std::string text = place.text();
    std::smatch parts;
    unsigned long numbers[4] = {};
    bool good = std::regex_match(text, parts, kForm);
    for (std::size_t i = 0; good && i < 4; ++i) {
        numbers[i] = std::strtoul(parts[i + 1].str().c_str(), nullptr, 10);
        good = numbers[i] <= 0xFFFF;
    }
    if (!good) {
        place.fail(fmt::format("\"{}\" is not a firmware version", text),
                   "Write four numbers up to 65535 with points between them, as in 1.2.3.1004");
    }
    FirmwareVersion version;
    version.major = static_cast<std::uint16_t>(numbers[0]);
    version.minor = static_cast<std::uint16_t>(numbers[1]);
    version.revision = static_cast<std::uint16_t>(numbers[2]);
    version.build = static_cast<std::uint16_t>(numbers[3]);
    return version;
}

Smart readSmart(const JsonPlace& place) {
    Smart smart;
    ObjectReader reader(place);
    reader.number("critical_warning", smart.criticalWarning);
    reader.number("temperature_kelvin", smart.temperatureKelvin);
    reader.number("available_spare", smart.availableSpare);
    reader.number("available_spare_threshold", smart.availableSpareThreshold);
    reader.number("percentage_used", smart.percentageUsed);
    reader.number("data_units_read", smart.dataUnitsRead);
    reader.number("data_units_written", smart.dataUnitsWritten);
    reader.number("host_reads", smart.hostReads);
    reader.number("host_writes", smart.hostWrites);
    reader.number("controller_busy_minutes", smart.busyMinutes);
    reader.number("power_cycles", smart.powerCycles);
    reader.number("power_on_hours", smart.powerOnHours);
    reader.number("unsafe_shutdowns", smart.unsafeShutdowns);
    reader.number("media_errors", smart.mediaErrors);
    reader.number("error_log_entries", smart.errorLogEntries);
    reader.finish();
    return smart;
}

Disk readDisk(const JsonPlace& place) {
    Disk disk;
    ObjectReader reader(place);
    disk.id = static_cast<std::uint8_t>(reader.require("id").wholeNumber(0, 0xFF));
    disk.deviceId = disk.id;
    disk.hdId = static_cast<std::uint16_t>(0x100 + disk.id);
    reader.number("device_id", disk.deviceId);
    reader.number("hd_id", disk.hdId);
    reader.number("status", disk.status);
    reader.bytes("model", disk.model);
    reader.bytes("serial", disk.serial);
    reader.bytes("firmware", disk.firmware);
    reader.number("block_size", disk.blockSize);
    reader.number("size", disk.size);
    if (const auto smart = reader.find("smart")) {
        disk.smart = readSmart(*smart);
    }
    reader.finish();
    return disk;
}

Volume readVolume(const JsonPlace& place) {
    Volume volume;
    ObjectReader reader(place);
    volume.id = static_cast<std::uint8_t>(reader.require("id").wholeNumber(0, 0xFF));
    volume.vdId = volume.id;
    reader.number("vd_id", volume.vdId);
    reader.number("status", volume.status);
    reader.number("raid_mode", volume.raidMode);
    if (const auto members = reader.find("members")) {
        volume.members.clear();
        for (const JsonPlace& member : members->items()) {
            volume.members.push_back(static_cast<std::uint16_t>(member.wholeNumber(0, 0xFFFF)));
        }
    }
    reader.number("size", volume.size);
    reader.number("stripe_block_size", volume.stripeBlockSize);
    reader.number("block_size", volume.blockSize);
    reader.bytes("name", volume.name);
    reader.finish();
    return volume;
}

void readOptional(ObjectReader& reader, const std::string& key,
                  std::optional<std::uint32_t>& target) {
    if (const auto place = reader.find(key)) {
        target = static_cast<std::uint32_t>(place->wholeNumber(0, 0xFFFFFFFF));
    }
}

// A text or {"hex": "..."} is a line as it stands; any other object tells an event.
EventEntry readEvent(const JsonPlace& place) {
    if (!place.value.is_object() || place.value.contains("hex")) {
        return place.bytes();
    }
    Event event;
    ObjectReader reader(place);
    readOptional(reader, "sequence", event.sequence);
    readOptional(reader, "time", event.time);
    reader.number("device_id", event.deviceId);
    event.eventId = static_cast<std::uint16_t>(reader.require("event_id").wholeNumber(0, 0xFFFF));
    reader.text("class", event.eventClass);
    event.description = reader.require("description").text();
    reader.text("severity", event.severity);
    reader.finish();
    return event;
}

ScheduledEvent readScheduled(const JsonPlace& place) {
    ScheduledEvent scheduled;
    ObjectReader reader(place);
    scheduled.at = reader.require("at").decimal(0, kMaxDecimal);
    scheduled.event = readEvent(reader.require("event"));
    reader.finish();
    return scheduled;
}

RandomEvents readRandom(const JsonPlace& place) {
    RandomEvents random;
    ObjectReader reader(place);
    reader.number("seed", random.seed);
    if (const auto mean = reader.find("mean_interval_seconds")) {
        random.meanIntervalSeconds = mean->decimal(0, kMaxDecimal);
    }
    reader.number("initial_count", random.initialCount);
    reader.number("unmapped_percent", random.unmappedPercent);
    reader.finish();
    return random;
}

void readEventSettings(ObjectReader& reader, Adapter& adapter) {
    reader.list("events", adapter.events, readEvent);
    reader.list("event_schedule", adapter.eventSchedule, readScheduled);
    if (const auto random = reader.find("random_events")) {
        adapter.randomEvents = readRandom(*random);
    }
    reader.number("event_start_time", adapter.eventStartTime);
    reader.flag("cut_event_lines", adapter.cutEventLines);
}

CommandOverride readFailure(const JsonPlace& place) {
    CommandOverride failure;
    ObjectReader reader(place);
    reader.number("platform_code", failure.platformCode);
    reader.number("status_code", failure.statusCode);
    reader.number("status_code_type", failure.statusCodeType, 7);
    reader.number("uio_status", failure.uioStatus);
    reader.flag("zero_reply", failure.zeroReply);
    reader.number("delay_ms", failure.delayMilliseconds);
    reader.number("after_commands", failure.afterCommands);
    if (const auto after = reader.find("after_seconds")) {
        failure.afterSeconds = after->decimal(0, kMaxDecimal);
    }
    reader.finish();
    return failure;
}

std::map<CommandClass, CommandOverride> readFailures(const JsonPlace& place) {
    static const std::map<std::string, CommandClass> kClasses = {
        {"identify", CommandClass::kIdentify},
        {"adapter", CommandClass::kAdapter},
        {"physical_disk", CommandClass::kPhysicalDisk},
        {"virtual_disk", CommandClass::kVirtualDisk},
        {"smart", CommandClass::kSmart},
        {"led", CommandClass::kLed},
        {"events", CommandClass::kEvents},
    };
    std::map<CommandClass, CommandOverride> failures;
    ObjectReader reader(place);
    for (const auto& [name, commandClass] : kClasses) {
        if (const auto failure = reader.find(name)) {
            failures[commandClass] = readFailure(*failure);
        }
    }
    reader.finish();
    return failures;
}

char readPadding(const JsonPlace& place) {
    const std::string text = place.text();
    if (text != "blank" && text != "nul") {
        place.fail(fmt::format("\"{}\" is not a padding", text), "Write \"blank\" or \"nul\"");
    }
    return text == "blank" ? ' ' : '\0';
}

void readCount(ObjectReader& reader, const std::string& key, std::optional<std::uint8_t>& target) {
    if (const auto place = reader.find(key)) {
        target = static_cast<std::uint8_t>(place->wholeNumber(0, 0xFF));
    }
}

Adapter readAdapter(const JsonPlace& place) {
    Adapter adapter;
    ObjectReader reader(place);
    adapter.name = reader.require("name").text();
    adapter.signature = "nvmeMgmt-" + adapter.name;
    reader.text("signature", adapter.signature);
    reader.number("open_error", adapter.openError);
    if (const auto address = reader.find("pci_address")) {
        adapter.pciAddress = readPciAddress(*address);
    }
    if (const auto ids = reader.find("pci_ids")) {
        adapter.pciIds = readPciIds(*ids);
    }
    if (const auto link = reader.find("pcie_link")) {
        adapter.link = readLink(*link);
    }
    if (const auto version = reader.find("firmware_version")) {
        adapter.firmware = readFirmware(*version);
    }
    reader.text("model", adapter.model);
    reader.text("serial", adapter.serial);
    reader.text("firmware_revision", adapter.firmwareRevision);
    if (const auto padding = reader.find("text_padding")) {
        adapter.textPadding = readPadding(*padding);
    }
    reader.number("port_count", adapter.portCount);
    reader.number("max_buffer_size", adapter.maxBufferSize);
    readCount(reader, "reported_disk_count", adapter.reportedDiskCount);
    readCount(reader, "reported_volume_count", adapter.reportedVolumeCount);
    reader.list("disks", adapter.disks, readDisk);
    reader.list("volumes", adapter.volumes, readVolume);
    readEventSettings(reader, adapter);
    if (const auto failures = reader.find("failures")) {
        adapter.failures = readFailures(*failures);
    }
    reader.finish();
    return adapter;
}

void readHostFile(ObjectReader& reader, const std::string& key, HostFile& target) {
    const auto place = reader.find(key);
    if (!place) {
        return;
    }
    if (place->value.is_string()) {
        target.text = place->text();
    } else {
        target.present = place->flag();
    }
}

void readHostFiles(const JsonPlace& place, Scenario& scenario) {
    ObjectReader reader(place);
    readHostFile(reader, "pci_address_file", scenario.pciAddressFile);
    readHostFile(reader, "pci_config_file", scenario.pciConfigFile);
    readHostFile(reader, "config_ini", scenario.configIni);
    readHostFile(reader, "alert_mapping_ini", scenario.alertMappingIni);
    reader.finish();
}

void readAdapterList(const JsonPlace& place, Scenario& scenario) {
    ObjectReader reader(place);
    reader.number("open_error", scenario.adapterListOpenError);
    reader.number("list_error", scenario.adapterListError);
    reader.finish();
}

}  // namespace

Scenario parseScenario(const std::string& text, const std::string& source) {
    const nlohmann::json document = parseStrictJson(text, source);
    Scenario scenario;
    ObjectReader reader({document, "", source});
    std::string ignored;  // both are for the human reader and the editor
    reader.text("$schema", ignored);
    reader.text("description", ignored);
    reader.number("noise_seed", scenario.noiseSeed);
    if (const auto list = reader.find("adapter_list")) {
        readAdapterList(*list, scenario);
    }
    reader.list("adapters", scenario.adapters, readAdapter);
    if (const auto files = reader.find("host_files")) {
        readHostFiles(*files, scenario);
    }
    reader.finish();
    checkScenario(scenario, source);
    return scenario;
}

}  // namespace vesksim
