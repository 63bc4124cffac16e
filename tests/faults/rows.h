// What is swept, with and without the trace log, and how many faults that takes at least: ten
// thousand in all, of which a test makes sure. Where the library comes to allocate less, fewer may
// be left out of what takes long: the second number says that one in so many is run.
#pragma once

#include "sweep.h"

namespace vesktest {

struct Row {
    const char* operation;
    bool logged;
    Extent extent;
};

constexpr Row kCallRows[] = {
    {"ZT_Adapter_GetCount", false, {0}},     {"ZT_Adapter_GetInfo", false, {103}},
    {"ZT_Adapter_GetConfig", false, {0}},    {"ZT_Adapter_Get_OEM_Data", false, {0}},
    {"ZT_PD_GetHDInfo_Ext", false, {21}},    {"ZT_PD_GetConfig", false, {21}},
    {"ZT_PD_GetHDRaidStatus", false, {13}},  {"ZT_PD_GetFreeSpaceInfo", false, {13}},
    {"ZT_PD_GET_SMART_INFO", false, {24}},   {"ZT_PD_OEMData", false, {7}},
    {"ZT_LD_GetInfo", false, {21}},          {"ZT_LD_GetConfig", false, {21}},
    {"ZT_EVT_GetEvent", false, {501}},       {"ZT_Adapter_GetCount", true, {92}},
    {"ZT_Adapter_GetInfo", true, {1570}},    {"ZT_Adapter_GetConfig", true, {26}},
    {"ZT_Adapter_Get_OEM_Data", true, {92}}, {"ZT_PD_GetHDInfo_Ext", true, {1050}},
    {"ZT_PD_GetConfig", true, {1034}},       {"ZT_PD_GetHDRaidStatus", true, {685}},
    {"ZT_PD_GetFreeSpaceInfo", true, {668}}, {"ZT_PD_GET_SMART_INFO", true, {1017}},
    {"ZT_PD_OEMData", true, {376}},          {"ZT_LD_GetInfo", true, {1036}},
    {"ZT_LD_GetConfig", true, {1040}},       {"ZT_EVT_GetEvent", true, {20, 61}},
};

constexpr Row kPollRows[] = {
    {"poll", false, {312}},
    {"poll", true, {25, 301}},
};

constexpr Row kStartRows[] = {
    {"ZT_API_Initialize", false, {63}},
    {"ZNV_Library_Initialize", false, {40}},
    {"ZT_API_Initialize", true, {10, 61}},
    {"ZNV_Library_Initialize", true, {10, 61}},
};

constexpr Row kStopRows[] = {
    {"ZT_API_Finalize", false, {1}},
    {"ZNV_Library_Finalize", false, {1}},
    {"ZT_API_Finalize", true, {7, 61}},
    {"ZNV_Library_Finalize", true, {7, 61}},
};

constexpr Extent kRotation = {190};
constexpr Extent kMark = {42};
constexpr Extent kFolder = {21};

}  // namespace vesktest
