// A bijective scrambler of 64-bit numbers: equal inputs give equal outputs on every machine.
#pragma once

#include <cstdint>

namespace vesksim {

constexpr std::uint64_t mix(std::uint64_t value) {
    value += 0x9E3779B97F4A7C15U;
    value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
    value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
    return value ^ (value >> 31U);
}

}  // namespace vesksim
