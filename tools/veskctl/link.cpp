#include "veskctl/link.h"

#include "veskctl/command.h"
#include "veskctl/controller.h"
#include "veskctl/report.h"
#include "veskctl/session.h"

namespace veskctl {

namespace {

constexpr const char* kUnknown =
    "the link is not known: the library takes it from the host's PCI files, and 'veskctl doctor' "
    "tells what is wrong with them";

void runLink(const CommandContext& context, Report& report) {
    report.fields["pci_address"] = nullptr;
    report.fields["pcie_link"] = nullptr;
    const Session session(context, report);
    const Controller controller = readController(session.functions(), report.problems);
    report.fields["pci_address"] = valueOrNull(controller.pci.address());
    report.fields["pcie_link"] = pcieLinkToJson(controller.link);
    addPcieLinkSection(controller.link, report.blocks);
    if (!controller.link.isKnown()) {
        addOnce(report.problems, {ProblemKind::LinkUnknown, kUnknown});
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
