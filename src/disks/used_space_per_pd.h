// What one virtual disk takes of each of its members. Stays inside the process.
#pragma once

#include "VeskNvme.h"

#include <vector>

struct UsedSpacePerPDInVD {
    UCHAR_ vdId;                // low byte of the virtual disk's id
    std::vector<UCHAR_> pdIds;  // of the members, low bytes
    ULONG_ULONG_INT usedSize;   // per member, in LBAs of the virtual disk
};
