// Bytes that nobody may rely on: what a device leaves in places that its reply does not define.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vesktest {

// Arbitrary bytes, none of them zero; the same for the same size and seed.
std::vector<std::uint8_t> noise(std::size_t size, std::uint32_t seed);

}  // namespace vesktest
