// The commands of the dispatcher, and the record in which they travel to it, by value.
#pragma once

#include "VeskNvme.h"

#include <cstddef>

// Builder ids equal command ids. 0 and what is above 16 are no commands.
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

// Senders zero all of it first and set what their command uses. What a pointer points at:
//
//   id                 arg1                arg2              arg3             arg4
//   2                  out UCHAR_ count
//   3                  adapter id          out UCHAR_ count  out CController
//   4                  PD_OEM_Data
//   6                  adapter id          second argument   out UCHAR_ count out 64 event records
//   7, 8, 10 to 13     adapter id          Info_Request
//   9                  adapter id          PD id             third argument   out SMART_INFO_ARRAY
//   14                 adapter id          out Adapter_OEM_Data
//   16                 out vector of UsedSpacePerPDInVD
//
// Adapter ids and the arguments without a meaning are UCHAR_ and select nothing.
struct ZTCommand {
    UNSIGNED_INTEGER commandId;
    VOIDPTR arg1;
    VOIDPTR arg2;
    VOIDPTR arg3;
    VOIDPTR arg4;
    VOIDPTR arg5;  // no command reads it
};
static_assert(sizeof(ZTCommand) == 48, "ZTCommand");
static_assert(offsetof(ZTCommand, commandId) == 0, "commandId");
static_assert(offsetof(ZTCommand, arg1) == 8, "arg1");
static_assert(offsetof(ZTCommand, arg2) == 16, "arg2");
static_assert(offsetof(ZTCommand, arg3) == 24, "arg3");
static_assert(offsetof(ZTCommand, arg4) == 32, "arg4");
static_assert(offsetof(ZTCommand, arg5) == 40, "arg5");
