// The NVMe SMART / Health Information log page of one disk, 512 bytes.
#pragma once

#include "VeskNvme.h"

#include <cstddef>

struct _SMART_HEALTH_INFORMATION_LOG_ENTRY {
    UCHAR_ criticalWarning;          // 0  not consulted
    UCHAR_ temperature[2];           // 1  kelvins, little endian, at an odd offset
    UCHAR_ availableSpare;           // 3  percent
    UCHAR_ availableSpareThreshold;  // 4  percent
    UCHAR_ percentageUsed;           // 5  may exceed 100
    UCHAR_ rsvd6[506];
};
static_assert(sizeof(_SMART_HEALTH_INFORMATION_LOG_ENTRY) == 512,
              "_SMART_HEALTH_INFORMATION_LOG_ENTRY");
static_assert(offsetof(_SMART_HEALTH_INFORMATION_LOG_ENTRY, temperature) == 1, "temperature");
static_assert(offsetof(_SMART_HEALTH_INFORMATION_LOG_ENTRY, availableSpare) == 3, "availableSpare");
static_assert(offsetof(_SMART_HEALTH_INFORMATION_LOG_ENTRY, availableSpareThreshold) == 4,
              "availableSpareThreshold");
static_assert(offsetof(_SMART_HEALTH_INFORMATION_LOG_ENTRY, percentageUsed) == 5, "percentageUsed");
