// How the answers of physical and of virtual disks are laid out in the caller's memory.
#pragma once

#include "VeskNvme.h"

#include <cstring>

constexpr UCHAR_ kMaxDisks = 2;  // of each kind
constexpr USHORT_INT kNoRecordSize = 0xFFFF;

namespace stg {

// Writes the header. `sizeOfSeveral` is the record size that it shows for more than one record.
inline void deliverHeader(VOIDPTR out, UCHAR_ count, USHORT_INT sizeOfSeveral) {
    auto* const request = static_cast<PInfo_Request>(out);
    request->recordCount = count;
    request->recordSize = count > 1 ? sizeOfSeveral : kNoRecordSize;
}

// Writes one record behind the header.
template <typename Record>
void deliverRecord(VOIDPTR out, UCHAR_ index, const Record* record) {
    std::memcpy(static_cast<UCHAR_*>(out) + sizeof(Info_Request) + index * sizeof(Record), record,
                sizeof(Record));
}

}  // namespace stg
