#include "veskctl/command_disks.h"

#include "veskctl/disk_reader.h"
#include "veskctl/disk_view.h"
#include "veskctl/id_option.h"
#include "veskctl/session.h"
#include "veskctl/single_request.h"

#include <memory>

namespace veskctl {

namespace {

std::shared_ptr<bool> addRawFlag(CLI::App& app) {
    auto raw = std::make_shared<bool>(false);
    app.add_flag("--raw", *raw, "Keep the blanks around texts");
    return raw;
}

void addDisk(const Session& session, unsigned slot, Padding padding, Report& report) {
    const Disk disk = readDisk(session.functions(), slot, report.problems);
    report.fields["disks"].push_back(diskToJson(disk, padding));
    addDiskSection(disk, padding, report.table);
}

}  // namespace

CommandRunner declareDisks(CLI::App& app) {
    return [raw = addRawFlag(app)](const CommandContext& context, Report& report) {
        report.fields["disks"] = nlohmann::ordered_json::array();
        const Session session(context.libraryName, report.problems);
        for (unsigned slot = 0; slot < kIdCount; ++slot) {
            addDisk(session, slot, *raw ? Padding::Keep : Padding::Trim, report);
        }
    };
}

CommandRunner declareDisksShow(CLI::App& app) {
    const IdOption id(app, "disk", IdOption::Need::Required);
    return [id, raw = addRawFlag(app)](const CommandContext& context, Report& report) {
        report.fields["disks"] = nlohmann::ordered_json::array();
        const Session session(context.libraryName, report.problems);
        addDisk(session, id.id().value(), *raw ? Padding::Keep : Padding::Trim, report);
    };
}

}  // namespace veskctl
