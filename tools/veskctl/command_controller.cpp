#include "veskctl/command_controller.h"

#include "veskctl/controller_record.h"
#include "veskctl/controller_view.h"
#include "veskctl/session.h"

namespace veskctl {

namespace {

void runController(const CommandContext& context, Report& report) {
    report.fields["controllers"] = nlohmann::ordered_json::array();
    const Session session(context.libraryName, report.problems);

    ControllerRecord record;
    UCHAR_ count = 0;
    const UCHAR_ result = session.functions().adapterGetInfo(0, &count, record.get());
    const Controller controller = decodeController(record);
    report.fields["controllers"].push_back(controllerToJson(controller));
    addControllerSections(controller, report.table);

    if (result != ERR_NONE) {
        report.problems.push_back(libraryCallFailed("ZT_Adapter_GetInfo", result));
    }
    if (!controller.responding()) {
        report.problems.push_back(
            {ProblemKind::ControllerNotResponding, "the controller did not answer"});
    }
}

}  // namespace

CommandRunner declareController(CLI::App&) {
    return runController;
}

}  // namespace veskctl
