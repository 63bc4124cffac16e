#include "capture/crc32c.h"

#include <array>
#include <cstring>

namespace veskcap {

namespace {

constexpr std::uint32_t kPolynomial = 0x82F63B78;  // bits reversed

constexpr std::array<std::uint32_t, 256> makeTable() {
    std::array<std::uint32_t, 256> table = {};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t crc = byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? kPolynomial : 0);
        }
        table[byte] = crc;
    }
    return table;
}

constexpr std::array<std::uint32_t, 256> kTable = makeTable();

#ifdef __x86_64__

__attribute__((target("sse4.2"))) std::uint32_t byInstruction(std::uint32_t before,
                                                              const void* data, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::uint64_t crc = ~before;
    for (; size >= 8; size -= 8, bytes += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes, sizeof(word));
        crc = __builtin_ia32_crc32di(crc, word);
    }
    auto low = static_cast<std::uint32_t>(crc);
    for (; size > 0; --size, ++bytes) {
        low = __builtin_ia32_crc32qi(low, *bytes);
    }
    return ~low;
}

#endif

}  // namespace

std::uint32_t crc32cByTable(std::uint32_t before, const void* data, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::uint32_t crc = ~before;
    for (std::size_t i = 0; i < size; ++i) {
        crc = (crc >> 8U) ^ kTable[(crc ^ bytes[i]) & 0xFFU];
    }
    return ~crc;
}

std::uint32_t crc32c(std::uint32_t before, const void* data, std::size_t size) {
#ifdef __x86_64__
    static const bool kHasInstruction = [] {
        __builtin_cpu_init();
        return __builtin_cpu_supports("sse4.2") != 0;
    }();
    if (kHasInstruction) {
        return byInstruction(before, data, size);
    }
#endif
    return crc32cByTable(before, data, size);
}

}  // namespace veskcap
