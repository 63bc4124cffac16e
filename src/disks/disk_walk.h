// What the builders of physical and of virtual disks do alike: ask the controller for each disk,
// and hand records out.
#pragma once

#include "VeskNvme.h"
#include "support/heap_record.h"

#include <cstring>
#include <stdexcept>

constexpr UCHAR_ kMaxDisks = 2;  // of each kind
constexpr USHORT_INT kNoRecordSize = 0xFFFF;

// Throws std::logic_error with the text unless the request type is known to the operation.
inline void demandRequestType(bool known, const char* text) {
    if (!known) {
        throw std::logic_error(text);
    }
}

// Asks for every disk, or for the one that is selected already, each time with a cleared
// record, and takes each that exists. `absent` is the record's field that says so; it is set before
// asking, so that a command that could not be built reads as an absent disk. Throws std::bad_alloc.
template <typename Record, typename Select, typename Ask, typename Take>
void walkDisks(bool all, UCHAR_ Record::*absent, Select select, Ask ask, Take take) {
    const HeapRecord<Record> record = allocateZeroed<Record>();
    const UCHAR_ disks = all ? kMaxDisks : 1;
    for (UCHAR_ id = 0; id < disks; ++id) {
        std::memset(record.get(), 0, sizeof(Record));
        record.get()->*absent = 1;
        if (all) {
            select(id);
        }
        ask(record.get());
        if (record.get()->*absent == 0) {
            take(record.get());
        }
    }
}

// Writes the header of an answer. `sizeOfSeveral` is the record size that it shows for more than
// one.
inline void deliverHeader(VOIDPTR out, UCHAR_ count, USHORT_INT sizeOfSeveral) {
    auto* const request = static_cast<PInfo_Request>(out);
    request->recordCount = count;
    request->recordSize = count > 1 ? sizeOfSeveral : kNoRecordSize;
}

// Writes one record of an answer behind the header.
template <typename Record>
void deliverRecord(VOIDPTR out, UCHAR_ index, const Record* record) {
    std::memcpy(static_cast<UCHAR_*>(out) + sizeof(Info_Request) + index * sizeof(Record), record,
                sizeof(Record));
}
