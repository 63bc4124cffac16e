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

// The instruction takes a word in each cycle and three cycles for one: three lanes fill them.
constexpr std::size_t kLane = 256;
static_assert(kLane % sizeof(std::uint64_t) == 0);

// What becomes of each byte of a checksum when as many zeros as a lane is long follow.
using LaneTable = std::array<std::array<std::uint32_t, 256>, 4>;

constexpr LaneTable makeLaneTable() {
    LaneTable table = {};
    for (unsigned place = 0; place < 4; ++place) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            std::uint32_t crc = 1U << (8 * place + bit);
            for (std::size_t zeros = 0; zeros < kLane; ++zeros) {
                crc = (crc >> 8U) ^ kTable[crc & 0xFFU];
            }
            // Linear: a byte of several bits gives the sum of theirs.
            for (unsigned byte = 0; byte < 256; ++byte) {
                table[place][byte] ^= (byte >> bit & 1U) != 0 ? crc : 0;
            }
        }
    }
    return table;
}

constexpr LaneTable kBehindLane = makeLaneTable();

std::uint32_t behindLane(std::uint32_t crc) {
    return kBehindLane[0][crc & 0xFFU] ^ kBehindLane[1][crc >> 8U & 0xFFU] ^
           kBehindLane[2][crc >> 16U & 0xFFU] ^ kBehindLane[3][crc >> 24U];
}

std::uint64_t wordAt(const unsigned char* bytes) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

__attribute__((target("sse4.2"))) std::uint32_t byInstruction(std::uint32_t before,
                                                              const void* data, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::uint64_t crc = static_cast<std::uint32_t>(~before);
    for (; size >= 3 * kLane; size -= 3 * kLane, bytes += 3 * kLane) {
        std::uint64_t second = 0;
        std::uint64_t third = 0;
        for (std::size_t at = 0; at < kLane; at += sizeof(std::uint64_t)) {
            crc = __builtin_ia32_crc32di(crc, wordAt(bytes + at));
            second = __builtin_ia32_crc32di(second, wordAt(bytes + kLane + at));
            third = __builtin_ia32_crc32di(third, wordAt(bytes + 2 * kLane + at));
        }
        crc = behindLane(static_cast<std::uint32_t>(crc)) ^ second;
        crc = behindLane(static_cast<std::uint32_t>(crc)) ^ third;
    }
    for (; size >= sizeof(std::uint64_t); size -= 8, bytes += 8) {
        crc = __builtin_ia32_crc32di(crc, wordAt(bytes));
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
