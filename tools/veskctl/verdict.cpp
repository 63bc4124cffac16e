#include "veskctl/verdict.h"

#include "veskctl/format.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace veskctl {

namespace {

constexpr unsigned kHealthBit = 1U << 5U;  // of the RAID status
constexpr unsigned kNormalVolume = 0;

class Judge {
public:
    Judge(const Snapshot& snapshot, const Thresholds& thresholds)
        : m_snapshot(snapshot), m_thresholds(thresholds) {}

    Verdict judge() {
        judgeReach();
        if (m_snapshot.reach == Reach::Answering) {
            judgeController();
            judgeEvents();
            for (const Volume& volume : m_snapshot.volumes) {
                judgeVolume(volume);
            }
            for (std::size_t index = 0; index < m_snapshot.disks.size(); ++index) {
                judgeDisk(m_snapshot.disks[index], m_snapshot.health[index]);
            }
        }
        judgeFindings();
        const auto worse = [](const Reason& left, const Reason& right) {
            return left.level > right.level;
        };
        std::stable_sort(m_verdict.reasons.begin(), m_verdict.reasons.end(), worse);
        if (!m_verdict.reasons.empty()) {
            m_verdict.level = m_verdict.reasons.front().level;
        }
        return m_verdict;
    }

private:
    void add(Level level, const std::string& code, const std::string& subject,
             const std::string& text) {
        const std::vector<std::string>& ignored = m_thresholds.ignored;
        if (std::find(ignored.begin(), ignored.end(), code) == ignored.end()) {
            m_verdict.reasons.push_back({level, code, subject, text});
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
        const Controller& controller = *m_snapshot.controller;
        const unsigned present = m_snapshot.disksPresent();
        if (controller.physicalDiskCount > present + disksUnknown()) {
            add(Level::Critical, "disks_not_listed", "controller",
                format("it counts {} disks, and {} of them can be seen",
                       controller.physicalDiskCount, present));
        } else if (present + disksUnknown() == 0) {
            add(Level::Warning, "no_disk", "controller", "it has no disk");
        }
        if (controller.virtualDiskCount > m_snapshot.volumesPresent() + volumesUnknown()) {
            add(Level::Critical, "volumes_not_listed", "controller",
                format("it counts {} volumes, and {} of them can be seen",
                       controller.virtualDiskCount, m_snapshot.volumesPresent()));
        }
        if (controller.link.downgraded().value_or(false)) {
            add(Level::Warning, "link_below_maximum", "link",
                format("{}, and it can do {}", linkText(controller.link),
                       maxLinkText(controller.link)));
        }
    }

    void judgeEvents() {
        const std::optional<EventReading>& events = m_snapshot.newEvents;
        if (!events && m_snapshot.hostFiles.alerts) {
            add(Level::Unknown, "events_unknown", "events", "they could not be looked at");
        } else if (events && events->numbersBeganAnew) {
            add(Level::Warning, "events_below_mark", "events",
                format("the controller's numbers are below the mark {}: they began anew, and no "
                       "event is reported until they pass it",
                       events->mark));
        }
    }

    void judgeVolume(const Volume& volume) {
        const std::string subject = format("volume {}", volume.id);
        if (volume.presence == Presence::Unknown) {
            add(Level::Unknown, "volume_not_responding", subject, "it did not answer");
        }
        if (volume.presence != Presence::Present) {
            return;
        }
        const unsigned members = volume.info->hdCount;
        if (members > m_snapshot.disksPresent() + disksUnknown()) {
            add(Level::Critical, "members_missing", subject,
                format("it has {} members, and {} {} there", members, m_snapshot.disksPresent(),
                       m_snapshot.disksPresent() == 1 ? "disk is" : "disks are"));
        }
        if (volume.info->status != kNormalVolume) {
            add(Level::Warning, "volume_status", subject,
                format("its status is {}, and {} is the normal one", volume.info->status,
                       kNormalVolume));
        }
    }

    void judgeDisk(const Disk& disk, const Health& health) {
        const std::string subject = format("disk {}", disk.slot);
        if (disk.presence == Presence::Unknown) {
            add(Level::Unknown, "disk_not_responding", subject, "it did not answer");
        }
        if (disk.presence != Presence::Present) {
            return;
        }
        judgeState(disk, subject);
        judgeAlert(disk, health, subject);
        judgeWear(health, subject);
    }

    void judgeState(const Disk& disk, const std::string& subject) {
        const std::optional<bool> online = disk.online();
        if (!online || !disk.raidStatus) {
            add(Level::Unknown, "disk_state_unknown", subject, "its state is not known");
        }
        if (online && !*online && membersNeeded() > disksOnline()) {
            add(Level::Warning, "disk_not_online", subject,
                "it is not online, and a volume needs it");
        }
    }

    void judgeAlert(const Disk& disk, const Health& health, const std::string& subject) {
        const bool bit = disk.raidStatus && (disk.raidStatus->raidStatus & kHealthBit) != 0;
        const std::string smart = health.status();
        if (bit || smart == "alert") {
            add(Level::Critical, "disk_health_alert", subject,
                smart == "alert" ? "its SMART status is an alert"
                                 : "the RAID status has the health alert");
        } else if (smart == "unknown" && health.record) {
            add(Level::Warning, "smart_status_unknown", subject,
                format("its SMART status {} has no name", health.record->smartStatus));
        }
    }

    void judgeWear(const Health& health, const std::string& subject) {
        const std::optional<Wear> wear = health.wear();
        if (!wear) {
            add(Level::Unknown, "disk_health_unknown", subject, "its health is not known");
            return;
        }
        if (wear->spareLow()) {
            add(Level::Critical, "spare_below_threshold", subject,
                format("spare {} % is below its threshold of {} %", wear->availableSpare,
                       wear->availableSpareThreshold));
        } else if (wear->availableSpare <=
                   wear->availableSpareThreshold + m_thresholds.spareMargin) {
            add(Level::Warning, "spare_near_threshold", subject,
                format("spare {} % is near its threshold of {} %", wear->availableSpare,
                       wear->availableSpareThreshold));
        }
        const std::string used = format("{} % of its rated life is used", wear->percentageUsed);
        if (wear->percentageUsed >= m_thresholds.usedCritical) {
            add(Level::Critical, "life_used", subject, used);
        } else if (wear->percentageUsed >= m_thresholds.usedWarning) {
            add(Level::Warning, "life_used", subject, used);
        }
    }

    // What keeps the library from working, and a controller that it does not follow.
    void judgeFindings() {
        for (const Finding& finding : m_snapshot.hostFiles.findings) {
            if (finding.severity == Severity::Error) {
                add(Level::Warning, finding.code, "host files",
                    (finding.path.empty() ? "" : finding.path + ": ") + finding.text);
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
    const Thresholds& m_thresholds;
    Verdict m_verdict;
};

}  // namespace

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
