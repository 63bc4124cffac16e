#include "veskctl/link.h"

#include "veskctl/command.h"
#include "veskctl/controller.h"
#include "veskctl/report.h"
#include "veskctl/session.h"

namespace veskctl {

namespace {

constexpr const char* kUnknown = "the library takes the link from the host's PCI files; 'veskctl "
                                 "doctor' looks whether they hold "
                                 "this controller";

void runLink(const CommandContext& context, Report& report) {
    report.fields["pci_address"] = nullptr;
    report.fields["pcie_link"] = nullptr;
    const Session session(context, report);
    const Controller controller = readController(session.functions(), report.problems);
    report.fields["pci_address"] = valueOrNull(controller.pci.address());
    report.fields["pcie_link"] = pcieLinkToJson(controller.link);
    addPcieLinkSection(controller.link, report.blocks);
    if (!controller.link.currentSpeedGts() && !controller.link.maxSpeedGts()) {
        report.notes.emplace_back(kUnknown);
    }
}

}  // namespace

Command linkCommand() {
    return {"link",
            "Show the PCIe link: speed and width, now and at most",
            [](Options&) { return CommandRunner(runLink); },
            {},
            true,
            {{"link", "speed and width, and whether they are the highest"}}};
}

}  // namespace veskctl
