#include "veskctl/metrics.h"

#include "veskctl/exposition.h"
#include "veskctl/file_replacement.h"
#include "veskctl/format.h"
#include "veskctl/program_version.h"
#include "veskctl/report.h"

#include <array>
#include <chrono>
#include <map>
#include <memory>
#include <tuple>

namespace veskctl {

namespace {

constexpr double kHundred = 100;
constexpr double kGiga = 1e9;

std::string textOr(const std::optional<std::string>& text) {
    return text.value_or("");
}

void putProgram(const Snapshot& snapshot, double seconds, Exposition& metrics) {
    metrics.gauge("vesk_exporter_info", "The program that made these metrics.")
        .add({{"version", kProgramVersion},
              {"host", snapshot.host},
              {"simulated", snapshot.simulated ? "true" : "false"}},
             1);
    metrics.gauge("vesk_up", "Whether the controller answered.")
        .add({}, snapshot.reach == Reach::Answering ? 1 : 0);
    metrics.gauge("vesk_scrape_duration_seconds", "How long it took to ask for all of this.")
        .add({}, seconds);
}

void putVerdict(const Verdict& verdict, Exposition& metrics) {
    auto& levels =
        metrics.gauge("vesk_verdict", "Whether all is well: 1 for the level that holds.");
    for (const Level level : {Level::Ok, Level::Warning, Level::Critical, Level::Unknown}) {
        levels.add({{"level", levelName(level)}}, level == verdict.level ? 1 : 0);
    }
    std::map<std::tuple<std::string, std::string, std::string>, unsigned> reasons;
    for (const Reason& reason : verdict.reasons) {
        ++reasons[{levelName(reason.level), reason.code, reason.subject}];
    }
    auto& family = metrics.gauge("vesk_verdict_reasons", "Why all is not well.");
    for (const auto& [key, count] : reasons) {
        const auto& [level, code, subject] = key;
        family.add({{"level", level}, {"code", code}, {"subject", subject}}, count);
    }
}

void putFindings(const Snapshot& snapshot, Exposition& metrics) {
    std::map<std::string, unsigned> counts = {{"error", 0}, {"warning", 0}};
    for (const Finding& finding : snapshot.hostFiles.findings) {
        if (finding.severity != Severity::Info) {
            ++counts[severityName(finding.severity)];
        }
    }
    auto& family = metrics.gauge("vesk_host_file_findings", "What is wrong with the host's files.");
    for (const auto& [severity, count] : counts) {
        family.add({{"severity", severity}}, count);
    }
}

void putEvents(const Snapshot& snapshot, Exposition& metrics) {
    if (!snapshot.newEvents) {
        return;
    }
    metrics.gauge("vesk_events_mark", "Number of the last event that was delivered.")
        .add({}, snapshot.newEvents->mark);
    if (doubtAbout(*snapshot.newEvents)) {
        return;
    }
    auto& family = metrics.gauge("vesk_events_new", "Events above the mark of delivered ones.");
    std::map<std::string, unsigned> counts = countBySeverity(snapshot.newEvents->events);
    Event named;
    for (; named.severity(); ++named.severityCode) {
        family.add({{"severity", *named.severity()}}, counts[*named.severity()]);
    }
    family.add({{"severity", kUnnamedSeverity}}, counts[kUnnamedSeverity]);
}

void putController(const Controller& controller, Exposition& metrics) {
    metrics.gauge("vesk_controller_info", "The controller.")
        .add({{"pci_address", textOr(controller.pci.address())},
              {"vendor_id", format("0x{:04x}", controller.pci.vendorId)},
              {"device_id", format("0x{:04x}", controller.pci.deviceId)},
              {"firmware", controller.firmwareVersionText()}},
             1);
    metrics.gauge("vesk_controller_physical_disks", "Physical disks that the controller counts.")
        .add({}, controller.physicalDiskCount);
    metrics.gauge("vesk_controller_virtual_disks", "Virtual disks that the controller counts.")
        .add({}, controller.virtualDiskCount);
    const PcieLink& link = controller.link;
    const auto speed = [&metrics](const char* name, const char* help,
                                  const std::optional<double>& value) {
        metrics.gauge(name, help).addIf({}, value ? std::optional<double>(*value * kGiga) : value);
    };
    speed("vesk_controller_current_link_transfers_per_second",
          "Negotiated speed of the PCIe link, per lane.", link.currentSpeedGts());
    speed("vesk_controller_max_link_transfers_per_second",
          "Highest speed of the PCIe link, per lane.", link.maxSpeedGts());
    metrics.gauge("vesk_controller_current_link_width", "Negotiated lanes of the PCIe link.")
        .addIf({}, link.currentWidth());
    metrics.gauge("vesk_controller_max_link_width", "Most lanes of the PCIe link.")
        .addIf({}, link.maxWidth());
}

void putDisks(const Snapshot& snapshot, Exposition& metrics) {
    auto& info = metrics.gauge("vesk_disk_info", "A disk that is there.");
    auto& present = metrics.gauge("vesk_disk_present", "Whether there is a disk in the slot.");
    auto& online = metrics.gauge("vesk_disk_online", "Whether the disk is online.");
    for (const Disk& disk : snapshot.disks) {
        const Labels slot = {{"slot", format("{}", disk.slot)}};
        if (disk.presence == Presence::Present) {
            info.add({{"slot", format("{}", disk.slot)},
                      {"model", textOr(disk.modelName(Padding::Trim))},
                      {"serial", textOr(disk.serialNumber(Padding::Trim))},
                      {"firmware", textOr(disk.firmwareVersion(Padding::Trim))}},
                     1);
        }
        present.addIf(slot, presentOrUnknown(disk.presence));
        online.addIf(slot, disk.online());
    }
    auto& alert = metrics.gauge("vesk_disk_smart_alert", "Whether the SMART status is an alert.");
    auto& used = metrics.gauge("vesk_disk_percentage_used_ratio",
                               "Used share of the rated life; above 1 behind its end.");
    auto& spare = metrics.gauge("vesk_disk_available_spare_ratio", "Spare blocks that are left.");
    auto& threshold = metrics.gauge("vesk_disk_available_spare_threshold_ratio",
                                    "Below this the disk calls its spare too low.");
    for (const Health& health : snapshot.health) {
        const Labels slot = {{"slot", format("{}", health.disk.slot)}};
        if (health.record) {
            alert.add(slot, std::string(health.status()) == "alert" ? 1 : 0);
        }
        const std::optional<Wear> wear = health.wear();
        if (wear) {
            used.add(slot, wear->percentageUsed / kHundred);
            spare.add(slot, wear->availableSpare / kHundred);
            threshold.add(slot, wear->availableSpareThreshold / kHundred);
        }
    }
}

void putVolumes(const Snapshot& snapshot, Exposition& metrics) {
    auto& info = metrics.gauge("vesk_volume_info", "A volume that is there.");
    auto& present = metrics.gauge("vesk_volume_present", "Whether there is a volume with this id.");
    auto& status = metrics.gauge("vesk_volume_status_code", "Status of the volume; 0 is normal.");
    auto& members = metrics.gauge("vesk_volume_members", "Disks that the volume consists of.");
    auto& size = metrics.gauge("vesk_volume_size_bytes", "Size of the volume.");
    for (const Volume& volume : snapshot.volumes) {
        const Labels id = {{"volume", format("{}", volume.id)}};
        present.addIf(id, presentOrUnknown(volume.presence));
        if (volume.info) {
            info.add({{"volume", format("{}", volume.id)},
                      {"name", textOr(volume.name())},
                      {"raid_level", textOr(volume.raidLevel())}},
                     1);
            status.add(id, volume.info->status);
            members.add(id, volume.info->hdCount);
            size.addIf(id, volume.capacityBytes());
        }
    }
}

void runMetrics(const CommandContext& context, const std::string& file, Report& report) {
    const auto began = std::chrono::steady_clock::now();
    const Snapshot snapshot = takeSnapshot(context);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - began;
    const Verdict verdict = judge(snapshot, Thresholds());
    const std::string text = metricsText(snapshot, verdict, taken.count());
    report.simulated = snapshot.simulated;
    report.problems = snapshot.problems;
    report.forPrograms = true;
    report.fields["text"] = text;
    if (file.empty()) {
        report.text = text;
    } else {
        replaceFile(file, text);
    }
}

}  // namespace

std::string metricsText(const Snapshot& snapshot, const Verdict& verdict, double seconds) {
    Exposition metrics;
    putProgram(snapshot, seconds, metrics);
    putVerdict(verdict, metrics);
    putFindings(snapshot, metrics);
    putEvents(snapshot, metrics);
    if (snapshot.reach == Reach::Answering) {
        putController(*snapshot.controller, metrics);
    }
    putDisks(snapshot, metrics);
    putVolumes(snapshot, metrics);
    return (snapshot.simulated ? "# SIMULATED HOST\n" : "") + metrics.text();
}

Command metricsCommand() {
    return {"metrics",
            "Write metrics for Prometheus",
            [](Options& options) {
                const auto file = std::make_shared<std::string>();
                options.addText("--file", *file, "PATH",
                                "Replace this file at once, instead of standard output");
                return CommandRunner([file](const CommandContext& context, Report& report) {
                    runMetrics(context, *file, report);
                });
            },
            {},
            true,
            {{"metrics", "to standard output"},
             {"metrics --file /var/lib/node_exporter/vesk.prom", "for the textfile collector"}}};
}

}  // namespace veskctl
