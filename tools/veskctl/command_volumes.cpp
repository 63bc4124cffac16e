#include "veskctl/command_volumes.h"

#include "veskctl/id_option.h"
#include "veskctl/session.h"
#include "veskctl/single_request.h"
#include "veskctl/volume_reader.h"
#include "veskctl/volume_view.h"

namespace veskctl {

namespace {

void addVolume(const Volume& volume, Report& report) {
    report.fields["volumes"].push_back(volumeToJson(volume));
    addVolumeSection(volume, report.table);
}

// A volume that does not exist is nothing that broke: the list leaves it out.
void runVolumes(const CommandContext& context, Report& report) {
    report.fields["volumes"] = nlohmann::ordered_json::array();
    const Session session(context.libraryName, report.problems);
    for (unsigned id = 0; id < kIdCount; ++id) {
        const Volume volume = readVolume(session.functions(), id, report.problems);
        if (volume.presence != Presence::Absent) {
            addVolume(volume, report);
        }
    }
    if (report.fields["volumes"].empty()) {
        report.text = "There is no volume.\n";
    }
}

}  // namespace

CommandRunner declareVolumes(CLI::App&) {
    return runVolumes;
}

CommandRunner declareVolumesShow(CLI::App& app) {
    const IdOption id(app, "volume", IdOption::Need::Required);
    return [id](const CommandContext& context, Report& report) {
        report.fields["volumes"] = nlohmann::ordered_json::array();
        const Session session(context.libraryName, report.problems);
        addVolume(readVolume(session.functions(), id.id().value(), report.problems), report);
    };
}

}  // namespace veskctl
