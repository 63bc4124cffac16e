// A capture with its checksums set right: hardly any change gets past those.
#pragma once

#include "capture/capture_format.h"
#include "capture/crc32c.h"

#include <cstring>
#include <string>

namespace veskfuzz {

inline void mendSum(char* at, std::size_t from, std::size_t size) {
    const std::uint32_t crc = veskcap::crc32c(0, at + from, size);
    std::memcpy(from == 0 ? at + size : at, &crc, sizeof(crc));
}

inline std::string withRightSums(std::string bytes) {
    using veskcap::FileHeader;
    using veskcap::RecordHeader;
    if (bytes.size() < sizeof(FileHeader)) {
        return bytes;
    }
    mendSum(bytes.data(), 0, offsetof(FileHeader, crc));
    std::size_t at = sizeof(FileHeader);
    while (bytes.size() - at >= sizeof(RecordHeader)) {
        RecordHeader header;
        std::memcpy(&header, &bytes[at], sizeof(header));
        if (header.length > bytes.size() - at - sizeof(header)) {
            break;
        }
        constexpr std::size_t kSummed = offsetof(RecordHeader, length);
        mendSum(&bytes[at], kSummed, sizeof(header) - kSummed + header.length);
        at += sizeof(header) + header.length;
    }
    return bytes;
}

}  // namespace veskfuzz
