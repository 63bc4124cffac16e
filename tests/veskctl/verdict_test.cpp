#include "veskctl/verdict.h"

#include "samples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

using namespace veskctl;

namespace {

Disk goodDisk(unsigned slot) {
    Disk disk;
    disk.slot = slot;
    disk.presence = Presence::Present;
    disk.info = sampleDiskInfo();
    disk.info->serialNumber[0] = static_cast<char>('0' + slot);
    disk.config = sampleDiskConfig();
    disk.raidStatus = sampleRaidStatus();
    disk.raidStatus->raidStatus = 1;
    return disk;
}

void setWear(Health& health, std::uint8_t used, std::uint8_t spare, std::uint8_t threshold) {
    health.record->attributes[0].currentValue = used;
    health.record->attributes[1].currentValue = spare;
    health.record->attributes[1].thresholdValue = threshold;
}

// One controller at 3b:00.0, two disks, one mirror of them.
Snapshot goodSnapshot() {
    Snapshot snapshot;
    snapshot.reach = Reach::Answering;
    snapshot.controller = Controller();
    snapshot.controller->physicalDiskCount = 2;
    snapshot.controller->virtualDiskCount = 1;
    snapshot.controller->link = {3, 3, 4, 4};
    for (unsigned slot = 0; slot < 2; ++slot) {
        snapshot.disks.push_back(goodDisk(slot));
        Health health = {snapshot.disks.back(), sampleHealth(0x4F)};
        setWear(health, 2, 100, 10);
        snapshot.health.push_back(health);
    }
    snapshot.volumes.resize(2);
    snapshot.volumes[0].presence = Presence::Present;
    snapshot.volumes[0].info = VD_Info();
    snapshot.volumes[0].info->status = 0;
    snapshot.volumes[0].info->hdCount = 2;
    snapshot.volumes[1].id = 1;
    snapshot.volumes[1].presence = Presence::Absent;
    snapshot.hostFiles.alerts = AlertMapping();
    snapshot.hostFiles.alerts->rows.push_back({});
    snapshot.newEvents = EventReading();
    snapshot.newEvents->looked = true;
    return snapshot;
}

Event eventOfSeverity(unsigned severityCode) {
    Event event;
    event.severityCode = severityCode;
    event.message = "Drive removed ";
    return event;
}

void setOnline(Disk& disk, bool online) {
    disk.config->online = online ? 1 : 0;
    disk.raidStatus->raidStatus = online ? 1 : 0;
}

void removeDisk(Snapshot& snapshot, Presence presence) {
    Disk gone;
    gone.slot = 1;
    gone.presence = presence;
    snapshot.disks[1] = gone;
    snapshot.health[1] = {gone};
}

struct VerdictCase {
    const char* name;
    std::function<void(Snapshot&)> change;
    std::vector<std::string> reasons;  // "level code subject" of each
};

void PrintTo(const VerdictCase& verdict, std::ostream* stream) {
    *stream << verdict.name;
}

std::vector<std::string> reasonsOf(const Verdict& verdict) {
    std::vector<std::string> reasons;
    for (const Reason& reason : verdict.reasons) {
        reasons.push_back(std::string(levelName(reason.level)) + ' ' + reason.code + ' ' +
                          reason.subject);
    }
    return reasons;
}

class VerdictTest : public testing::TestWithParam<VerdictCase> {};

TEST_P(VerdictTest, HasItsReasons) {
    Snapshot snapshot = goodSnapshot();
    GetParam().change(snapshot);
    const Verdict verdict = judge(snapshot, Thresholds());
    EXPECT_EQ(reasonsOf(verdict), GetParam().reasons);
    const std::vector<std::string> codes = reasonCodes();
    for (const Reason& reason : verdict.reasons) {
        EXPECT_EQ(std::count(codes.begin(), codes.end(), reason.code), 1) << reason.code;
    }
    const std::string level =
        GetParam().reasons.empty()
            ? "ok"
            : GetParam().reasons[0].substr(0, GetParam().reasons[0].find(' '));
    EXPECT_EQ(levelName(verdict.level), level);
}

const VerdictCase kVerdicts[] = {
    {"AllWell", [](Snapshot&) {}, {}},
    {"DiskIsGone",
     [](Snapshot& snapshot) {
         removeDisk(snapshot, Presence::Absent);
         snapshot.controller->physicalDiskCount = 1;
     },
     {"critical members_missing volume 0"}},
    {"DiskIsGoneAndStillCounted",
     [](Snapshot& snapshot) { removeDisk(snapshot, Presence::Absent); },
     {"critical disks_not_listed controller", "critical members_missing volume 0"}},
    {"DiskIsSilent",
     [](Snapshot& snapshot) { removeDisk(snapshot, Presence::Unknown); },
     {"unknown disk_not_responding disk 1"}},
    {"EightCounted",
     [](Snapshot& snapshot) { snapshot.controller->physicalDiskCount = 8; },
     {"critical disks_not_listed controller"}},
    {"VolumeCountedAndNotSeen",
     [](Snapshot& snapshot) { snapshot.controller->virtualDiskCount = 2; },
     {"critical volumes_not_listed controller"}},
    {"VolumeStatus",
     [](Snapshot& snapshot) { snapshot.volumes[0].info->status = 2; },
     {"warning volume_status volume 0"}},
    {"VolumeIsSilent",
     [](Snapshot& snapshot) { snapshot.volumes[1].presence = Presence::Unknown; },
     {"unknown volume_not_responding volume 1"}},
    {"HealthBit",
     [](Snapshot& snapshot) { snapshot.disks[0].raidStatus->raidStatus = 0x21; },
     {"critical disk_health_alert disk 0"}},
    {"SmartAlert",
     [](Snapshot& snapshot) { snapshot.health[0].record->smartStatus = 1; },
     {"critical disk_health_alert disk 0"}},
    {"SmartStatusWithoutAName",
     [](Snapshot& snapshot) { snapshot.health[0].record->smartStatus = 7; },
     {"warning smart_status_unknown disk 0"}},
    {"NotOnline",
     [](Snapshot& snapshot) { setOnline(snapshot.disks[1], false); },
     {"warning disk_not_online disk 1"}},
    {"OnlineByOneAnswerOnly",
     [](Snapshot& snapshot) { snapshot.disks[1].raidStatus->raidStatus = 0; },
     {"unknown disk_state_unknown disk 1"}},
    {"StatusBitWithoutAName",
     [](Snapshot& snapshot) { snapshot.disks[1].raidStatus->raidStatus = 0x41; },
     {"warning disk_status_unnamed disk 1"}},
    {"NotOnlineAndNotNeeded",
     [](Snapshot& snapshot) {
         setOnline(snapshot.disks[1], false);
         snapshot.volumes[0].info->hdCount = 1;
     },
     {}},
    {"StateNotRead",
     [](Snapshot& snapshot) { snapshot.disks[1].config.reset(); },
     {"unknown disk_state_unknown disk 1"}},
    {"StatusByteNotRead",
     [](Snapshot& snapshot) { snapshot.disks[1].raidStatus.reset(); },
     {"unknown disk_state_unknown disk 1"}},
    {"BothAlerts",
     [](Snapshot& snapshot) {
         snapshot.disks[0].raidStatus->raidStatus = 0x21;
         snapshot.health[0].record->smartStatus = 1;
     },
     {"critical disk_health_alert disk 0"}},
    {"SpareThatCannotBe",
     [](Snapshot& snapshot) { setWear(snapshot.health[0], 2, 255, 10); },
     {"unknown disk_health_unknown disk 0"}},
    {"MirrorOfOne",
     [](Snapshot& snapshot) {
         snapshot.volumes[0].info->raidMode = 1;
         snapshot.volumes[0].info->hdCount = 1;
     },
     {"critical members_missing volume 0"}},
    {"VolumeOfNothing",
     [](Snapshot& snapshot) { snapshot.volumes[0].info->hdCount = 0; },
     {"critical members_missing volume 0"}},
    {"NoVolume",
     [](Snapshot& snapshot) {
         snapshot.volumes[0].presence = Presence::Absent;
         snapshot.controller->virtualDiskCount = 0;
     },
     {"warning no_volume controller"}},
    {"MoreThanCounted",
     [](Snapshot& snapshot) {
         snapshot.controller->physicalDiskCount = 1;
         snapshot.controller->virtualDiskCount = 0;
     },
     {"warning disks_not_counted controller", "warning volumes_not_counted controller"}},
    {"APartThatNoOtherReasonNames",
     [](Snapshot& snapshot) {
         snapshot.problems = {didNotAnswer(ProblemKind::VolumeNotResponding, "volume 0")};
     },
     {"unknown volume_not_responding controller"}},
    {"HealthNotRead",
     [](Snapshot& snapshot) { snapshot.health[1].record.reset(); },
     {"unknown disk_health_unknown disk 1"}},
    {"SpareAboveTheMargin", [](Snapshot& snapshot) { setWear(snapshot.health[0], 2, 16, 10); }, {}},
    {"SpareAtTheMargin",
     [](Snapshot& snapshot) { setWear(snapshot.health[0], 2, 15, 10); },
     {"warning spare_near_threshold disk 0"}},
    {"SpareAtTheThreshold",
     [](Snapshot& snapshot) { setWear(snapshot.health[0], 2, 10, 10); },
     {"warning spare_near_threshold disk 0"}},
    {"SpareBelowTheThreshold",
     [](Snapshot& snapshot) { setWear(snapshot.health[0], 2, 9, 10); },
     {"critical spare_below_threshold disk 0"}},
    {"Used89", [](Snapshot& snapshot) { setWear(snapshot.health[0], 89, 100, 10); }, {}},
    {"Used90",
     [](Snapshot& snapshot) { setWear(snapshot.health[0], 90, 100, 10); },
     {"warning life_used disk 0"}},
    {"Used100",
     [](Snapshot& snapshot) { setWear(snapshot.health[0], 100, 100, 10); },
     {"critical life_used disk 0"}},
    {"SlowLink",
     [](Snapshot& snapshot) { snapshot.controller->link.currentSpeedCode = 2; },
     {"warning link_below_maximum link"}},
    {"UnknownLink",
     [](Snapshot& snapshot) { snapshot.controller->link = {}; },
     {"warning link_unknown link"}},
    {"LinkOfSixteenLanes",
     [](Snapshot& snapshot) {
         snapshot.controller->link = {3, 3, 0, 0};
     },
     {}},
    {"OneSerialNumberTwice",
     [](Snapshot& snapshot) { snapshot.disks[1] = snapshot.disks[0]; },
     {"warning serial_number_twice controller"}},
    {"SilentController",
     [](Snapshot& snapshot) {
         snapshot.reach = Reach::Silent;
         snapshot.problems = {didNotAnswer(ProblemKind::ControllerNotResponding, "it")};
     },
     {"unknown controller_not_responding controller"}},
    {"NoController",
     [](Snapshot& snapshot) {
         snapshot.reach = Reach::Absent;
         snapshot.problems = {{ProblemKind::NoController, "none"}};
     },
     {"unknown no_controller controller"}},
    {"LibraryNotFound",
     [](Snapshot& snapshot) {
         snapshot.reach = Reach::Unreachable;
         snapshot.problems = {{ProblemKind::LibraryNotFound, "none"}};
     },
     {"unknown library_not_found controller"}},
    {"NoDiskAtAll",
     [](Snapshot& snapshot) {
         snapshot.disks[0].presence = Presence::Absent;
         removeDisk(snapshot, Presence::Absent);
         snapshot.controller->physicalDiskCount = 0;
         snapshot.controller->virtualDiskCount = 0;
         snapshot.volumes[0].presence = Presence::Absent;
     },
     {"warning no_disk controller"}},
    {"NumbersBeganAnew",
     [](Snapshot& snapshot) { snapshot.newEvents->numbersBeganAnew = true; },
     {"warning events_below_mark events"}},
    {"EventsNotRead",
     [](Snapshot& snapshot) { snapshot.newEvents.reset(); },
     {"unknown events_unknown events"}},
    {"EventsNotReadToTheEnd",
     [](Snapshot& snapshot) {
         snapshot.newEvents->problem = libraryCallFailed("ZT_EVT_GetEvent", 1);
     },
     {"unknown events_unknown events"}},
    {"NothingInTheLog",
     [](Snapshot& snapshot) { snapshot.newEvents->looked = false; },
     {"unknown events_not_seen events"}},
    {"EventsOverwritten",
     [](Snapshot& snapshot) {
         snapshot.newEvents->gap = EventGap{3, 9};
     },
     {"warning events_missed events"}},
    {"LogReadInPart",
     [](Snapshot& snapshot) {
         snapshot.newEvents->incomplete = true;
         snapshot.problems = {*doubtAbout(*snapshot.newEvents)};
     },
     {"unknown events_incomplete events"}},
    {"MinorEvent",
     [](Snapshot& snapshot) { snapshot.newEvents->events = {eventOfSeverity(4)}; },
     {}},
    {"EventWithoutAName",
     [](Snapshot& snapshot) {
         snapshot.newEvents->events = {eventOfSeverity(4), eventOfSeverity(255)};
     },
     {"warning events_of_unknown_severity events"}},
    {"EventOfOtherSeverity",
     [](Snapshot& snapshot) { snapshot.newEvents->events = {eventOfSeverity(1)}; },
     {"warning events_of_unknown_severity events"}},
    {"MinorEventWithoutARow",
     [](Snapshot& snapshot) { snapshot.newEvents->unlisted = {eventOfSeverity(4)}; },
     {}},
    {"GraveEventWithoutARow",
     [](Snapshot& snapshot) {
         snapshot.newEvents->unlisted = {eventOfSeverity(6), eventOfSeverity(2)};
     },
     {"warning events_not_listed events"}},
    {"EventOfUnknownSeverityWithoutARow",
     [](Snapshot& snapshot) { snapshot.newEvents->unlisted = {eventOfSeverity(0)}; },
     {"warning events_not_listed events"}},
    {"MajorEvent",
     [](Snapshot& snapshot) {
         snapshot.newEvents->events = {eventOfSeverity(2), eventOfSeverity(5), eventOfSeverity(2)};
     },
     {"warning grave_events events"}},
    {"FatalEvent",
     [](Snapshot& snapshot) { snapshot.newEvents->events = {eventOfSeverity(7)}; },
     {"warning grave_events events"}},
    {"EventsWithoutAMapping",
     [](Snapshot& snapshot) {
         snapshot.newEvents.reset();
         snapshot.hostFiles.alerts.reset();
         snapshot.hostFiles.findings = {
             {Severity::Error, "ini_none_found", "", std::nullopt, "text"}};
     },
     {"unknown ini_none_found host files"}},
    {"EventsWithAnEmptyMapping",
     [](Snapshot& snapshot) {
         snapshot.newEvents.reset();
         snapshot.hostFiles.alerts->rows.clear();
         snapshot.hostFiles.findings = {
             {Severity::Error, "mapping_empty", "/a", std::nullopt, "text"}};
     },
     {"unknown mapping_empty host files"}},
    {"BrokenHostFile",
     [](Snapshot& snapshot) {
         snapshot.hostFiles.findings = {
             {Severity::Error, "mark_crlf", "/a", 3, "text"},
             {Severity::Warning, "config_value_unknown", "/a", 4, "text"},
             {Severity::Warning, "controller_not_followed", "/a", std::nullopt, "text"}};
     },
     {"warning mark_crlf host files", "warning controller_not_followed controller"}},
    {"TheWorstComesFirst",
     [](Snapshot& snapshot) {
         snapshot.controller->link.currentSpeedCode = 2;
         snapshot.volumes[1].presence = Presence::Unknown;
         setWear(snapshot.health[1], 104, 100, 10);
     },
     {"critical life_used disk 1", "unknown volume_not_responding volume 1",
      "warning link_below_maximum link"}},
};

INSTANTIATE_TEST_SUITE_P(Verdict, VerdictTest, testing::ValuesIn(kVerdicts),
                         [](const testing::TestParamInfo<VerdictCase>& test) {
                             return std::string(test.param.name);
                         });

TEST(Verdict, MarksRowsByTheSameRule) {
    Disk disk = goodDisk(1);
    Health health = {disk, sampleHealth(0x4F)};
    for (const unsigned used : {89U, 90U, 100U}) {
        setWear(health, static_cast<std::uint8_t>(used), 100, 10);
        EXPECT_EQ(wantsAttention(health), used >= 90) << used;
        EXPECT_EQ(hasReason(reasonsOf(health), "life_used"), used >= 90) << used;
    }
    Thresholds early;
    early.usedWarning = 50;
    setWear(health, 50, 100, 10);
    EXPECT_FALSE(wantsAttention(health));
    EXPECT_TRUE(wantsAttention(health, early));
    early.ignored = {"life_used"};
    EXPECT_FALSE(wantsAttention(health, early));

    EXPECT_FALSE(wantsAttention(disk));
    disk.raidStatus.reset();
    EXPECT_TRUE(wantsAttention(disk)) << "nobody knows its state";
    disk.presence = Presence::Absent;
    EXPECT_TRUE(reasonsOf(disk).empty());
    EXPECT_TRUE(wantsAttention(disk)) << "an empty slot is no usual sight";

    Volume volume = goodSnapshot().volumes[0];
    EXPECT_FALSE(wantsAttention(volume));
    volume.info->status = 1;
    EXPECT_TRUE(wantsAttention(volume));
}

TEST(Verdict, ThresholdsCanBeSet) {
    Snapshot snapshot = goodSnapshot();
    setWear(snapshot.health[0], 50, 30, 10);
    Thresholds thresholds;
    thresholds.usedWarning = 50;
    thresholds.spareMargin = 20;
    using Reasons = std::vector<std::string>;
    EXPECT_EQ(reasonsOf(judge(snapshot, thresholds)),
              Reasons({"warning spare_near_threshold disk 0", "warning life_used disk 0"}));
    thresholds.usedCritical = 50;
    EXPECT_EQ(judge(snapshot, thresholds).level, Level::Critical);
    thresholds.ignored = {"life_used", "spare_near_threshold"};
    EXPECT_EQ(judge(snapshot, thresholds).level, Level::Ok);
}

TEST(Verdict, IsADocument) {
    Snapshot snapshot = goodSnapshot();
    setWear(snapshot.health[1], 104, 100, 10);
    EXPECT_EQ(compact(verdictToJson(judge(snapshot, Thresholds()))), compact(R"({
        "level": "critical",
        "reasons": [{"level": "critical", "code": "life_used", "subject": "disk 1",
                     "text": "104 % of its rated life is used"}]})"));
}

}  // namespace
