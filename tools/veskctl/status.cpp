#include "veskctl/status.h"

#include "veskctl/check.h"
#include "veskctl/format.h"
#include "veskctl/printable.h"
#include "veskctl/sizes.h"

#include <memory>

namespace veskctl {

namespace {

constexpr std::size_t kMostReasons = 3;

class StatusView {
public:
    StatusView(const Snapshot& snapshot, unsigned columns, Report& report)
        : m_snapshot(snapshot), m_columns(columns), m_report(report) {}

    void show(const Verdict& verdict) {
        addController();
        addVerdict(verdict);
        for (const Volume& volume : m_snapshot.volumes) {
            addVolume(volume);
        }
        if (m_snapshot.reach == Reach::Answering) {
            addDisks();
        }
    }

private:
    void addLine(const std::string& text) {
        const std::string fit = printable(text);
        m_report.lead += (m_columns == 0 ? fit : shortened(fit, m_columns)) + '\n';
    }

    void addController() {
        switch (m_snapshot.reach) {
        case Reach::Absent:
            addLine("There is no controller.");
            break;
        case Reach::Silent:
            addLine("The controller does not answer.");
            break;
        case Reach::Unreachable:
            addLine("The controller could not be looked at.");
            break;
        case Reach::Answering:
            addLine(format("Controller at {}, firmware {}, link {}",
                           m_snapshot.controller->pci.address().value_or("an unknown address"),
                           m_snapshot.controller->firmwareVersionText(),
                           linkText(m_snapshot.controller->link)));
            break;
        }
    }

    void addVerdict(const Verdict& verdict) {
        const bool calm = verdict.level == Level::Ok;
        addLine(format("{}Verdict: {}", calm ? "" : "! ", levelName(verdict.level)));
        const std::size_t count = verdict.reasons.size();
        const std::size_t shown = count > kMostReasons ? kMostReasons - 1 : count;
        for (std::size_t index = 0; index < shown; ++index) {
            const Reason& reason = verdict.reasons[index];
            addLine(
                format("  ! {}: {} ({})", reason.subject, reason.text, levelName(reason.level)));
        }
        if (shown < count) {
            addLine(format("  ! and {} more: veskctl check", count - shown));
        }
    }

    void addVolume(const Volume& volume) {
        if (volume.presence == Presence::Unknown && m_snapshot.reach == Reach::Answering) {
            addLine(format("! Volume {}: no answer", volume.id));
        }
        if (volume.presence != Presence::Present) {
            return;
        }
        const std::optional<std::uint64_t> bytes = volume.capacityBytes();
        const bool normal = volume.info->status == 0;
        addLine(format("{}Volume {}: {}, {}, {}, {} {}, status {}{}", normal ? "" : "! ", volume.id,
                       volume.name().value_or("without a name"),
                       volume.raidLevel().value_or(format("mode {}", volume.info->raidMode)),
                       bytes ? sizeText(*bytes) : "size unknown", volume.info->hdCount,
                       volume.info->hdCount == 1 ? "member" : "members", volume.info->status,
                       normal ? " (normal)" : ""));
    }

    void addDisks() {
        m_report.grid.setColumns({{"Disk"},
                                  {"Model", Alignment::Left, 8},
                                  {"Serial number", Alignment::Left, 8},
                                  {"State"},
                                  {"Health"},
                                  {"Used", Alignment::Right},
                                  {"Spare", Alignment::Right}});
        for (std::size_t index = 0; index < m_snapshot.disks.size(); ++index) {
            addDisk(m_snapshot.disks[index], m_snapshot.health[index]);
        }
    }

    void addDisk(const Disk& disk, const Health& health) {
        const std::optional<Wear> wear = health.wear();
        const std::string smart = health.status();
        const bool bad = disk.presence != Presence::Present || smart != "ok" || !wear ||
                         wear->spent() || wear->spareLow();
        m_report.grid.addRow({format("{}", disk.slot), disk.modelName(Padding::Trim).value_or("-"),
                              disk.serialNumber(Padding::Trim).value_or("-"), stateOf(disk),
                              disk.presence == Presence::Present ? smart : "-",
                              percentText(valueOf<unsigned>(wear, &Wear::percentageUsed)),
                              percentText(valueOf<unsigned>(wear, &Wear::availableSpare))},
                             bad ? Tone::Warning : Tone::Plain);
    }

    static std::string stateOf(const Disk& disk) {
        if (disk.presence != Presence::Present) {
            return disk.presence == Presence::Absent ? "absent" : "no answer";
        }
        const std::optional<bool> online = disk.online();
        return !online ? "unknown" : *online ? "online" : "not online";
    }

    const Snapshot& m_snapshot;
    unsigned m_columns;
    Report& m_report;
};

void runStatus(const CommandContext& context, const ThresholdOptions& options, Report& report) {
    const Thresholds thresholds = options.result();
    const Snapshot snapshot = takeSnapshot(context);
    const Verdict verdict = judge(snapshot, thresholds);
    report.simulated = snapshot.simulated;
    report.problems = snapshot.problems;
    report.fields["verdict"] = verdictToJson(verdict);
    report.fields.update(snapshotToJson(snapshot));
    showStatus(snapshot, verdict, context.width, report);
}

}  // namespace

void showStatus(const Snapshot& snapshot, const Verdict& verdict, unsigned columns,
                Report& report) {
    StatusView(snapshot, columns, report).show(verdict);
}

Command statusCommand() {
    return {"status", "Show everything at a glance, and whether all is well", [](Options& options) {
                const auto wanted = std::make_shared<ThresholdOptions>();
                wanted->declare(options);
                return CommandRunner([wanted](const CommandContext& context, Report& report) {
                    runStatus(context, *wanted, report);
                });
            }};
}

}  // namespace veskctl
