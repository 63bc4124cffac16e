// Little-endian numbers out of bytes.
#pragma once

#include <cstdint>

namespace veskctl {

inline std::uint16_t read16(const std::uint8_t* bytes) {
    return static_cast<std::uint16_t>(bytes[0] | (bytes[1] << 8U));
}

inline std::uint32_t read32(const std::uint8_t* bytes) {
    return read16(bytes) | (static_cast<std::uint32_t>(read16(bytes + 2)) << 16U);
}

}  // namespace veskctl
