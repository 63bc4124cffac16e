#include "veskctl/volume_reader.h"

#include "veskctl/guarded.h"
#include "veskctl/single_request.h"

#include <fmt/format.h>

#include <string>

namespace veskctl {

namespace {

void readConfig(const LibraryFunctions& functions, const std::string& name, Volume& volume,
                std::vector<Problem>& problems) {
    const SingleAnswer<VD_Config> answer = requestSingle<VD_Config>(
        functions.volumeConfig, "ZT_LD_GetConfig", volume.id, name, problems);
    volume.config = answer.record;
    if (answer.failed) {
        return;
    }
    if (!volume.config || dropContradiction(volume)) {
        problems.push_back(
            {ProblemKind::VolumeNotResponding,
             fmt::format("{} did not answer the request for its configuration", name)});
    }
}

void readRecords(const LibraryFunctions& functions, const std::string& name, Volume& volume,
                 std::vector<Problem>& problems) {
    const SingleAnswer<VD_Info> answer =
        requestSingle<VD_Info>(functions.volumeInfo, "ZT_LD_GetInfo", volume.id, name, problems);
    if (answer.failed) {
        return;
    }
    if (!answer.record) {
        volume.presence = Presence::Absent;
    } else if (isBlank(*answer.record)) {
        problems.push_back(
            {ProblemKind::VolumeNotResponding, fmt::format("{} did not answer", name)});
    } else {
        volume.presence = Presence::Present;
        volume.info = answer.record;
        readConfig(functions, name, volume, problems);
    }
}

}  // namespace

Volume readVolume(const LibraryFunctions& functions, unsigned id, std::vector<Problem>& problems) {
    Volume volume;
    volume.id = id;
    const std::string name = fmt::format("volume {}", id);
    guarded(name, problems, [&] { readRecords(functions, name, volume, problems); });
    return volume;
}

}  // namespace veskctl
