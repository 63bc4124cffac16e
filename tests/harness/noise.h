// Bytes that nobody may rely on: what a device leaves in places that its reply does not define.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vesktest {

// Arbitrary bytes, none of them zero; the same for the same size and seed.
inline std::vector<std::uint8_t> noise(std::size_t size, std::uint32_t seed) {
    std::vector<std::uint8_t> bytes(size);
    std::uint32_t state = seed * 2654435761U + 0xA5A5A5A5U;
    if (state == 0) {
        state = 0xA5A5A5A5U;  // the generator below stays at zero
    }
    for (std::uint8_t& byte : bytes) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        byte = static_cast<std::uint8_t>(1 + (state >> 8) % 255);
    }
    return bytes;
}

}  // namespace vesktest
