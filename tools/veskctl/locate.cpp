#include "veskctl/locate.h"

#include "veskctl/command.h"
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

void runLocate(const CommandContext& context, unsigned slot, Blink blink, Report& report) {
    report.fields["slot"] = slot;
    report.fields["locate"] = blink == Blink::On ? "on" : "off";
    report.fields["requested"] = false;
    const Session session(context, report);
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
    const auto slot = std::make_shared<std::optional<unsigned>>();
    options.addId(*slot, "disk", true);
    return [slot, blink](const CommandContext& context, Report& report) {
        runLocate(context, slot->value(), blink, report);
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
