#include "veskctl/status.h"

#include "veskctl/check.h"
#include "veskctl/format.h"
#include "veskctl/printable.h"
#include "veskctl/report.h"
#include "veskctl/sizes.h"
#include "veskctl/snapshot.h"
#include "veskctl/verdict.h"

#include <algorithm>
#include <memory>
#include <sstream>

namespace veskctl {

namespace {

// With them, one volume and two disks it is a dozen lines.
constexpr std::size_t kMostReasons = 4;
// On such a screen a reason keeps to its line.
constexpr unsigned kOneLineEach = 72;
constexpr std::size_t kReasonIndent = 4;  // of what follows a reason's first line

std::string cutAtWord(const std::string& line, std::size_t columns) {
    if (columnsOf(line) <= columns) {
        return line;
    }
    const std::string cut = shortened(line, columns);
    return cut.substr(0, cut.rfind(' ')) + " …";
}

class StatusView {
public:
    StatusView(const Snapshot& snapshot, const Verdict& verdict, const Thresholds& thresholds,
               unsigned columns, Report& report)
        : m_snapshot(snapshot),
          m_verdict(verdict),
          m_thresholds(thresholds),
          m_columns(columns),
          m_report(report) {}

    void show() {
        addController();
        addVerdict();
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

    void addVerdict() {
        const bool calm = m_verdict.level == Level::Ok;
        addLine(format("{}Verdict: {}", calm ? "" : "! ", levelName(m_verdict.level)));
        const std::size_t count = m_verdict.reasons.size();
        const std::size_t most = kMostReasons - (m_snapshot.volumesPresent() > 1 ? 1 : 0);
        const std::size_t shown = count > most ? most - 1 : count;
        for (std::size_t index = 0; index < shown; ++index) {
            const Reason& reason = m_verdict.reasons[index];
            const std::string line =
                format("  ! {}: {} ({})", reason.subject, reason.text, levelName(reason.level));
            if (m_columns >= kOneLineEach) {
                addLine(cutAtWord(printable(line), m_columns));
                continue;
            }
            std::istringstream pieces(wrapped(printable(line), m_columns, kReasonIndent));
            for (std::string piece; std::getline(pieces, piece);) {
                addLine(piece);  // a path may be longer than the screen
            }
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
        addLine(format("{}Volume {}: {}, {}, {}, {} {}, {}",
                       wantsAttention(volume, m_thresholds) ? "! " : "", volume.id,
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
        const bool calm = m_snapshot.newEvents &&
                          std::none_of(m_verdict.reasons.begin(), m_verdict.reasons.end(),
                                       [](const Reason& r) { return r.subject == "events"; });
        m_report.text = format("{}New events: {}\n", calm ? "" : "! ", eventsText());
    }

    std::string eventsText() const {
        if (!m_snapshot.newEvents || doubtAbout(*m_snapshot.newEvents)) {
            return "unknown (veskctl doctor)";
        }
        const std::vector<Event>& events = m_snapshot.newEvents->events;
        const std::size_t unlisted = m_snapshot.newEvents->unlisted.size();
        const std::string more =
            unlisted == 0 ? "" : format(", and {} not listed (veskctl events --peek)", unlisted);
        if (events.empty()) {
            return "none" + more;
        }
        Event gravest;
        for (const Event& event : events) {
            if (event.severity()) {
                gravest.severityCode = std::max(gravest.severityCode, event.severityCode);
            }
        }
        return format("{}, the gravest {}{}", events.size(),
                      gravest.severity().value_or(kUnnamedSeverity),
                      more.empty() ? " (veskctl events)" : more);
    }

    void addDisk(const Disk& disk, const Health& health) {
        const bool present = disk.presence == Presence::Present;
        const std::optional<Wear> wear = health.wear();
        std::vector<std::string> cells = diskIdentityCells(disk, Padding::Trim);
        cells.push_back(disk.stateText());
        cells.emplace_back(present ? health.status() : "-");
        cells.push_back(percentText(valueOf<unsigned>(wear, &Wear::percentageUsed)));
        cells.push_back(percentText(valueOf<unsigned>(wear, &Wear::availableSpare)));
        const bool calm =
            !wantsAttention(disk, m_thresholds) && !wantsAttention(health, m_thresholds);
        m_report.grid.addRow(cells, calm ? Tone::Plain : Tone::Warning);
    }

    const Snapshot& m_snapshot;
    const Verdict& m_verdict;
    const Thresholds& m_thresholds;
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
    StatusView(snapshot, verdict, thresholds, context.width, report).show();
}

}  // namespace

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
