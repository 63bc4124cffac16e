// The driver's list of NVMe adapters, as callback 16 fills it. Little endian.
#pragma once

#include "VeskNvme.h"

#include <cstddef>

// One adapter as the driver lists it, 80 bytes.
struct nvmeAdapterInfo {
    char name[32];         //  0  NUL terminated
    char signature[32];    // 32  name of its own management signature, NUL terminated
    UCHAR_ remainder[16];  // 64  not read
};
static_assert(sizeof(nvmeAdapterInfo) == 80, "nvmeAdapterInfo");
static_assert(offsetof(nvmeAdapterInfo, signature) == 32, "signature");

constexpr USHORT_INT kMaxAdapters = 64;

// The driver's answer to callback 16, 5128 bytes.
struct nvme_adapter_list {
    UNSIGNED_INTEGER count;                 // 0
    UNSIGNED_INTEGER padding4;              // 4
    nvmeAdapterInfo adapter[kMaxAdapters];  // 8
};
static_assert(sizeof(nvme_adapter_list) == 5128, "nvme_adapter_list");
static_assert(offsetof(nvme_adapter_list, adapter) == 8, "adapter");
