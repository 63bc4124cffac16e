// The record in which every operation travels to the dispatcher, by value.
#pragma once

#include "api/command_ids.h"

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
