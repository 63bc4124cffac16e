// What no field defines is noise, made from the scenario's seed: equal seeds give equal noise on
// every machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vesksim {

// A bijective scrambler of 64-bit numbers.
constexpr std::uint64_t mix(std::uint64_t value) {
    value += 0x9E3779B97F4A7C15U;
    value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
    value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
    return value ^ (value >> 31U);
}

inline std::vector<std::uint8_t> noise(std::size_t size, std::uint64_t seed) {
    std::vector<std::uint8_t> bytes(size);
    std::uint64_t word = 0;
    for (std::size_t i = 0; i < size; ++i) {
        if (i % 8 == 0) {
            word = mix(seed + i);
        }
        bytes[i] = static_cast<std::uint8_t>(word);
        word >>= 8U;
    }
    return bytes;
}

}  // namespace vesksim
