// The pass-through record of callback 17: an NVMe submission queue entry, a completion queue entry
// and the description of the transfer. 120 bytes, little endian, on the stack of the call.
#pragma once

#include "VeskNvme.h"

#include <cstddef>

struct nvme_uio {
    UCHAR_ opcode;                //   0
    UCHAR_ fuse;                  //   1  bits 0 and 1
    USHORT_INT commandId;         //   2
    UNSIGNED_INTEGER nsid;        //   4
    UCHAR_ reserved[32];          //   8  dwords 2 to 9 of the entry: zero
    UNSIGNED_INTEGER cdw10;       //  40
    UNSIGNED_INTEGER cdw11;       //  44
    UNSIGNED_INTEGER cdw12;       //  48
    UNSIGNED_INTEGER cdw13;       //  52
    UNSIGNED_INTEGER cdw14;       //  56
    UNSIGNED_INTEGER cdw15;       //  60
    UCHAR_ completion[14];        //  64  by the driver, not read
    USHORT_INT completionStatus;  //  78  by the driver: bit 0 phase, 1 to 8 code, 9 to 11 type
    UCHAR_ namespaceId;           //  80  low byte of nsid
    UCHAR_ direction;             //  81  1 read into the buffer, 0 no transfer
    USHORT_INT reserved2;         //  82
    UNSIGNED_INTEGER uioStatus;   //  84  by the driver, logged only
    UNSIGNED_INTEGER dataLength;  //  88  bytes
    UNSIGNED_INTEGER metaLength;  //  92  bytes
    ULONG_INT timeout;            //  96  in the driver's unit
    VOIDPTR dataAddress;          // 104
    VOIDPTR metaAddress;          // 112
};
static_assert(sizeof(nvme_uio) == 120, "nvme_uio");
static_assert(offsetof(nvme_uio, nsid) == 4, "nsid");
static_assert(offsetof(nvme_uio, cdw10) == 40, "cdw10");
static_assert(offsetof(nvme_uio, cdw15) == 60, "cdw15");
static_assert(offsetof(nvme_uio, completion) == 64, "completion");
static_assert(offsetof(nvme_uio, completionStatus) == 78, "completionStatus");
static_assert(offsetof(nvme_uio, namespaceId) == 80, "namespaceId");
static_assert(offsetof(nvme_uio, direction) == 81, "direction");
static_assert(offsetof(nvme_uio, uioStatus) == 84, "uioStatus");
static_assert(offsetof(nvme_uio, dataLength) == 88, "dataLength");
static_assert(offsetof(nvme_uio, metaLength) == 92, "metaLength");
static_assert(offsetof(nvme_uio, timeout) == 96, "timeout");
static_assert(offsetof(nvme_uio, dataAddress) == 104, "dataAddress");
static_assert(offsetof(nvme_uio, metaAddress) == 112, "metaAddress");
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "records are moved as they stand");

// Every command goes out with this; the driver interprets it.
constexpr ULONG_INT kCommandTimeout = 2000000;
