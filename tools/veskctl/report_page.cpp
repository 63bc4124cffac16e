#include "veskctl/report_page.h"

#include "veskctl/command.h"
#include "veskctl/file_replacement.h"
#include "veskctl/format.h"
#include "veskctl/output.h"
#include "veskctl/printable.h"
#include "veskctl/program_version.h"
#include "veskctl/report.h"
#include "veskctl/report_style.h"
#include "veskctl/report_timeline.h"
#include "veskctl/sizes.h"

#include <algorithm>
#include <memory>

namespace veskctl {

namespace {

constexpr std::size_t kMostEventRows = 200;

const char* signOf(const std::string& level) {
    return level == "ok" || level == "info" ? "✓" : level == "unknown" ? "?" : "!";
}

// The class that colours it, for a level or a severity.
const char* classOf(const std::string& level) {
    if (level == "ok" || level == "info" || level == "other") {
        return "ok";
    }
    if (level == "critical" || level == "error" || level == "fatal" || level == "major") {
        return "critical";
    }
    return level == "unknown" ? "unknown" : "warning";
}

std::string levelMark(const std::string& level) {
    return format("<span class=\"level {}\">{} {}</span>", classOf(level), signOf(level),
                  inHtml(level));
}

class Page {
public:
    Page(const Moment& moment, bool simulated) : m_moment(moment), m_simulated(simulated) {}

    std::string render(const std::string& document) {
        addHead();
        addVerdict();
        addController();
        addVolumes();
        addDisks();
        addHealth();
        addEvents();
        addFindings();
        addData(document);
        return m_html;
    }

private:
    const Snapshot& snapshot() const { return m_moment.snapshot; }

    void addHead() {
        const std::string taken = timeText(snapshot().takenAt).value_or("an unknown time");
        m_html += "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                  "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                  // Nothing is fetched and nothing runs, whatever a device calls itself.
                  "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
                  "style-src 'unsafe-inline'; img-src data:\">\n"
                  // Else a browser would ask for one.
                  "<link rel=\"icon\" href=\"data:,\">\n";
        m_html += format("<title>{}NVMe RAID controller: {}, {}</title>\n<style>{}</style>\n"
                         "</head>\n<body>\n",
                         m_simulated ? "SIMULATED HOST – " : "", levelName(m_moment.verdict.level),
                         inHtml(taken), kReportStyle);
        if (m_simulated) {
            m_html += "<p class=\"simulated\">SIMULATED HOST: nothing here is about a real "
                      "machine.</p>\n";
        }
        m_html += format("<header>\n<h1>NVMe RAID controller</h1>\n<p class=\"soft\">As it was at "
                         "<time datetime=\"{0}\">{0}</time></p>\n</header>\n<main>\n",
                         inHtml(taken));
    }

    void addVerdict() {
        const std::string name = levelName(m_moment.verdict.level);
        m_html += format("<section class=\"verdict {}\" aria-label=\"Verdict\">\n<strong>{} "
                         "Verdict: {}</strong>\n",
                         classOf(name), signOf(name), name);
        if (m_moment.verdict.reasons.empty()) {
            m_html += "<p class=\"soft\">Nothing speaks against it.</p>\n";
        } else {
            m_html += "<ul>\n";
            for (const Reason& reason : m_moment.verdict.reasons) {
                m_html += format("<li>{} {}: {}</li>\n", levelMark(levelName(reason.level)),
                                 inHtml(reason.subject), inHtml(reason.text));
            }
            m_html += "</ul>\n";
        }
        m_html += "</section>\n<nav aria-label=\"Contents\"><ul>"
                  "<li><a href=\"#controller\">Controller and link</a></li>"
                  "<li><a href=\"#volumes\">Volumes</a></li>"
                  "<li><a href=\"#disks\">Disks</a></li>"
                  "<li><a href=\"#health\">Health</a></li>"
                  "<li><a href=\"#events\">Events</a></li>"
                  "<li><a href=\"#host\">Host</a></li>"
                  "<li><a href=\"#data\">Data</a></li></ul></nav>\n";
    }

    // What the verdict says of one thing, or of one reason about it.
    std::string levelOf(const std::string& subject, const std::string& code = "") const {
        Level worst = Level::Ok;
        for (const Reason& reason : m_moment.verdict.reasons) {
            if (reason.subject == subject && (code.empty() || reason.code == code)) {
                worst = std::max(worst, reason.level);
            }
        }
        return levelName(worst);
    }

    // With a state that wants attention even where the verdict has nothing against it: an empty
    // slot is no "ok".
    std::string stateOf(const std::string& subject, bool wantsAttention,
                        const std::string& text) const {
        const std::string level = levelOf(subject);
        return levelMark(level == "ok" && wantsAttention ? "warning" : level) + ' ' + inHtml(text);
    }

    void openSection(const char* id, const char* title) {
        m_html += format("<section aria-labelledby=\"{0}\">\n<h2 id=\"{0}\">{1}</h2>\n", id, title);
    }

    void closeSection() { m_html += "</section>\n"; }

    void addTerm(const char* name, const std::string& value) {
        m_html += format("<div><dt>{}</dt><dd>{}</dd></div>\n", name, value);
    }

    void addController() {
        openSection("controller", "Controller and link");
        if (!snapshot().controller) {
            m_html += "<p>There is no answer of a controller.</p>\n";
            return closeSection();
        }
        const Controller& controller = *snapshot().controller;
        const std::optional<bool> below = controller.link.downgraded();
        m_html += "<dl>\n";
        addTerm("State", controller.responding() ? "answers" : levelMark("unknown") + " silent");
        addTerm("PCI address", inHtml(controller.pci.address().value_or("not reported")));
        addTerm("Vendor and device",
                format("{:04x}:{:04x}", controller.pci.vendorId, controller.pci.deviceId));
        addTerm("Subsystem", format("{:04x}:{:04x}", controller.pci.subsystemVendorId,
                                    controller.pci.subsystemDeviceId));
        addTerm("Firmware", inHtml(controller.firmwareVersionText()));
        addTerm("Disks, volumes, ports", format("{}, {}, {}", controller.physicalDiskCount,
                                                controller.virtualDiskCount, controller.portCount));
        addTerm("PCIe link now", inHtml(linkText(controller.link)));
        addTerm("PCIe link at most", inHtml(maxLinkText(controller.link)));
        addTerm("Link below maximum", !below   ? "unknown"
                                      : *below ? levelMark("warning") + " yes: the slot may limit "
                                                                        "it, or it is idle"
                                               : "no");
        m_html += "</dl>\n";
        closeSection();
    }

    void openTable(const std::vector<const char*>& titles, const std::vector<bool>& numbers) {
        m_html += "<div class=\"scroll\"><table>\n<thead><tr>";
        for (std::size_t index = 0; index < titles.size(); ++index) {
            m_html += format("<th scope=\"col\"{}>{}</th>",
                             numbers[index] ? " class=\"number\"" : "", titles[index]);
        }
        m_html += "</tr></thead>\n<tbody>\n";
    }

    void closeTable() { m_html += "</tbody>\n</table></div>\n"; }

    // Cells are markup already.
    void addRow(const std::vector<std::string>& cells, const std::vector<bool>& numbers) {
        m_html += "<tr>";
        for (std::size_t index = 0; index < cells.size(); ++index) {
            m_html +=
                format("<td{}>{}</td>", numbers[index] ? " class=\"number\"" : "", cells[index]);
        }
        m_html += "</tr>\n";
    }

    void addVolumes() {
        openSection("volumes", "Volumes");
        const std::vector<bool> numbers = {false, false, false, true, true, false};
        bool any = false;
        for (const Volume& volume : snapshot().volumes) {
            if (volume.presence == Presence::Absent) {
                continue;
            }
            if (!any) {
                openTable({"Volume", "Name", "RAID", "Members", "Size", "State"}, numbers);
                any = true;
            }
            const std::optional<std::uint64_t> bytes = volume.capacityBytes();
            addRow({format("{}", volume.id), inHtml(volume.name().value_or("–")),
                    inHtml(volume.raidLevel().value_or("–")),
                    volume.info ? format("{}", volume.info->hdCount) : "–",
                    bytes ? sizeText(*bytes) : "–",
                    stateOf(format("volume {}", volume.id), wantsAttention(volume),
                            volume.stateText())},
                   numbers);
        }
        if (any) {
            closeTable();
        } else {
            m_html += "<p>There is no volume.</p>\n";
        }
        closeSection();
    }

    void addDisks() {
        openSection("disks", "Disks");
        if (snapshot().disks.empty()) {
            m_html += "<p>No disk could be looked at.</p>\n";
            return closeSection();
        }
        const std::vector<bool> numbers = {false, false, false, false, true, false};
        openTable({"Disk", "Model", "Serial number", "Firmware", "Size*", "State"}, numbers);
        for (const Disk& disk : snapshot().disks) {
            addRow({format("{}", disk.slot), inHtml(disk.modelName(Padding::Trim).value_or("–")),
                    inHtml(disk.serialNumber(Padding::Trim).value_or("–")),
                    inHtml(disk.firmwareVersion(Padding::Trim).value_or("–")),
                    sizeCell(valueOf<std::uint64_t>(disk.info, &PD_Info::size), disk),
                    stateOf(format("disk {}", disk.slot), wantsAttention(disk), disk.stateText())},
                   numbers);
        }
        closeTable();
        m_html += "<p class=\"soft\">* if counted in blocks of the disk: the controller does not "
                  "state the unit</p>\n";
        closeSection();
    }

    // mark: where on the bar a line stands; -1: nowhere.
    void addBar(const char* name, unsigned percent, const std::string& level, int mark,
                const std::string& remark) {
        m_html +=
            format("<div class=\"bar-label\"><span>{}</span><span>{} %{}</span></div>"
                   "<div class=\"bar {}\" role=\"img\" aria-label=\"{} {} percent\">"
                   "<i style=\"width:{}%\"></i>",
                   name, percent, remark, classOf(level), name, percent, std::min(percent, 100U));
        if (mark >= 0) {
            m_html += format("<b style=\"left:{}%\"></b>", std::min(mark, 100));
        }
        m_html += "</div>\n";
    }

    void addHealth() {
        openSection("health", "Health");
        m_html += "<div class=\"bars\">\n";
        for (const Health& health : snapshot().health) {
            const std::optional<Wear> wear = health.wear();
            const std::string disk = format("disk {}", health.disk.slot);
            m_html +=
                format("<div><h3>Disk {} <span class=\"soft\">{}</span></h3>\n", health.disk.slot,
                       inHtml(health.disk.serialNumber(Padding::Trim).value_or("")));
            if (health.disk.presence != Presence::Present) {
                m_html +=
                    format("<p>{} {}</p></div>\n", levelMark("warning"), health.disk.stateText());
                continue;
            }
            const std::string alert = levelOf(disk, "disk_health_alert");
            m_html += format("<p>SMART status: <span class=\"level {}\">{} {}</span></p>\n",
                             classOf(alert), signOf(alert), inHtml(health.statusText()));
            if (wear) {
                addBar("Rated life used", wear->percentageUsed, levelOf(disk, "life_used"), -1,
                       wear->percentageUsed > 100 ? " – beyond it" : "");
                const std::string low = levelOf(disk, "spare_below_threshold");
                addBar("Spare left", wear->availableSpare,
                       low == "ok" ? levelOf(disk, "spare_near_threshold") : low,
                       static_cast<int>(wear->availableSpareThreshold),
                       format(", threshold {} %", wear->availableSpareThreshold));
            } else {
                m_html += "<p>Wear and spare are not known.</p>\n";
            }
            m_html += "</div>\n";
        }
        m_html += "</div>\n";
        closeSection();
    }

    void addEvents() {
        openSection("events", "Events");
        const std::vector<Event>& events = m_moment.events.events;
        if (events.empty()) {
            m_html += snapshot().reach == Reach::Answering
                          ? "<p>The controller holds no event that the alert mapping names.</p>\n"
                          : "<p>The controller's log could not be read.</p>\n";
            return closeSection();
        }
        m_html += timelineOf(events);
        const std::vector<bool> numbers = {true, false, false, false, true, true, false};
        openTable({"Number", "Time (UTC)", "Severity", "Class", "Device", "Code", "Message"},
                  numbers);
        const std::size_t rows = std::min(events.size(), kMostEventRows);
        for (auto event = events.rbegin();
             event != events.rbegin() + static_cast<std::ptrdiff_t>(rows); ++event) {
            const std::string severity = event->severity().value_or("unknown");
            addRow({format("{}", event->sequence), event->time().value_or("–"), levelMark(severity),
                    inHtml(event->className().value_or(format("class {}", event->classCode))),
                    format("{}", event->deviceId), format("{}", event->code),
                    inHtml(deviceText(event->message, Padding::Trim).value_or("–"))},
                   numbers);
        }
        closeTable();
        if (rows < events.size()) {
            m_html += format("<p class=\"soft\">{} older ones stand in the data below.</p>\n",
                             events.size() - rows);
        }
        closeSection();
    }

    void addFindings() {
        openSection("host", "Host");
        const std::vector<bool> numbers(4, false);
        openTable({"", "Where", "What", "What to do"}, numbers);
        for (const Finding& finding : m_moment.findings) {
            std::string place = finding.path.empty() ? "–" : finding.path;
            if (finding.line) {
                place += format(", line {}", *finding.line);
            }
            const bool calm = finding.severity == Severity::Info;
            addRow({levelMark(calm ? "ok" : severityName(finding.severity)), inHtml(place),
                    inHtml(finding.text), finding.remedy.empty() ? "–" : inHtml(finding.remedy)},
                   numbers);
        }
        closeTable();
        closeSection();
    }

    void addData(const std::string& document) {
        openSection("data", "Data");
        m_html += "<details><summary>Everything as one JSON document</summary>\n"
                  "<pre id=\"json\" tabindex=\"0\">" +
                  inHtml(document, true) + "</pre></details>\n";
        closeSection();
        m_html += format("</main>\n<footer>Written by veskctl {}.</footer>\n</body>\n</html>\n",
                         kProgramVersion);
    }

    const Moment& m_moment;
    bool m_simulated;
    std::string m_html;
};

void runReport(const CommandContext& context, const std::string& path, Report& report) {
    report.fields["path"] = path;
    report.fields["size_bytes"] = nullptr;
    report.fields["verdict"] = nullptr;
    const Moment moment = takeMoment(context, report);
    const bool simulated = context.simulated || report.simulated;
    Report content;
    content.fields = momentToJson(moment);
    content.problems = report.problems;
    content.host = context.host;
    const std::string page = reportPage(moment, simulated, renderJson("dump", content, simulated));
    replaceFile(path, page);
    report.fields["size_bytes"] = page.size();
    report.fields["verdict"] = verdictToJson(moment.verdict);
    report.text = format("Written: {} ({}). The verdict is {}.\n", printable(path),
                         sizeText(page.size()), levelName(moment.verdict.level));
}

}  // namespace

std::string reportPage(const Moment& moment, bool simulated, const std::string& document) {
    return Page(moment, simulated).render(document);
}

Command reportCommand() {
    return {"report",
            "Write an HTML page for a support case",
            [](Options& options) {
                const auto path = std::make_shared<std::string>();
                options.addPath(*path, "FILE", "The page to write; one that is there is replaced",
                                true);
                options.addRemark("The page needs no network and nothing beside it. It carries "
                                  "what 'veskctl dump' writes.");
                return CommandRunner([path](const CommandContext& context, Report& report) {
                    runReport(context, *path, report);
                });
            },
            {},
            false,
            {{"report controller.html", "a page for any browser"}}};
}

}  // namespace veskctl
