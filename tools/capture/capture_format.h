// The capture file as it lies on the disk: a header, then records one behind the other. Little
// endian, no padding between records. docs/capture.md has the same as a table.
#pragma once

#include <cstddef>
#include <cstdint>

namespace veskcap {

constexpr char kMagic[8] = {'V', 'E', 'S', 'K', 'C', 'A', 'P', '\x1A'};
constexpr std::uint16_t kVersion = 1;

// FileHeader::flags
constexpr std::uint32_t kMasked = 1;

struct FileHeader {
    char magic[8];
    std::uint16_t version;   //  8
    std::uint16_t length;    // 10  of this header; records follow
    std::uint32_t flags;     // 12
    std::uint32_t keyCheck;  // 16  of the mask's key, 16 bits: tells two keys apart
    std::uint8_t reserved[8];
    std::uint32_t crc;  // 28  over the bytes before
};
static_assert(sizeof(FileHeader) == 32);
static_assert(offsetof(FileHeader, crc) == 28);

enum RecordType : std::uint16_t {
    kStartRecord = 1,     // a process began to record
    kFileRecord = 2,      // a file of the host
    kExchangeRecord = 3,  // a call and what came of it
};

struct RecordHeader {
    std::uint32_t crc;     //  0  over all behind it, body included
    std::uint32_t length;  //  4  of the body
    std::uint16_t type;    //  8
    std::uint16_t reserved;
    std::uint32_t pid;  // 12
};
static_assert(sizeof(RecordHeader) == 16);

// The program's name follows.
struct StartBody {
    std::uint64_t time;  // nanoseconds since 1970, as all times here
    std::uint32_t nameLength;
    std::uint32_t reserved;
};
static_assert(sizeof(StartBody) == 16);

// FileBody::flags and PieceHeader::flags: the end is missing, since there is too much of it.
constexpr std::uint32_t kCut = 1;

// The path follows, then what the file holds.
struct FileBody {
    std::uint64_t time;
    std::int32_t error;  // errno of reading it; 0: it was read
    std::uint32_t flags;
    std::uint32_t pathLength;
    std::uint32_t contentLength;  // as stored
};
static_assert(sizeof(FileBody) == 24);

enum Call : std::uint32_t {
    kInit = 1,     // vmk_MgmtUserInit
    kInvoke = 2,   // vmk_MgmtUserCallbackInvokeInt
    kDestroy = 3,  // vmk_MgmtUserDestroy
};

// The pieces follow.
struct ExchangeBody {
    std::uint64_t time;            //  0  when the call began
    std::uint64_t duration;        //  8  nanoseconds in the platform's library
    std::uint32_t call;            // 16
    std::int32_t result;           // 20
    std::uint64_t handle;          // 24  of kInit: the one given out, 0 if it failed
    std::uint64_t cookie;          // 32  of kInit; instance id of kInvoke
    std::uint64_t callbackId;      // 40
    std::uint32_t parameterCount;  // 48
    std::uint32_t pieceCount;      // 52
};
static_assert(sizeof(ExchangeBody) == 56);

enum PieceKind : std::uint16_t {
    kSignature = 1,      // of kInit, 80 bytes
    kCallbackTable = 2,  // of kInit, 64 bytes for each row
    kArgumentIn = 3,
    kArgumentOut = 4,
    kDataIn = 5,  // what a pass-through sends and fetches
    kDataOut = 6,
    kMetaIn = 7,
    kMetaOut = 8,
};

// The bytes follow. Pointers in them read 1, or 0 for null.
struct PieceHeader {
    std::uint16_t kind;
    std::uint8_t index;  // of a parameter
    std::uint8_t flags;
    std::uint32_t length;  // of the piece
    std::uint32_t stored;  // bytes that follow; up to the length come zeros
};
static_assert(sizeof(PieceHeader) == 12);

// No writer goes beyond these, so a reader need not.
constexpr std::size_t kMostPieces = 16;
constexpr std::size_t kMostStored = 4U << 20U;  // of one piece, and of one file
constexpr std::size_t kMostParameters = 4;      // a callback table has room for no more
constexpr std::size_t kLongestBody = kMostPieces * (sizeof(PieceHeader) + kMostStored);

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "records are moved as they stand");

}  // namespace veskcap
