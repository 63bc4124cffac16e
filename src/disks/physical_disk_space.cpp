// What virtual disks use of a physical disk. An upward call, on purpose: the virtual disks are
// asked for by a command of the dispatcher like any other.
#include "disks/physical_disk_builder.h"

#include "api/command_handler.h"
#include "api/error_state.h"
#include "disks/used_space_per_pd.h"
#include "support/log_line.h"
#include "support/trace.h"

#include <memory>
#include <new>
#include <vector>

RESULT CPhysicalDiskBuilder::getUsedSpaceForPDinVD(unsigned long long* used) {
    LOG_ENTRY;
    RESULT result = 1;
    try {
        const auto disks = std::make_unique<std::vector<UsedSpacePerPDInVD>>();
        ZTCommand command = {};
        command.commandId = GET_UsedRaidSpacePerPDInVD;
        command.arg1 = disks.get();
        CommandHandler::dispatch(command);
        for (const UsedSpacePerPDInVD& disk : *disks) {
            stg::logLine("CPhysicalDiskBuilder::getUsedSpaceForPDinVD(): No of PDs in VD: ",
                         disk.pdIds.size());
            for (const UCHAR_ member : disk.pdIds) {
                if (member == getPDId()) {
                    *used += disk.usedSize;
                    stg::logLine("CPhysicalDiskBuilder::getUsedSpaceForPDinVD(): Found PD Id with "
                                 "used size: ",
                                 disk.usedSize);
                    result = 0;
                }
            }
        }
    } catch (const std::bad_alloc& error) {
        recordFailure(error.what(), ERR_FAIL);
    }
    LOG_EXIT;
    return result;
}
