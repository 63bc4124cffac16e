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
    {"ZT_Adapter_GetCount", false, {0}},     {"ZT_Adapter_GetInfo", false, {48}},
    {"ZT_Adapter_GetConfig", false, {0}},    {"ZT_Adapter_Get_OEM_Data", false, {0}},
    {"ZT_PD_GetHDInfo_Ext", false, {29}},    {"ZT_PD_GetConfig", false, {29}},
    {"ZT_PD_GetHDRaidStatus", false, {19}},  {"ZT_PD_GetFreeSpaceInfo", false, {19}},
    {"ZT_PD_GET_SMART_INFO", false, {35}},   {"ZT_PD_OEMData", false, {10}},
    {"ZT_LD_GetInfo", false, {29}},          {"ZT_LD_GetConfig", false, {29}},
    {"ZT_EVT_GetEvent", false, {591}},       {"ZT_Adapter_GetCount", true, {91}},
    {"ZT_Adapter_GetInfo", true, {1628}},    {"ZT_Adapter_GetConfig", true, {27}},
    {"ZT_Adapter_Get_OEM_Data", true, {91}}, {"ZT_PD_GetHDInfo_Ext", true, {1088}},
    {"ZT_PD_GetConfig", true, {1071}},       {"ZT_PD_GetHDRaidStatus", true, {704}},
    {"ZT_PD_GetFreeSpaceInfo", true, {688}}, {"ZT_PD_GET_SMART_INFO", true, {1050}},
    {"ZT_PD_OEMData", true, {383}},          {"ZT_LD_GetInfo", true, {1071}},
    {"ZT_LD_GetConfig", true, {1077}},       {"ZT_EVT_GetEvent", true, {25, 61}},
};

constexpr Row kPollRows[] = {
    {"poll", false, {440}},
    {"poll", true, {29, 301}},
};

constexpr Row kStartRows[] = {
    {"ZT_API_Initialize", false, {86}},
    {"ZNV_Library_Initialize", false, {56}},
    {"ZT_API_Initialize", true, {19, 61}},
    {"ZNV_Library_Initialize", true, {16, 61}},
};

constexpr Row kStopRows[] = {
    {"ZT_API_Finalize", false, {1}},
    {"ZNV_Library_Finalize", false, {1}},
    {"ZT_API_Finalize", true, {10, 61}},
    {"ZNV_Library_Finalize", true, {10, 61}},
};

constexpr Extent kRotation = {259};
constexpr Extent kMark = {59};
constexpr Extent kFolder = {29};
constexpr Extent kFolderWithConfiguration = {16};
constexpr Extent kInterval = {20};  // for each value

}  // namespace vesktest
