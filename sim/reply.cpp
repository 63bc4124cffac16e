#include "reply.h"

#include "mix.h"

#include <algorithm>

namespace vesksim {

std::vector<std::uint8_t> noise(std::size_t size, std::uint64_t seed) {
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

void Reply::putNumber(std::size_t offset, std::uint64_t value, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i) {
        m_bytes.at(offset + i) = static_cast<std::uint8_t>(value >> (8U * i));
    }
}

void Reply::put128(std::size_t offset, std::uint64_t value) {
    put64(offset, value);
    put64(offset + 8, 0);
}

void Reply::putText(std::size_t offset, std::size_t width, const std::string& text, char padding) {
    for (std::size_t i = 0; i < width; ++i) {
        m_bytes.at(offset + i) = static_cast<std::uint8_t>(i < text.size() ? text[i] : padding);
    }
}

void Reply::clear(std::size_t offset, std::size_t width) {
    putText(offset, width, std::string(), '\0');
}

}  // namespace vesksim
