// The records that cross the management interface, as the driver's side reads and writes them.
// Little endian, natural alignment. Copy them in and out with memcpy; callers own all of them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vesksim {

constexpr std::uint32_t kInterfaceVersion = 0x01000000;
constexpr std::size_t kAdapterArrayBytes = 5120;

constexpr std::uint64_t kCallbackDriver = 16;       // adapter list, or an adapter's own record
constexpr std::uint64_t kCallbackPassThrough = 17;  // one NVMe command

// One NVMe command and its completion, 120 bytes.
struct PassThroughRecord {
    std::uint8_t opcode;             //   0
    std::uint8_t fuse;               //   1  bits 0 and 1
    std::uint16_t commandId;         //   2
    std::uint32_t nsid;              //   4
    std::uint8_t rsvd8[32];          //   8
    std::uint32_t cdw10;             //  40
    std::uint32_t cdw11;             //  44
    std::uint32_t cdw12;             //  48
    std::uint32_t cdw13;             //  52
    std::uint32_t cdw14;             //  56
    std::uint32_t cdw15;             //  60
    std::uint32_t result;            //  64  completion dword 0
    std::uint32_t completionDword1;  //  68
    std::uint16_t queueHead;         //  72
    std::uint16_t queueId;           //  74  0: admin queue
    std::uint16_t completedId;       //  76
    std::uint16_t completionStatus;  //  78  bit 0 phase, 1 to 8 code, 9 to 11 type, 15 no retry
    std::uint8_t namespaceId;        //  80
    std::uint8_t direction;          //  81  0 no data, 1 from the controller
    std::uint8_t rsvd82[2];          //  82
    std::uint32_t uioStatus;         //  84  the driver's own status word
    std::uint32_t dataLength;        //  88
    std::uint32_t metaLength;        //  92
    std::uint64_t timeout;           //  96
    std::uint64_t dataAddress;       // 104
    std::uint64_t metaAddress;       // 112
};
static_assert(sizeof(PassThroughRecord) == 120);
static_assert(offsetof(PassThroughRecord, cdw10) == 40);
static_assert(offsetof(PassThroughRecord, result) == 64);
static_assert(offsetof(PassThroughRecord, completionStatus) == 78);
static_assert(offsetof(PassThroughRecord, direction) == 81);
static_assert(offsetof(PassThroughRecord, uioStatus) == 84);
static_assert(offsetof(PassThroughRecord, timeout) == 96);
static_assert(offsetof(PassThroughRecord, dataAddress) == 104);

// One row of a callback table, 64 bytes.
struct CallbackEntry {
    std::uint32_t location;           //  0  1: runs on the driver's side
    std::uint8_t rsvd4[4];            //  4
    std::uint64_t callback;           //  8  function address; null on the calling side
    std::uint8_t synchronous;         // 16
    std::uint8_t parameterCount;      // 17
    std::uint8_t rsvd18[2];           // 18
    std::uint32_t parameterSizes[4];  // 20  bytes
    std::uint32_t parameterTypes[4];  // 36  0 in, 1 out, 2 in and out
    std::uint8_t rsvd52[4];           // 52
    std::uint64_t callbackId;         // 56
};
static_assert(sizeof(CallbackEntry) == 64);
static_assert(offsetof(CallbackEntry, callback) == 8);
static_assert(offsetof(CallbackEntry, synchronous) == 16);
static_assert(offsetof(CallbackEntry, parameterSizes) == 20);
static_assert(offsetof(CallbackEntry, parameterTypes) == 36);
static_assert(offsetof(CallbackEntry, callbackId) == 56);

// What a management connection is opened with, 80 bytes.
struct SignatureRecord {
    std::uint32_t version;        //  0
    char name[32];                //  4  NUL padded
    char vendor[32];              // 36  NUL padded
    std::uint32_t callbackCount;  // 68
    std::uint64_t callbacks;      // 72  address of the CallbackEntry rows
};
static_assert(sizeof(SignatureRecord) == 80);
static_assert(offsetof(SignatureRecord, name) == 4);
static_assert(offsetof(SignatureRecord, vendor) == 36);
static_assert(offsetof(SignatureRecord, callbacks) == 72);

// One row of the adapter list, 80 bytes.
struct AdapterListEntry {
    char name[32];               //  0  NUL terminated
    char signature[32];          // 32  NUL terminated
    std::uint8_t driverOwn[16];  // 64  means something to the driver only
};
static_assert(sizeof(AdapterListEntry) == 80);

}  // namespace vesksim
