#include "veskctl/verdict.h"

#include "veskctl/format.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <functional>

namespace veskctl {

namespace {

// Bits of the status byte that have a meaning.
constexpr unsigned kOnlineBit = 1U << 0U;
constexpr unsigned kHealthBit = 1U << 5U;
constexpr unsigned kNormalVolume = 0;
constexpr unsigned kMirror = 1;  // RAID mode
constexpr unsigned kMostPercent = 100;

// Reasons that were not asked to be left out.
class Reasons {
public:
    explicit Reasons(const Thresholds& thresholds) : m_thresholds(thresholds) {}

    void add(Level level, const std::string& code, const std::string& subject,
             const std::string& text) {
        const std::vector<std::string>& ignored = m_thresholds.ignored;
        if (std::find(ignored.begin(), ignored.end(), code) == ignored.end()) {
            m_list.push_back({level, code, subject, text});
        }
    }

    const Thresholds& thresholds() const { return m_thresholds; }
    const std::vector<Reason>& list() const { return m_list; }

private:
    const Thresholds& m_thresholds;
    std::vector<Reason> m_list;
};

std::string nameOf(const Disk& disk) {
    return format("disk {}", disk.slot);
}

void addSilence(const Disk& disk, Reasons& reasons) {
    if (disk.presence == Presence::Unknown) {
        reasons.add(Level::Unknown, "disk_not_responding", nameOf(disk), "it did not answer");
    }
}

void addState(const Disk& disk, Reasons& reasons) {
    if (!disk.config || !disk.raidStatus) {
        reasons.add(Level::Unknown, "disk_state_unknown", nameOf(disk), "its state is not known");
        return;
    }
    const unsigned status = disk.raidStatus->raidStatus;
    if ((disk.config->online != 0) != ((status & kOnlineBit) != 0)) {
        reasons.add(Level::Unknown, "disk_state_unknown", nameOf(disk),
                    "it is online by one answer, and not by another");
    }
    if ((status & ~(kOnlineBit | kHealthBit)) != 0) {
        reasons.add(Level::Warning, "disk_status_unnamed", nameOf(disk),
                    format("its status 0x{:02x} has bits without a known meaning", status));
    }
}

void addSmartStatus(const Health& health, Reasons& reasons) {
    const std::string status = health.status();
    if (status == "alert") {
        reasons.add(Level::Critical, "disk_health_alert", nameOf(health.disk),
                    "its SMART status is an alert");
    } else if (status == "unknown" && health.record) {
        reasons.add(Level::Warning, "smart_status_unknown", nameOf(health.disk),
                    format("its SMART status {} has no name", health.record->smartStatus));
    }
}

void addSpare(const Wear& wear, const std::string& subject, Reasons& reasons) {
    if (wear.availableSpare > kMostPercent) {
        reasons.add(Level::Unknown, "disk_health_unknown", subject,
                    format("a spare of {} % cannot be", wear.availableSpare));
    } else if (wear.spareLow()) {
        reasons.add(Level::Critical, "spare_below_threshold", subject,
                    format("spare {} % is below its threshold of {} %", wear.availableSpare,
                           wear.availableSpareThreshold));
    } else if (wear.availableSpare <=
               wear.availableSpareThreshold + reasons.thresholds().spareMargin) {
        reasons.add(Level::Warning, "spare_near_threshold", subject,
                    format("spare {} % is near its threshold of {} %", wear.availableSpare,
                           wear.availableSpareThreshold));
    }
}

void addWear(const Health& health, Reasons& reasons) {
    const std::optional<Wear> wear = health.wear();
    const std::string subject = nameOf(health.disk);
    if (!wear) {
        reasons.add(Level::Unknown, "disk_health_unknown", subject, "its health is not known");
        return;
    }
    addSpare(*wear, subject, reasons);
    const std::string used = format("{} % of its rated life is used", wear->percentageUsed);
    if (wear->percentageUsed >= reasons.thresholds().usedCritical) {
        reasons.add(Level::Critical, "life_used", subject, used);
    } else if (wear->percentageUsed >= reasons.thresholds().usedWarning) {
        reasons.add(Level::Warning, "life_used", subject, used);
    }
}

std::string diskCount(unsigned count) {
    return format("{} {}", count, count == 1 ? "disk" : "disks");
}

class Judge {
public:
    Judge(const Snapshot& snapshot, const Thresholds& thresholds)
        : m_snapshot(snapshot), m_reasons(thresholds) {}

    Verdict judge() {
        judgeReach();
        if (m_snapshot.reach == Reach::Answering) {
            judgeController();
            for (const Volume& volume : m_snapshot.volumes) {
                judgeVolume(volume);
            }
            for (std::size_t index = 0; index < m_snapshot.disks.size(); ++index) {
                judgeDisk(m_snapshot.disks[index], m_snapshot.health[index]);
            }
            judgeEvents();
        }
        judgeFindings();
        judgeProblems();
        const auto worse = [](const Reason& left, const Reason& right) {
            return left.level > right.level;
        };
        Verdict verdict;
        verdict.reasons = m_reasons.list();
        std::stable_sort(verdict.reasons.begin(), verdict.reasons.end(), worse);
        if (!verdict.reasons.empty()) {
            verdict.level = verdict.reasons.front().level;
        }
        return verdict;
    }

private:
    void add(Level level, const std::string& code, const std::string& subject,
             const std::string& text) {
        m_reasons.add(level, code, subject, text);
    }

    void addAll(const std::vector<Reason>& reasons) {
        for (const Reason& reason : reasons) {
            add(reason.level, reason.code, reason.subject, reason.text);
        }
    }

    void judgeReach() {
        if (m_snapshot.reach == Reach::Silent) {
            add(Level::Unknown, "controller_not_responding", "controller", "it does not answer");
        } else if (m_snapshot.reach != Reach::Answering) {
            for (const Problem& problem : m_snapshot.problems) {
                add(Level::Unknown, problemName(problem.kind), "controller", problem.message);
            }
        }
    }

    void judgeController() {
        judgeCounts();
        const Controller& controller = *m_snapshot.controller;
        if (controller.link.downgraded().value_or(false)) {
            add(Level::Warning, "link_below_maximum", "link",
                format("{}, and it can do {}", linkText(controller.link),
                       maxLinkText(controller.link)));
        } else if (!controller.link.isKnown()) {
            add(Level::Warning, "link_unknown", "link",
                "it is not known: the host's PCI files do not tell (veskctl doctor)");
        }
        judgeSerials();
    }

    // Whoever names a disk by it may get the other one.
    void judgeSerials() {
        const std::optional<std::string> serial = serialOfSeveral(m_snapshot.disks);
        if (serial) {
            add(Level::Warning, "serial_number_twice", "controller",
                format("both disks have the serial number '{}'", *serial));
        }
    }

    // What the controller counts, beside what can be asked for.
    void judgeCounts() {
        const Controller& controller = *m_snapshot.controller;
        const unsigned disks = m_snapshot.disksPresent();
        const unsigned mostDisks = disks + disksUnknown();
        const unsigned volumes = m_snapshot.volumesPresent();
        const unsigned mostVolumes = volumes + volumesUnknown();
        if (controller.physicalDiskCount > mostDisks) {
            add(Level::Critical, "disks_not_listed", "controller",
                format("it counts {}, and {} of them can be seen",
                       diskCount(controller.physicalDiskCount), disks));
        } else if (controller.physicalDiskCount < disks) {
            add(Level::Warning, "disks_not_counted", "controller",
                format("it counts {}, and {} can be seen", diskCount(controller.physicalDiskCount),
                       disks));
        } else if (mostDisks == 0) {
            add(Level::Warning, "no_disk", "controller", "it has no disk");
        }
        if (controller.virtualDiskCount > mostVolumes) {
            add(Level::Critical, "volumes_not_listed", "controller",
                format("it counts {} volumes, and {} of them can be seen",
                       controller.virtualDiskCount, volumes));
        } else if (controller.virtualDiskCount < volumes) {
            add(Level::Warning, "volumes_not_counted", "controller",
                format("it counts {} volumes, and {} can be seen", controller.virtualDiskCount,
                       volumes));
        } else if (mostVolumes == 0 && disks > 0) {
            add(Level::Warning, "no_volume", "controller", "it has disks, and no volume");
        }
    }

    void judgeEvents() {
        if (!m_snapshot.hostFiles.eventsAreReported()) {
            return;  // a finding tells
        }
        const std::optional<EventReading>& events = m_snapshot.newEvents;
        if (!events || events->problem) {
            add(Level::Unknown, "events_unknown", "events", "they could not be looked at");
            return;
        }
        if (const std::optional<Problem> doubt = doubtAbout(*events)) {
            add(Level::Unknown, problemName(doubt->kind), "events", doubt->message);
        }
        if (events->numbersBeganAnew) {
            add(Level::Warning, "events_below_mark", "events", describeAnew(*events));
        }
        if (events->gap) {
            add(Level::Warning, "events_missed", "events",
                format("the controller overwrote {} before they were read",
                       events->gap->missing()));
        }
        judgeSeverities(events->events);
        judgeUnlisted(events->unlisted);
    }

    static std::string describeAnew(const EventReading& events) {
        if (events.belowMark.empty()) {
            return format("the controller's numbers are below the mark {}: they began anew, and no "
                          "event is reported until they pass it",
                          events.mark);
        }
        return format("the controller's numbers began anew: {} below the mark {}, last '{}'",
                      events.belowMark.size(), events.mark, messageOf(events.belowMark.back()));
    }

    static std::string messageOf(const Event& event) {
        return deviceText(event.message, Padding::Trim).value_or("-");
    }

    template <class Wanted>
    void judgeSome(const std::vector<Event>& events, Wanted wanted, const std::string& code,
                   const std::string& what) {
        const auto last = std::find_if(events.rbegin(), events.rend(), wanted);
        if (last != events.rend()) {
            add(Level::Warning, code, "events",
                format("{} {}, last '{}'", std::count_if(events.begin(), events.end(), wanted),
                       what, messageOf(*last)));
        }
    }

    void judgeSeverities(const std::vector<Event>& events) {
        const auto unranked = [](const Event& event) {
            return !event.isRanked();
        };
        judgeSome(events, std::mem_fn(&Event::isGrave), "grave_events", "major or worse");
        judgeSome(events, unranked, "events_of_unknown_severity", "of unknown severity");
    }

    // Nobody gets to see them.
    void judgeUnlisted(const std::vector<Event>& events) {
        judgeSome(events, std::mem_fn(&Event::callsForSomebody), "events_not_listed",
                  "not reported (veskctl events --peek): the alert mapping lacks the code");
    }

    void judgeVolume(const Volume& volume) {
        addAll(reasonsOf(volume));
        if (volume.presence != Presence::Present) {
            return;
        }
        const unsigned members = volume.info->hdCount;
        if (members > m_snapshot.disksPresent() + disksUnknown()) {
            add(Level::Critical, "members_missing", format("volume {}", volume.id),
                format("it has {} members, and {} {} there", members,
                       diskCount(m_snapshot.disksPresent()),
                       m_snapshot.disksPresent() == 1 ? "is" : "are"));
        }
    }

    void judgeDisk(const Disk& disk, const Health& health) {
        std::vector<Reason> reasons = reasonsOf(disk);
        if (disk.presence == Presence::Present) {
            judgeOnline(disk);
            const std::vector<Reason> ofHealth = reasonsOf(health, m_reasons.thresholds());
            if (hasReason(ofHealth, "disk_health_alert")) {  // told once
                reasons.erase(std::remove_if(reasons.begin(), reasons.end(),
                                             [](const Reason& reason) {
                                                 return reason.code == "disk_health_alert";
                                             }),
                              reasons.end());
            }
            reasons.insert(reasons.end(), ofHealth.begin(), ofHealth.end());
        }
        addAll(reasons);
    }

    void judgeOnline(const Disk& disk) {
        const std::optional<bool> online = disk.online();
        if (online && !*online && membersNeeded() > disksOnline()) {
            add(Level::Warning, "disk_not_online", nameOf(disk),
                "it is not online, and a volume needs it");
        }
    }

    // Whatever else was not answered: a part of the truth is missing.
    void judgeProblems() {
        const auto unknown = [](const Reason& reason) {
            return reason.level == Level::Unknown;
        };
        const std::vector<Reason>& told = m_reasons.list();
        if (m_snapshot.reach != Reach::Answering ||
            std::any_of(told.begin(), told.end(), unknown)) {
            return;
        }
        for (const Problem& problem : m_snapshot.problems) {
            add(Level::Unknown, problemName(problem.kind), "controller", problem.message);
        }
    }

    // What keeps the library from working, and a controller that it does not follow.
    void judgeFindings() {
        for (const Finding& finding : m_snapshot.hostFiles.findings) {
            if (finding.severity == Severity::Error) {
                // Without a row no event is reported, so none is known.
                const bool blind =
                    !m_snapshot.hostFiles.eventsAreReported() && hidesEvents(finding);
                add(blind ? Level::Unknown : Level::Warning, finding.code, "host files",
                    finding.text + (finding.path.empty() ? "" : " (" + finding.path + ")"));
            } else if (finding.code == "controller_not_followed") {
                add(Level::Warning, finding.code, "controller", finding.text);
            }
        }
    }

    unsigned disksUnknown() const {
        return static_cast<unsigned>(
            std::count_if(m_snapshot.disks.begin(), m_snapshot.disks.end(),
                          [](const Disk& disk) { return disk.presence == Presence::Unknown; }));
    }

    unsigned volumesUnknown() const {
        return static_cast<unsigned>(std::count_if(
            m_snapshot.volumes.begin(), m_snapshot.volumes.end(),
            [](const Volume& volume) { return volume.presence == Presence::Unknown; }));
    }

    unsigned disksOnline() const {
        return static_cast<unsigned>(
            std::count_if(m_snapshot.disks.begin(), m_snapshot.disks.end(),
                          [](const Disk& disk) { return disk.online().value_or(false); }));
    }

    // Which disks a volume consists of is not known, only how many.
    unsigned membersNeeded() const {
        unsigned most = 0;
        for (const Volume& volume : m_snapshot.volumes) {
            if (volume.info) {
                most = std::max<unsigned>(most, volume.info->hdCount);
            }
        }
        return most;
    }

    const Snapshot& m_snapshot;
    Reasons m_reasons;
};

}  // namespace

std::vector<Reason> reasonsOf(const Disk& disk, const Thresholds& thresholds) {
    Reasons reasons(thresholds);
    addSilence(disk, reasons);
    if (disk.presence == Presence::Present) {
        addState(disk, reasons);
        if (disk.healthAlert().value_or(false)) {
            reasons.add(Level::Critical, "disk_health_alert", nameOf(disk),
                        "the RAID status has the health alert");
        }
    }
    return reasons.list();
}

std::vector<Reason> reasonsOf(const Health& health, const Thresholds& thresholds) {
    Reasons reasons(thresholds);
    addSilence(health.disk, reasons);
    if (health.disk.presence == Presence::Present) {
        addSmartStatus(health, reasons);
        addWear(health, reasons);
    }
    return reasons.list();
}

std::vector<Reason> reasonsOf(const Volume& volume, const Thresholds& thresholds) {
    Reasons reasons(thresholds);
    const std::string subject = format("volume {}", volume.id);
    if (volume.presence == Presence::Unknown) {
        reasons.add(Level::Unknown, "volume_not_responding", subject, "it did not answer");
    }
    if (volume.presence != Presence::Present) {
        return reasons.list();
    }
    const unsigned members = volume.info->hdCount;
    if (members == 0 || (members == 1 && volume.info->raidMode == kMirror)) {
        reasons.add(Level::Critical, "members_missing", subject,
                    members == 0 ? "it has no member" : "it is a mirror, and has 1 member");
    }
    if (volume.info->status != kNormalVolume) {
        reasons.add(Level::Warning, "volume_status", subject,
                    format("its status is {}, and {} is the normal one", volume.info->status,
                           kNormalVolume));
    }
    return reasons.list();
}

bool wantsAttention(const Disk& disk, const Thresholds& thresholds) {
    return disk.presence == Presence::Absent || !reasonsOf(disk, thresholds).empty();
}

bool wantsAttention(const Health& health, const Thresholds& thresholds) {
    return health.disk.presence == Presence::Absent || !reasonsOf(health, thresholds).empty();
}

bool wantsAttention(const Volume& volume, const Thresholds& thresholds) {
    return volume.presence == Presence::Absent || !reasonsOf(volume, thresholds).empty();
}

bool hasReason(const std::vector<Reason>& reasons, const std::string& code) {
    return std::any_of(reasons.begin(), reasons.end(),
                       [&code](const Reason& reason) { return reason.code == code; });
}

std::vector<std::string> reasonCodes() {
    std::vector<std::string> codes = problemNames();
    codes.insert(codes.end(), {"controller_not_followed",
                               "disk_health_alert",
                               "disk_health_unknown",
                               "disk_not_online",
                               "disk_state_unknown",
                               "disk_status_unnamed",
                               "disks_not_counted",
                               "disks_not_listed",
                               "events_below_mark",
                               "events_missed",
                               "events_not_listed",
                               "events_of_unknown_severity",
                               "events_unknown",
                               "grave_events",
                               "life_used",
                               "link_below_maximum",
                               "members_missing",
                               "no_disk",
                               "no_volume",
                               "serial_number_twice",
                               "smart_status_unknown",
                               "spare_below_threshold",
                               "spare_near_threshold",
                               "volume_status",
                               "volumes_not_counted",
                               "volumes_not_listed"});
    // Of findings about the host's files that are errors.
    codes.insert(codes.end(),
                 {"ini_line_without_equals", "ini_none_found", "ini_unusable", "log_file_unusable",
                  "mapping_elsewhere", "mapping_empty", "mapping_missing", "mapping_unusable",
                  "mark_blanks", "mark_crlf", "mark_followed", "mark_leading_blanks",
                  "mark_missing", "mark_not_a_number", "mark_not_last", "mark_not_writable",
                  "mark_nul_bytes", "mark_too_large", "pci_file_unusable"});
    return codes;
}

Verdict judge(const Snapshot& snapshot, const Thresholds& thresholds) {
    return Judge(snapshot, thresholds).judge();
}

const char* levelName(Level level) {
    switch (level) {
    case Level::Warning:
        return "warning";
    case Level::Critical:
        return "critical";
    case Level::Unknown:
        return "unknown";
    case Level::Ok:
        break;
    }
    return "ok";
}

Json reasonToJson(const Reason& reason) {
    Json json;
    json["level"] = levelName(reason.level);
    json["code"] = reason.code;
    json["subject"] = reason.subject;
    json["text"] = reason.text;
    return json;
}

Json verdictToJson(const Verdict& verdict) {
    Json json;
    json["level"] = levelName(verdict.level);
    json["reasons"] = Json::array();
    for (const Reason& reason : verdict.reasons) {
        json["reasons"].push_back(reasonToJson(reason));
    }
    return json;
}

}  // namespace veskctl
