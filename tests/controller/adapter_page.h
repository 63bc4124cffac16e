// The controller's answer to the adapter information command, and what it makes of a record.
#pragma once

#include "connected_talker.h"
#include "noise.h"

#include "VeskNvme.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <vector>

namespace vesktest {

using ControllerBytes = std::array<std::uint8_t, 304>;

inline ControllerBytes bytesOf(const CController& controller) {
    ControllerBytes bytes{};
    std::memcpy(bytes.data(), &controller, bytes.size());
    return bytes;
}

template <typename Bytes>
void putBytes(Bytes& place, std::size_t offset, std::initializer_list<std::uint8_t> bytes) {
    std::copy(bytes.begin(), bytes.end(),
              place.begin() + static_cast<typename Bytes::difference_type>(offset));
}

// Noise but for the fields.
inline std::vector<std::uint8_t> adapterPage() {
    std::vector<std::uint8_t> page = noise(4096, 7);
    putBytes(page, 24, {0x4B, 0x1B, 0x28, 0x10, 0x41, 0x22, 0x13, 0x21});
    putBytes(page, 33, {0x04});
    putBytes(page, 35, {0x02});
    putBytes(page, 36, {0x03});
    putBytes(page, 48, {0x34, 0x12});
    putBytes(page, 164, {0x07, 0x1E, 0x3B, 0xEE});  // the fourth byte belongs to nothing
    putBytes(page, 168, {0x01, 0x0A, 0x02, 0x0B, 0x03, 0x0C, 0x04, 0x0D});
    return page;
}

inline ControllerBytes identityBytes() {
    ControllerBytes bytes{};
    putBytes(bytes, 24, {0x01, 0x0A, 0x02, 0x0B, 0x03, 0x0C, 0x04, 0x0D});
    putBytes(bytes, 48, {0x07, 0x1E, 0x3B, 0x00});
    putBytes(bytes, 64, {0x4B, 0x1B, 0x28, 0x10, 0x41, 0x22, 0x13, 0x21});
    putBytes(bytes, 72, {0x04});
    putBytes(bytes, 90, {0x03});
    putBytes(bytes, 93, {0x02});
    putBytes(bytes, 106, {0x34, 0x12});
    return bytes;
}

inline Reply pageReply(std::vector<std::uint8_t> page) {
    Reply reply;
    reply.bytes = std::move(page);
    reply.bufferSize = 4096;
    return reply;
}

// The command as it goes out over the connection.
inline Record adapterInfoRecord() {
    return connectedRecord({{0, "E2"},
                            {40, "00 04 00 00"},
                            {48, "E0 00 00 00"},
                            {56, "0D 00 00 00"},
                            {81, "01"},
                            {88, "00 10 00 00"},
                            {96, "80 84 1E 00 00 00 00 00"}});
}

}  // namespace vesktest
