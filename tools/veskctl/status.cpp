#include "veskctl/status.h"

#include "veskctl/check.h"
#include "veskctl/format.h"
#include "veskctl/printable.h"
#include "veskctl/sizes.h"

#include <algorithm>
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
            addEvents();
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
        addLine(format("{}Volume {}: {}, {}, {}, {} {}, {}", normal ? "" : "! ", volume.id,
                       volume.name().value_or("without a name"),
                       volume.raidLevel().value_or(format("mode {}", volume.info->raidMode)),
                       bytes ? sizeText(*bytes) : "size unknown", volume.info->hdCount,
                       volume.info->hdCount == 1 ? "member" : "members", volume.stateText()));
    }

    void addDisks() {
        std::vector<Column> columns = diskIdentityColumns();
        columns.push_back({"STATE", Alignment::Left, 8});
        columns.push_back({"SMART"});
        columns.push_back({"USED", Alignment::Right});
        columns.push_back({"SPARE", Alignment::Right});
        m_report.grid.setColumns(columns);
        for (std::size_t index = 0; index < m_snapshot.disks.size(); ++index) {
            addDisk(m_snapshot.disks[index], m_snapshot.health[index]);
        }
    }

    void addEvents() {
        if (!m_snapshot.newEvents) {
            m_report.text = "New events: unknown\n";
            return;
        }
        const std::vector<Event>& events = m_snapshot.newEvents->events;
        unsigned worst = 0;
        for (const Event& event : events) {
            worst = event.severity() ? std::max(worst, event.severityCode) : worst;
        }
        if (events.empty()) {
            // An empty log does not show whether the library has looked at it.
            m_report.text =
                m_snapshot.newEvents->looked ? "New events: none\n" : "New events: none was seen\n";
        } else {
            Event named;
            named.severityCode = worst;
            m_report.text = format("New events: {}, the gravest {} (veskctl events)\n",
                                   events.size(), named.severity().value_or(kUnnamedSeverity));
        }
    }

    void addDisk(const Disk& disk, const Health& health) {
        const bool present = disk.presence == Presence::Present;
        const std::optional<Wear> wear = health.wear();
        std::vector<std::string> cells = diskIdentityCells(disk, Padding::Trim);
        cells.push_back(disk.stateText());
        cells.emplace_back(present ? health.status() : "-");
        cells.push_back(percentText(valueOf<unsigned>(wear, &Wear::percentageUsed)));
        cells.push_back(percentText(valueOf<unsigned>(wear, &Wear::availableSpare)));
        const bool calm = !disk.wantsAttention() && !health.wantsAttention();
        m_report.grid.addRow(cells, calm ? Tone::Plain : Tone::Warning);
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
    return {"status",
            "Show everything at a glance, and whether all is well",
            [](Options& options) {
                const auto wanted = std::make_shared<ThresholdOptions>();
                wanted->declare(options);
                return CommandRunner([wanted](const CommandContext& context, Report& report) {
                    runStatus(context, *wanted, report);
                });
            },
            {},
            true,
            {{"status", "the same as veskctl alone"},
             {"status --watch", "look again every 2 seconds"},
             {"status --json | jq -r .verdict.level", "the verdict for a script"}}};
}

}  // namespace veskctl
