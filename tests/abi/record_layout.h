/* Size and alignment of each public record, for C11 and C++17 alike: a host in either language sees
 * the same bytes. The offsets stand in the header itself. */
#include "VeskNvme.h"

#include <assert.h>
#include <stdalign.h>

static_assert(sizeof(Info_Request) == 16 && alignof(Info_Request) == 2, "layout");
static_assert(sizeof(_PackageVersion) == 8 && alignof(_PackageVersion) == 2, "layout");
static_assert(sizeof(_BDF) == 3 && alignof(_BDF) == 1, "layout");
static_assert(sizeof(Adapter_OEM_Data) == 72 && alignof(Adapter_OEM_Data) == 2, "layout");
static_assert(sizeof(PD_OEM_Data) == 17 && alignof(PD_OEM_Data) == 1, "layout");
static_assert(sizeof(PD_Info) == 248 && alignof(PD_Info) == 8, "layout");
static_assert(sizeof(PD_RaidStatus) == 8 && alignof(PD_RaidStatus) == 2, "layout");
static_assert(sizeof(PD_Config) == 8 && alignof(PD_Config) == 2, "layout");
static_assert(sizeof(PD_FreeSpaceInfo) == 16 && alignof(PD_FreeSpaceInfo) == 8, "layout");
static_assert(sizeof(SMART_ATTRIBUTE) == 80 && alignof(SMART_ATTRIBUTE) == 1, "layout");
static_assert(sizeof(SMART_INFO_ARRAY) == 2404 && alignof(SMART_INFO_ARRAY) == 1, "layout");
static_assert(sizeof(VD_Info) == 312 && alignof(VD_Info) == 8, "layout");
static_assert(sizeof(VD_Config) == 24 && alignof(VD_Config) == 2, "layout");
static_assert(sizeof(CController) == 304 && alignof(CController) == 4, "layout");
static_assert(sizeof(CEvent) == 64 && alignof(CEvent) == 4, "layout");
