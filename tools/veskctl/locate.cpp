#include "veskctl/locate.h"

#include "veskctl/command.h"
#include "veskctl/disk.h"
#include "veskctl/format.h"
#include "veskctl/report.h"
#include "veskctl/session.h"

#include <memory>

namespace veskctl {

int requestLocate(const LibraryFunctions& functions, unsigned slot, Blink blink) {
    PD_OEM_Data request = {};
    request.pdId = static_cast<UCHAR_>(slot);
    request.ledStatus = blink == Blink::On ? 1 : 0;
    return functions.diskLocate(0, &request);
}

namespace {

void runLocate(const CommandContext& context, const std::string& disk, Blink blink,
               Report& report) {
    report.fields["slot"] = nullptr;
    report.fields["locate"] = blink == Blink::On ? "on" : "off";
    report.fields["requested"] = false;
    const Session session(context, report);
    const unsigned slot = findSlot(session.functions(), disk, report.problems);
    report.fields["slot"] = slot;
    const int result = requestLocate(session.functions(), slot, blink);
    if (result != ERR_NONE) {
        report.problems.push_back(
            libraryCallFailed("ZT_PD_OEMData", result, format("disk {}", slot)));
        return;
    }
    report.fields["requested"] = true;
    report.text = format("Requested: {} blinking the locate light of disk {}.\n",
                         blink == Blink::On ? "start" : "stop", slot);
}

CommandRunner declare(Options& options, Blink blink) {
    const auto disk = std::make_shared<std::string>();
    options.addDisk(*disk, true);
    return [disk, blink](const CommandContext& context, Report& report) {
        runLocate(context, *disk, blink, report);
    };
}

}  // namespace

Command locateCommand() {
    const Command on = {"on", "Start the blinking", [](Options& options) {
                            return declare(options, Blink::On);
                        }};
    const Command off = {"off", "Stop the blinking", [](Options& options) {
                             return declare(options, Blink::Off);
                         }};
    return {"locate", "Switch the locate light of a physical disk", nullptr, {on, off}};
}

}  // namespace veskctl
