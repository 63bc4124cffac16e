// The commands of the dispatcher. Builder ids equal command ids.
#pragma once

#include "VeskNvme.h"

enum CommandId : UNSIGNED_INTEGER {
    API_INITIALIZE = 1,
    ADAPTER_GET_COUNT = 2,
    ADAPTER_GET_INFO = 3,
    Identify_PD = 4,
    VeskNVMe_GetEvent = 5,
    EVT_GETEVENT = 6,
    PD_GetHDInfo_Ext = 7,
    PD_GetConfig = 8,
    PD_GET_SMART_INFO = 9,
    PD_GetHDRaidStatus = 10,
    PD_GetFreeSpaceInfo = 11,
    LD_GetInfo = 12,
    LD_GetConfig = 13,
    ADAPTER_GET_OEM_DATA = 14,
    API_FINALIZE = 15,
    GET_UsedRaidSpacePerPDInVD = 16,
};
