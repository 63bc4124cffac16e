#include "veskctl/command_table.h"

#include "veskctl/command_controller.h"
#include "veskctl/command_disks.h"
#include "veskctl/command_events.h"
#include "veskctl/command_health.h"
#include "veskctl/command_locate.h"
#include "veskctl/command_version.h"
#include "veskctl/command_volumes.h"

namespace veskctl {

const std::vector<Command>& commandTable() {
    static const std::vector<Command> table = {
        {"controller", "Show the controller: identity, firmware, PCIe link, counts",
         declareController},
        {"disks",
         "Show the physical disks: identity, state, capacity",
         declareDisks,
         {{"show", "Show one of them", declareDisksShow}}},
        {"health", "Show the health of the physical disks: wear, spare, alert", declareHealth},
        {"volumes",
         "Show the virtual disks: RAID level, members, capacity",
         declareVolumes,
         {{"show", "Show one of them", declareVolumesShow}}},
        {"events", "Take the new events from the controller, oldest first", declareEvents},
        {"locate",
         "Switch the locate light of a physical disk",
         nullptr,
         {{"on", "Start the blinking", declareLocateOn},
          {"off", "Stop the blinking", declareLocateOff}}},
        {"version", "Show the versions of the program and of its output, and the library file",
         declareVersion},
    };
    return table;
}

}  // namespace veskctl
