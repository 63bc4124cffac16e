// Records that the talker and its helper classes share.
#pragma once

#include "VeskNvme.h"
#include "transport/nvme_uio.h"

#include <cstddef>

// The open management connection to one adapter. From malloc; whoever holds it frees it. The name
// stays first: it is also read as a text through a HANDLE.
struct nvme_handle {
    char name[32];     // as the driver reports it, always NUL terminated
    ULONG_INT handle;  // of vmk_MgmtUserInit
};
static_assert(offsetof(nvme_handle, name) == 0, "read through a HANDLE");

// A request to the driver, from the heap for the time of one command.
struct _znvTalkerMulti {
    nvme_handle* handle;
    ULONG_INT code;  // the driver gets the low 32 bits
    nvme_uio* uio;   // the caller's
};
typedef _znvTalkerMulti znvTalkerMulti;

// One adapter as the driver lists it, 80 bytes.
struct nvmeAdapterInfo {
    char name[32];         //  0  NUL terminated
    char signature[32];    // 32  name of its own management signature, NUL terminated
    UCHAR_ remainder[16];  // 64  not read
};
static_assert(sizeof(nvmeAdapterInfo) == 80, "layout");
static_assert(offsetof(nvmeAdapterInfo, signature) == 32, "layout");

constexpr USHORT_INT kMaxAdapters = 64;

// The driver's answer to callback 16, 5128 bytes.
struct nvme_adapter_list {
    UNSIGNED_INTEGER count;                 // 0
    UNSIGNED_INTEGER padding4;              // 4
    nvmeAdapterInfo adapter[kMaxAdapters];  // 8
};
static_assert(sizeof(nvme_adapter_list) == 5128, "layout");
static_assert(offsetof(nvme_adapter_list, adapter) == 8, "layout");
