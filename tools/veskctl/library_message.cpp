#include "veskctl/library_message.h"

namespace veskctl {

const char* nameOf(LibraryFunction function) {
    switch (function) {
    case LibraryFunction::Load:
        return "the loading";
    case LibraryFunction::Initialize:
        return "ZT_API_Initialize";
    case LibraryFunction::AdapterGetCount:
        return "ZT_Adapter_GetCount";
    case LibraryFunction::AdapterGetInfo:
        return "ZT_Adapter_GetInfo";
    case LibraryFunction::DiskInfo:
        return "ZT_PD_GetHDInfo_Ext";
    case LibraryFunction::DiskConfig:
        return "ZT_PD_GetConfig";
    case LibraryFunction::DiskRaidStatus:
        return "ZT_PD_GetHDRaidStatus";
    case LibraryFunction::DiskFreeSpace:
        return "ZT_PD_GetFreeSpaceInfo";
    case LibraryFunction::DiskHealth:
        return "ZT_PD_GET_SMART_INFO";
    case LibraryFunction::DiskLocate:
        return "ZT_PD_OEMData";
    case LibraryFunction::VolumeInfo:
        return "ZT_LD_GetInfo";
    case LibraryFunction::VolumeConfig:
        return "ZT_LD_GetConfig";
    case LibraryFunction::GetEvents:
        return "ZT_EVT_GetEvent";
    case LibraryFunction::LogReads:
        return "the count of reads";
    }
    return "an unknown function";
}

}  // namespace veskctl
