#include "veskctl/diff.h"

#include "veskctl/command.h"
#include "veskctl/dump.h"
#include "veskctl/format.h"
#include "veskctl/moment.h"
#include "veskctl/printable.h"
#include "veskctl/report.h"

#include <algorithm>
#include <memory>

namespace veskctl {

namespace {

constexpr int kDifferent = 4;

struct Field {
    const char* pointer;  // within the thing
    const char* words;
};

const std::vector<Field> kControllerFields = {
    {"/responding", "responding"},
    {"/pci/address", "PCI address"},
    {"/firmware_version", "firmware version"},
    {"/pcie_link/current_speed_gts", "link speed in GT/s"},
    {"/pcie_link/max_speed_gts", "maximum link speed in GT/s"},
    {"/pcie_link/current_width", "link width in lanes"},
    {"/pcie_link/max_width", "maximum link width in lanes"},
    {"/physical_disk_count", "count of disks"},
    {"/virtual_disk_count", "count of volumes"}};

const std::vector<Field> kDiskFields = {{"/state", "state"},
                                        {"/model_name", "model"},
                                        {"/serial_number", "serial number"},
                                        {"/firmware_version", "firmware version"},
                                        {"/health_alert", "health alert"},
                                        {"/raid_status_code", "RAID status code"},
                                        {"/capacity_raw", "capacity"},
                                        {"/free_space_raw", "free space"}};

const std::vector<Field> kHealthFields = {
    {"/smart_status", "SMART status"},
    {"/percentage_used", "percentage used"},
    {"/available_spare", "available spare in percent"},
    {"/available_spare_threshold", "spare threshold in percent"}};

const std::vector<Field> kVolumeFields = {{"/state", "state"},
                                          {"/status_code", "status code"},
                                          {"/name", "name"},
                                          {"/raid_level", "RAID level"},
                                          {"/raid_mode_code", "RAID mode code"},
                                          {"/member_count", "count of members"},
                                          {"/size_lba", "size in blocks"},
                                          {"/block_size_bytes", "block size"}};

const std::vector<Field> kHostFields = {
    {"/config/path", "configuration file"},
    {"/config/trace_log", "trace log"},
    {"/config/polling_interval_seconds", "polling interval in seconds"},
    {"/mapping/path", "alert mapping file"},
    {"/mapping/rows", "rows of the alert mapping"}};

// Null if it is not there: files may come from other hands.
Json valueAt(const Json& json, const std::string& pointer) {
    const Json::json_pointer place(pointer);
    return json.contains(place) ? json.at(place) : Json();
}

std::string shown(const Json& value) {
    if (value.is_null()) {
        return "unknown";
    }
    if (value.is_boolean()) {
        return value.get<bool>() ? "yes" : "no";
    }
    return value.is_string() ? value.get<std::string>()
                             : value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

class Comparison {
public:
    void compareFields(const std::string& subject, const std::vector<Field>& fields,
                       const Json& before, const Json& after) {
        // Of what came or went, all else is unknown on one side.
        const bool moved = valueAt(before, "/present") != valueAt(after, "/present");
        for (const Field& field : fields) {
            if (moved && std::string(field.pointer) != "/state") {
                continue;
            }
            const Json old = valueAt(before, field.pointer);
            const Json present = valueAt(after, field.pointer);
            if (old != present) {
                const std::string name = std::string(field.pointer).substr(1);
                add({subject, name, old, present,
                     format("{}: {} was {}, is {}", subject, field.words, shown(old),
                            shown(present))});
            }
        }
    }

    // Things of two lists, paired by the value that tells them apart; those without a partner are
    // left out.
    void comparePairs(const char* thing, const char* key, const std::vector<Field>& fields,
                      const Json& before, const Json& after) {
        for (const Json& present : after) {
            const Json* const old = find(before, key, present);
            if (old != nullptr) {
                compareFields(nameOf(thing, key, present), fields, *old, present);
            }
        }
    }

    // The same, and what came or went is told.
    void compareLists(const char* thing, const char* key, const std::vector<Field>& fields,
                      const Json& before, const Json& after) {
        for (const Json& present : after) {
            const std::string subject = nameOf(thing, key, present);
            const Json* const old = find(before, key, present);
            if (old == nullptr) {
                add({subject, "", Json(), present, subject + " is new"});
            } else {
                compareFields(subject, fields, *old, present);
            }
        }
        for (const Json& old : before) {
            if (find(after, key, old) == nullptr) {
                const std::string subject = nameOf(thing, key, old);
                add({subject, "", old, Json(), subject + " is gone"});
            }
        }
    }

    void compareFindings(const Json& before, const Json& after) {
        addMissing(before, after, "found: ", false);
        addMissing(after, before, "no longer found: ", true);
    }

    void compareEvents(const Json& before, const Json& after) {
        for (const Json& event : after) {
            if (!containsEvent(before, event)) {
                add({"event", "", Json(), event,
                     format("new event {}: {} {} {}", shown(valueAt(event, "/sequence")),
                            shown(valueAt(event, "/time")), shown(valueAt(event, "/severity")),
                            shown(valueAt(event, "/message")))});
            }
        }
    }

    std::vector<Change> changes() const { return m_changes; }

private:
    void add(Change change) { m_changes.push_back(std::move(change)); }

    static std::string nameOf(const char* thing, const char* key, const Json& json) {
        return *key == '\0' ? thing : format("{} {}", thing, shown(valueAt(json, key)));
    }

    static const Json* find(const Json& list, const char* key, const Json& like) {
        for (const Json& candidate : list) {
            if (*key == '\0' || valueAt(candidate, key) == valueAt(like, key)) {
                return &candidate;
            }
        }
        return nullptr;
    }

    static bool containsEvent(const Json& list, const Json& event) {
        return std::any_of(list.begin(), list.end(), [&event](const Json& candidate) {
            return valueAt(candidate, "/sequence") == valueAt(event, "/sequence") &&
                   valueAt(candidate, "/time_raw") == valueAt(event, "/time_raw");
        });
    }

    // What is in order may change its text, such as a size, and is no finding.
    void addMissing(const Json& there, const Json& here, const char* words, bool gone) {
        for (const Json& finding : here) {
            const bool known =
                std::any_of(there.begin(), there.end(), [&finding](const Json& candidate) {
                    return valueAt(candidate, "/code") == valueAt(finding, "/code") &&
                           valueAt(candidate, "/path") == valueAt(finding, "/path") &&
                           valueAt(candidate, "/line") == valueAt(finding, "/line");
                });
            if (!known && valueAt(finding, "/severity") != Json("info")) {
                const Json path = valueAt(finding, "/path");
                add({"finding", "", gone ? finding : Json(), gone ? Json() : finding,
                     format("{}{}{}", words, path.is_null() ? "" : shown(path) + ": ",
                            shown(valueAt(finding, "/text")))});
            }
        }
    }

    std::vector<Change> m_changes;
};

// An array, whatever the file holds there.
Json listAt(const Json& document, const char* pointer) {
    const Json list = valueAt(document, pointer);
    return list.is_array() ? list : Json::array();
}

Json changeToJson(const Change& change) {
    Json json;
    json["subject"] = change.subject;
    json["field"] = change.field.empty() ? Json() : Json(change.field);
    json["before"] = change.before;
    json["after"] = change.after;
    json["text"] = change.text;
    return json;
}

void runDiff(const CommandContext& context, const std::string& oldPath, const std::string& newPath,
             Report& report) {
    report.items = "changes";
    report.fields["before"] = nullptr;
    report.fields["after"] = nullptr;
    report.fields["changes"] = Json::array();
    const Json before = readDump(oldPath);
    report.fields["before"] = valueAt(before, "/taken_at");
    const Json after =
        newPath.empty() ? momentToJson(takeMoment(context, report)) : readDump(newPath);
    report.fields["after"] = valueAt(after, "/taken_at");
    report.simulated = report.simulated || valueAt(before, "/simulated") == Json(true) ||
                       valueAt(after, "/simulated") == Json(true);
    const std::vector<Change> changes = changesBetween(before, after);
    for (const Change& change : changes) {
        report.fields["changes"].push_back(changeToJson(change));
        report.text += printable(change.text) + '\n';
    }
    report.text +=
        format("{} between {} and {}.\n",
               changes.empty()
                   ? "Nothing changed"
                   : format("{} {}", changes.size(), changes.size() == 1 ? "change" : "changes"),
               printable(shown(report.fields["before"])), printable(shown(report.fields["after"])));
    report.exitCode = changes.empty() ? 0 : kDifferent;
}

}  // namespace

std::vector<Change> changesBetween(const Json& before, const Json& after) {
    Comparison comparison;
    comparison.compareFields("verdict", {{"/level", "level"}}, valueAt(before, "/verdict"),
                             valueAt(after, "/verdict"));
    comparison.compareLists("controller", "", kControllerFields, listAt(before, "/controllers"),
                            listAt(after, "/controllers"));
    comparison.compareLists("disk", "/slot", kDiskFields, listAt(before, "/disks"),
                            listAt(after, "/disks"));
    comparison.comparePairs("disk", "/slot", kHealthFields, listAt(before, "/health"),
                            listAt(after, "/health"));
    comparison.compareLists("volume", "/id", kVolumeFields, listAt(before, "/volumes"),
                            listAt(after, "/volumes"));
    comparison.compareFields("host files", kHostFields, valueAt(before, "/host_files"),
                             valueAt(after, "/host_files"));
    comparison.compareFindings(listAt(before, "/findings"), listAt(after, "/findings"));
    comparison.compareEvents(listAt(before, "/events"), listAt(after, "/events"));
    return comparison.changes();
}

Command diffCommand() {
    return {"diff",
            "Tell what changed since a dump, or between two of them",
            [](Options& options) {
                const auto oldPath = std::make_shared<std::string>();
                const auto newPath = std::make_shared<std::string>();
                options.addPath(*oldPath, "OLD", "A file that 'veskctl dump' wrote", true);
                options.addPath(*newPath, "NEW", "A later one; without it, the present", false);
                options.addRemark("The exit code is 0 if nothing changed, 4 if something did.");
                return CommandRunner(
                    [oldPath, newPath](const CommandContext& context, Report& report) {
                        runDiff(context, *oldPath, *newPath, report);
                    });
            },
            {},
            false,
            {{"diff before.json", "what is different now"},
             {"diff before.json after.json --json", "between two dumps, for programs"}}};
}

}  // namespace veskctl
