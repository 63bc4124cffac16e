// The controller's record of one virtual disk: the first 192 bytes of the 4096-byte reply; nobody
// reads the rest. Little endian; the name may fill its field without a NUL.
#pragma once

#include "VeskNvme.h"

#include <cstddef>

// Members that a record has room for, although its count may say more.
constexpr UCHAR_ kMaxMemberIds = 33;

struct _vdInfoData {
    UCHAR_ rsvd0[4];
    UCHAR_ vdAbsent;                      //   4  0: the disk exists; else nothing below is valid
    UCHAR_ rsvd5[3];                      //   5
    USHORT_INT vdId;                      //   8
    UCHAR_ vdStatus;                      //  10
    UCHAR_ rsvd11;                        //  11
    UCHAR_ raidMode;                      //  12
    UCHAR_ memberCount;                   //  13
    UCHAR_ rsvd14[2];                     //  14
    ULONG_INT size;                       //  16  in LBAs
    USHORT_INT memberIds[kMaxMemberIds];  //  24  PD ids
    USHORT_INT stripeBlockSize;           //  90
    UNSIGNED_INTEGER blockSize;           //  92
    char vdName[15];                      //  96
    UCHAR_ rsvd111[81];                   // 111
};
static_assert(sizeof(_vdInfoData) == 192, "_vdInfoData");
static_assert(offsetof(_vdInfoData, vdAbsent) == 4, "vdAbsent");
static_assert(offsetof(_vdInfoData, vdId) == 8, "vdId");
static_assert(offsetof(_vdInfoData, vdStatus) == 10, "vdStatus");
static_assert(offsetof(_vdInfoData, raidMode) == 12, "raidMode");
static_assert(offsetof(_vdInfoData, memberCount) == 13, "memberCount");
static_assert(offsetof(_vdInfoData, size) == 16, "size");
static_assert(offsetof(_vdInfoData, memberIds) == 24, "memberIds");
static_assert(offsetof(_vdInfoData, stripeBlockSize) == 90, "stripeBlockSize");
static_assert(offsetof(_vdInfoData, blockSize) == 92, "blockSize");
static_assert(offsetof(_vdInfoData, vdName) == 96, "vdName");
