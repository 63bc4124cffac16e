// CRC-32C (Castagnoli), the sum of iSCSI and ext4.
#pragma once

#include <cstddef>
#include <cstdint>

namespace veskcap {

// Goes on from the sum of what stood before; 0 to begin with.
std::uint32_t crc32c(std::uint32_t before, const void* data, std::size_t size);

// The same without the processor's instruction for it.
std::uint32_t crc32cByTable(std::uint32_t before, const void* data, std::size_t size);

}  // namespace veskcap
