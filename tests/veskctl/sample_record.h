// A controller's record as bytes, written out by hand: what a library hands over, with noise in all
// bytes that carry nothing.
#pragma once

#include "veskctl/controller_record.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>

inline void putBytes(veskctl::ControllerRecord& record, std::size_t offset,
                     std::initializer_list<std::uint8_t> bytes) {
    std::copy(bytes.begin(), bytes.end(),
              record.bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}

inline veskctl::ControllerRecord sampleRecord() {
    veskctl::ControllerRecord record;
    record.bytes.fill(0xA5);
    putBytes(record, 24, {0x02, 0x00, 0x03, 0x00, 0x2C, 0x01, 0x88, 0x13});
    putBytes(record, 48, {0x00, 0x00, 0x3B, 0x00, 0x00, 0x00, 0x00, 0x00});
    putBytes(record, 64, {0x34, 0x12, 0xBC, 0x9A, 0x78, 0x56, 0xF0, 0xDE});
    putBytes(record, 72, {0x04});
    putBytes(record, 90, {0x02});
    putBytes(record, 93, {0x01});
    putBytes(record, 106, {0x00, 0x10});
    putBytes(record, 272, {0x04, 0x03, 0x08, 0x04});
    return record;
}
