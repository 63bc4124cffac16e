#include "veskctl/space.h"

#include "veskctl/command.h"
#include "veskctl/disk.h"
#include "veskctl/report.h"
#include "veskctl/session.h"
#include "veskctl/verdict.h"

#include <cstdint>

namespace veskctl {

namespace {

using Size = std::uint64_t;

Json spaceToJson(const Disk& disk) {
    Json json;
    putDiskIdentity(json, disk, Padding::Trim);
    json["online"] = valueOrNull(disk.online());
    json["state"] = disk.state();
    json["block_size_bytes"] = valueOrNull(valueOf<unsigned>(disk.info, &PD_Info::blockSize));
    putBigNumber(json, "capacity_raw", valueOf<Size>(disk.info, &PD_Info::size));
    putBigNumber(json, "free_space_raw", valueOf<Size>(disk.freeSpace, &PD_FreeSpaceInfo::size));
    return json;
}

void addSpaceRow(const Disk& disk, Grid& grid) {
    std::vector<std::string> cells = diskIdentityCells(disk, Padding::Trim);
    cells.push_back(disk.stateText());
    cells.push_back(sizeCell(valueOf<Size>(disk.info, &PD_Info::size), disk));
    cells.push_back(sizeCell(valueOf<Size>(disk.freeSpace, &PD_FreeSpaceInfo::size), disk));
    grid.addRow(cells, wantsAttention(disk) ? Tone::Warning : Tone::Plain);
}

void runSpace(const CommandContext& context, Report& report) {
    report.items = "space";
    report.fields["space"] = Json::array();
    std::vector<Column> columns = diskIdentityColumns();
    columns.push_back({"STATE", Alignment::Left, 8});
    columns.push_back({"SIZE*", Alignment::Right});
    columns.push_back({"FREE*", Alignment::Right});
    report.grid.setColumns(columns);
    const Session session(context, report);
    for (unsigned slot = 0; slot < kIdCount; ++slot) {
        const Disk disk = readDisk(session.functions(), slot, report.problems);
        report.fields["space"].push_back(spaceToJson(disk));
        addSpaceRow(disk, report.grid);
        report.text = sizeRemark(context);
    }
}

}  // namespace

Command spaceCommand() {
    return {"space",
            "Show how much of the physical disks is free",
            [](Options& options) {
                options.addRemark(
                    "An online disk counts as taken: the library reports a free space "
                    "of 0 for it, and the\nwhole disk as free for any other.");
                return CommandRunner(runSpace);
            },
            {},
            true,
            {{"space", "one line for each disk"}}};
}

}  // namespace veskctl
