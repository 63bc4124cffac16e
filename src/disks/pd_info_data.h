// The controller's record of one physical disk: the first 112 bytes of the 4096-byte reply; nobody
// reads the rest. Little endian; texts may fill their field without a NUL.
#pragma once

#include "VeskNvme.h"

#include <cstddef>

struct _PDInfoData {
    UCHAR_ rsvd0[4];
    UCHAR_ pdAbsent;             //   4  0: the disk exists; else nothing below is valid
    UCHAR_ rsvd5[3];             //   5
    USHORT_INT deviceId;         //   8  for the information and free-space records
    UCHAR_ pdStatus;             //  10  bit 0: online; bit 5: SMART status
    UCHAR_ rsvd11[9];            //  11
    char modelNumber[40];        //  20
    char serialNumber[20];       //  60
    UNSIGNED_INTEGER blockSize;  //  80
    char fwVersion[8];           //  84
    UCHAR_ rsvd92[4];            //  92
    ULONG_INT size;              //  96  in the controller's unit
    USHORT_INT hdId;             // 104  for the configuration and raid status records
    UCHAR_ rsvd106[6];           // 106
};
static_assert(sizeof(_PDInfoData) == 112, "_PDInfoData");
static_assert(offsetof(_PDInfoData, pdAbsent) == 4, "pdAbsent");
static_assert(offsetof(_PDInfoData, deviceId) == 8, "deviceId");
static_assert(offsetof(_PDInfoData, pdStatus) == 10, "pdStatus");
static_assert(offsetof(_PDInfoData, modelNumber) == 20, "modelNumber");
static_assert(offsetof(_PDInfoData, serialNumber) == 60, "serialNumber");
static_assert(offsetof(_PDInfoData, blockSize) == 80, "blockSize");
static_assert(offsetof(_PDInfoData, fwVersion) == 84, "fwVersion");
static_assert(offsetof(_PDInfoData, size) == 96, "size");
static_assert(offsetof(_PDInfoData, hdId) == 104, "hdId");

constexpr UCHAR_ kOnlineBit = 0x01;  // of pdStatus; such a disk has no free space
constexpr UCHAR_ kSmartBit = 0x20;   // of pdStatus; selects the SMART status
