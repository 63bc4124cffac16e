// The controller's answer to the adapter information command. The first 176 bytes of the 4096-byte
// reply; nobody reads the rest. Little endian. (The name is spelled so in the interface.)
#pragma once

#include "VeskNvme.h"

#include <cstddef>

struct _AdapaterData {
    UCHAR_ rsvd0[24];
    USHORT_INT vendorId;              //  24  PCI
    USHORT_INT subVendorId;           //  26  PCI
    USHORT_INT deviceId;              //  28  PCI
    USHORT_INT subDeviceId;           //  30  PCI
    UCHAR_ rsvd32;                    //  32
    UCHAR_ portCount;                 //  33
    UCHAR_ rsvd34;                    //  34
    UCHAR_ vdCount;                   //  35
    UCHAR_ pdCount;                   //  36
    UCHAR_ rsvd37[11];                //  37
    USHORT_INT maxBufSize;            //  48
    UCHAR_ rsvd50[114];               //  50
    _BDF bdf;                         // 164  the fourth byte of the image is not read
    UCHAR_ rsvd167;                   // 167
    _PackageVersion firmwareVersion;  // 168
};
static_assert(sizeof(_AdapaterData) == 176, "_AdapaterData");
static_assert(offsetof(_AdapaterData, vendorId) == 24, "vendorId");
static_assert(offsetof(_AdapaterData, subDeviceId) == 30, "subDeviceId");
static_assert(offsetof(_AdapaterData, portCount) == 33, "portCount");
static_assert(offsetof(_AdapaterData, vdCount) == 35, "vdCount");
static_assert(offsetof(_AdapaterData, pdCount) == 36, "pdCount");
static_assert(offsetof(_AdapaterData, maxBufSize) == 48, "maxBufSize");
static_assert(offsetof(_AdapaterData, bdf) == 164, "bdf");
static_assert(offsetof(_AdapaterData, firmwareVersion) == 168, "firmwareVersion");
