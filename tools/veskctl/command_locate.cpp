#include "veskctl/command_locate.h"

#include "veskctl/id_option.h"
#include "veskctl/locate_request.h"
#include "veskctl/session.h"

#include <fmt/format.h>

namespace veskctl {

namespace {

void runLocate(const CommandContext& context, unsigned slot, Blink blink, Report& report) {
    report.fields["slot"] = slot;
    report.fields["locate"] = blink == Blink::On ? "on" : "off";
    report.fields["requested"] = false;
    const Session session(context.libraryName, report.problems);
    const int result = requestLocate(session.functions(), slot, blink);
    if (result != ERR_NONE) {
        report.problems.push_back(
            libraryCallFailed("ZT_PD_OEMData", result, fmt::format("disk {}", slot)));
        return;
    }
    report.fields["requested"] = true;
    report.text = fmt::format("Requested: {} blinking the locate light of disk {}.\n",
                              blink == Blink::On ? "start" : "stop", slot);
}

CommandRunner declareLocate(CLI::App& app, Blink blink) {
    const IdOption id(app, "disk", IdOption::Need::Required);
    return [id, blink](const CommandContext& context, Report& report) {
        runLocate(context, id.id().value(), blink, report);
    };
}

}  // namespace

CommandRunner declareLocateOn(CLI::App& app) {
    return declareLocate(app, Blink::On);
}

CommandRunner declareLocateOff(CLI::App& app) {
    return declareLocate(app, Blink::Off);
}

}  // namespace veskctl
