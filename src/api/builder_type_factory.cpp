#include "api/builder_type_factory.h"

#include "api/error_state.h"
#include "api/zt_command.h"
#include "controller/controller_builder.h"
#include "disks/physical_disk_builder.h"
#include "disks/virtual_disk_builder.h"
#include "events/event_builder.h"
#include "support/trace.h"

#include <new>

namespace {

IBuilder* newBuilder(USHORT_INT commandId) {
    switch (commandId) {
    case ADAPTER_GET_INFO:
        return new CControllerBuilder();
    case VeskNVMe_GetEvent:
    case EVT_GETEVENT:
        return new CEventBuilder();
    case PD_GetHDInfo_Ext:
    case PD_GetConfig:
        return new CPhysicalDiskBuilder();
    case PD_GET_SMART_INFO:
    case PD_GetHDRaidStatus:
    case PD_GetFreeSpaceInfo:
        return new CPhysicalDiskBuilder(commandId);
    case LD_GetInfo:
    case LD_GetConfig:
    case GET_UsedRaidSpacePerPDInVD:
        return new CVirtualDiskBuilder();
    default:
        return nullptr;
    }
}

}  // namespace

IBuilder* BuilderTypeFactory::getBuilder(USHORT_INT commandId) {
    LOG_ENTRY;
    IBuilder* builder = nullptr;
    try {
        builder = newBuilder(commandId);
    } catch (const std::bad_alloc& error) {
        stg::recordFailure(ERR_FAIL, error.what());
    }
    LOG_EXIT;
    return builder;
}
