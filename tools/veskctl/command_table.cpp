#include "veskctl/command_table.h"

#include "veskctl/command_controller.h"
#include "veskctl/command_version.h"

namespace veskctl {

const std::vector<Command>& commandTable() {
    static const std::vector<Command> table = {
        {"controller", "Show the controller: identity, firmware, PCIe link, counts",
         declareController},
        {"version", "Show the versions of the program and of its output, and the library file",
         declareVersion},
    };
    return table;
}

}  // namespace veskctl
