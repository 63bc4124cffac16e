#include "veskctl/command.h"

#include "veskctl/capture.h"
#include "veskctl/check.h"
#include "veskctl/completion.h"
#include "veskctl/controller.h"
#include "veskctl/diff.h"
#include "veskctl/disk.h"
#include "veskctl/doctor.h"
#include "veskctl/dump.h"
#include "veskctl/events.h"
#include "veskctl/format.h"
#include "veskctl/health.h"
#include "veskctl/help.h"
#include "veskctl/link.h"
#include "veskctl/locate.h"
#include "veskctl/manual.h"
#include "veskctl/mark.h"
#include "veskctl/metrics.h"
#include "veskctl/program_version.h"
#include "veskctl/report.h"
#include "veskctl/report_page.h"
#include "veskctl/session.h"
#include "veskctl/space.h"
#include "veskctl/status.h"
#include "veskctl/volume.h"

namespace veskctl {

namespace {

// Loads the library and does not set it up: no device is touched. A library that cannot be loaded
// is an answer here, not a failure.
void runVersion(const CommandContext& context, Report& report) {
    report.fields["program_version"] = kProgramVersion;
    report.fields["library_path"] = nullptr;
    report.fields["library_problem"] = nullptr;
    report.blocks.addSection("veskctl");
    report.blocks.addLine("Program version", kProgramVersion);
    report.blocks.addLine("Schema version", format("{}", kSchemaVersion));
    try {
        const LibraryProcess library(librarySetup(context));
        report.simulated = library.simulated();
        report.fields["library_path"] = library.path();
        report.blocks.addLine("Library", library.path());
    } catch (const ProblemError& error) {
        report.fields["library_problem"] = problemToJson(error.problem());
        report.blocks.addLine("Library", "not loaded", Tone::Faint);
        report.blocks.addLine("Reason", error.what(), Tone::Faint);
    }
}

Command versionCommand() {
    return {"version",
            "Show the versions, and the library file that is loaded",
            [](Options&) { return CommandRunner(runVersion); },
            {},
            true,
            {{"version", "needs no controller"},
             {"version --library ./libVeskNvme.so", "of another library file"}}};
}

}  // namespace

std::vector<Command> allCommands() {
    return {statusCommand(),  checkCommand(),  doctorCommand(),     controllerCommand(),
            linkCommand(),    disksCommand(),  healthCommand(),     spaceCommand(),
            volumesCommand(), eventsCommand(), markCommand(),       locateCommand(),
            metricsCommand(), reportCommand(), dumpCommand(),       diffCommand(),
            captureCommand(), helpCommand(),   completionCommand(), manCommand(),
            versionCommand()};
}

}  // namespace veskctl
