// Records of the disk calls as bytes: what the controller answers, what a caller hands in.
#pragma once

#include "noise.h"

#include "VeskNvme.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace vesktest {

using Bytes = std::vector<std::uint8_t>;

inline Bytes& put(Bytes& place, std::size_t offset, const Bytes& bytes) {
    for (const std::uint8_t byte : bytes) {
        place.at(offset++) = byte;
    }
    return place;
}

inline Bytes& putText(Bytes& place, std::size_t offset, const std::string& text) {
    return put(place, offset, Bytes(text.begin(), text.end()));
}

inline Bytes joined(const Bytes& first, const Bytes& second) {
    Bytes bytes = first;
    bytes.insert(bytes.end(), second.begin(), second.end());
    return bytes;
}

// A copy with other bytes in one place.
inline Bytes with(Bytes bytes, std::size_t offset, const Bytes& other) {
    return put(bytes, offset, other);
}

template <typename Record>
Bytes bytesOf(const Record* record) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(record);
    return {bytes, bytes + sizeof(Record)};
}

// The controller's page about a physical disk: device id 0x1234, hd id 0x5678, status 0x20, block
// size 0x00010200, size 0x0807060504030201. The texts fill their fields. The rest is noise.
inline Bytes diskPage() {
    Bytes page = noise(4096, 21);
    put(page, 4, {0x00});
    put(page, 8, {0x34, 0x12});
    put(page, 10, {0x20});
    putText(page, 20, "MODEL-0123456789-0123456789-0123456789-X");
    putText(page, 60, "SERIAL-0123456789-XY");
    put(page, 80, {0x00, 0x02, 0x01, 0x00});
    putText(page, 84, "FW-1.2.3");
    put(page, 96, {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08});
    put(page, 104, {0x78, 0x56});
    return page;
}

// Another disk: ids 0x0001 and 0x0101, online, short texts.
inline Bytes secondDiskPage() {
    Bytes page = noise(4096, 22);
    put(page, 4, {0x00});
    put(page, 8, {0x01, 0x00});
    put(page, 10, {0x01});
    put(page, 20, Bytes(40, 0xEE));
    putText(page, 20, std::string("Disk B  \0", 9));
    put(page, 60, Bytes(20, 0xEE));
    putText(page, 60, std::string("S2\0", 3));
    put(page, 80, {0x00, 0x10, 0x00, 0x00});
    put(page, 84, Bytes(8, 0xEE));
    putText(page, 84, std::string("F2\0", 3));
    put(page, 96, {0x80, 0x84, 0x1E, 0x00, 0x00, 0x00, 0x00, 0x00});
    put(page, 104, {0x01, 0x01});
    return page;
}

inline Bytes absentPage() {
    return with(noise(4096, 23), 4, {0x01});
}

// What the library makes of the two disks.
inline Bytes diskInfo() {
    Bytes record(248, 0);
    put(record, 36, {0x34, 0x12});
    put(record, 66, {0x40});
    putText(record, 76, "MODEL-0123456789-0123456789-0123456789-");
    putText(record, 116, "SERIAL-0123456789-X");
    putText(record, 136, "FW-1.2.");
    put(record, 144, {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08});
    put(record, 164, {0x00, 0x02, 0x01, 0x00});
    put(record, 184, {0x01});
    return record;
}

inline Bytes secondDiskInfo() {
    Bytes record(248, 0);
    put(record, 36, {0x01, 0x00});
    put(record, 66, {0x40});
    putText(record, 76, "Disk B  ");
    putText(record, 116, "S2");
    putText(record, 136, "F2");
    put(record, 144, {0x80, 0x84, 0x1E, 0x00, 0x00, 0x00, 0x00, 0x00});
    put(record, 164, {0x00, 0x10, 0x00, 0x00});
    put(record, 184, {0x01});
    return record;
}

inline Bytes diskConfig() {
    return {0x01, 0x01, 0x00, 0x03, 0x00, 0x00, 0x78, 0x56};
}

inline Bytes secondDiskConfig() {
    return {0x01, 0x01, 0x01, 0x03, 0x00, 0x00, 0x01, 0x01};
}

// A health page: 300 kelvins, spare 100, threshold 10, 3 per cent used.
inline Bytes healthPage() {
    return with(noise(512, 24), 1, {0x2C, 0x01, 0x64, 0x0A, 0x03});
}

// What the library makes of it and of diskPage().
inline Bytes healthRecord() {
    Bytes record(2404, 0);
    put(record, 0, {0x01});
    putText(record, 5, "Percent Drive Life Remaining");
    put(record, 71, {0x03});
    put(record, 84, {0x01});
    putText(record, 85, "Available Spare");
    put(record, 151, {0x64});
    put(record, 159, {0x0A});
    return record;
}

// The controller's page about a virtual disk: id 0x0405, status 7, mode 0 with the members 0 and 1,
// size 1000001, stripe block size 0x0180, block size 0x00000200. The name fills its field.
inline Bytes volumePage() {
    Bytes page = noise(4096, 31);
    put(page, 4, {0x00});
    put(page, 8, {0x05, 0x04});
    put(page, 10, {0x07});
    put(page, 12, {0x00, 0x02});
    put(page, 16, {0x41, 0x42, 0x0F, 0x00, 0x00, 0x00, 0x00, 0x00});
    put(page, 24, {0x00, 0x00, 0x01, 0x00});
    put(page, 90, {0x80, 0x01});
    put(page, 92, {0x00, 0x02, 0x00, 0x00});
    putText(page, 96, "VOLUME-89012345");
    return page;
}

// Another: id 1, mode 1 with the members 1 and 2, size 1000000.
inline Bytes secondVolumePage() {
    Bytes page = noise(4096, 32);
    put(page, 4, {0x00});
    put(page, 8, {0x01, 0x00});
    put(page, 10, {0xFE});
    put(page, 12, {0x01, 0x02});
    put(page, 16, {0x40, 0x42, 0x0F, 0x00, 0x00, 0x00, 0x00, 0x00});
    put(page, 24, {0x01, 0x00, 0x02, 0x00});
    put(page, 90, {0x40, 0x00});
    put(page, 92, {0x00, 0x10, 0x00, 0x00});
    put(page, 96, Bytes(15, 0xEE));
    putText(page, 96, std::string("VD B \0", 6));
    return page;
}

inline Bytes volumeInfo() {
    Bytes record(312, 0);
    put(record, 0, {0x05, 0x04, 0x07});
    put(record, 4, {0x80, 0x01, 0x00, 0x02, 0x01});
    put(record, 24, {0x41, 0x42, 0x0F});
    putText(record, 32, "VOLUME-89012345");
    put(record, 308, {0x00, 0x02, 0x00, 0x00});
    return record;
}

inline Bytes secondVolumeInfo() {
    Bytes record(312, 0);
    put(record, 0, {0x01, 0x00, 0xFE});
    put(record, 4, {0x40, 0x00, 0x01, 0x02, 0x01});
    put(record, 24, {0x40, 0x42, 0x0F});
    putText(record, 32, "VD B ");
    put(record, 308, {0x00, 0x10, 0x00, 0x00});
    return record;
}

inline Bytes volumeConfig() {
    Bytes record(24, 0);
    put(record, 2, {0x01, 0x07, 0x05, 0x04});
    return putText(record, 8, "VOLUME-89012345");
}

inline Bytes secondVolumeConfig() {
    Bytes record(24, 0);
    put(record, 2, {0x01, 0xFE, 0x01, 0x00});
    return putText(record, 8, "VD B ");
}

// A request in memory that was used before, with room for `size` bytes of records.
inline Bytes request(std::uint8_t type, std::uint8_t id, std::size_t size) {
    return with(noise(16 + size, 11), 1, {type, id});
}

inline PInfo_Request asRequest(Bytes& bytes) {
    void* const record = bytes.data();
    return static_cast<PInfo_Request>(record);
}

// The request with an answer in it; behind the records it keeps what it held.
inline Bytes answered(Bytes before, const Bytes& countAndSize, const Bytes& records) {
    put(before, 6, countAndSize);
    return put(before, 16, records);
}

inline const Bytes kNone = {};

}  // namespace vesktest
