// A connection to one adapter, and a request that goes over it.
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
static_assert(sizeof(nvme_handle) == 40, "nvme_handle");
static_assert(offsetof(nvme_handle, name) == 0, "read through a HANDLE");
static_assert(offsetof(nvme_handle, handle) == 32, "handle");

// A request to the driver, from the heap for the time of one command.
struct _znvTalkerMulti {
    nvme_handle* handle;
    ULONG_INT code;  // the driver gets the low 32 bits
    nvme_uio* uio;   // the caller's
};
typedef _znvTalkerMulti znvTalkerMulti;
static_assert(sizeof(znvTalkerMulti) == 24, "znvTalkerMulti");
static_assert(offsetof(znvTalkerMulti, code) == 8, "code");
static_assert(offsetof(znvTalkerMulti, uio) == 16, "uio");
