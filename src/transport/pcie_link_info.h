// The answer to a request for PCIe link data, 4 bytes in the request's buffer. All four in the
// encoding of the PCI Express standard.
#pragma once

#include "VeskNvme.h"

#include <cstddef>

struct _VESKPCIInfo {
    UCHAR_ negotiatedLinkSpeed;  // 0
    UCHAR_ maxLinkSpeed;         // 1
    UCHAR_ negotiatedLinkWidth;  // 2
    UCHAR_ maxLinkWidth;         // 3
};
static_assert(sizeof(_VESKPCIInfo) == 4, "_VESKPCIInfo");
static_assert(offsetof(_VESKPCIInfo, maxLinkSpeed) == 1, "maxLinkSpeed");
static_assert(offsetof(_VESKPCIInfo, negotiatedLinkWidth) == 2, "negotiatedLinkWidth");
static_assert(offsetof(_VESKPCIInfo, maxLinkWidth) == 3, "maxLinkWidth");
