// A reply of the controller while it is written. It starts as noise: what no field defines has no
// promised value, and a reader who relies on zeros there shall notice. Equal seeds, equal noise.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vesksim {

std::vector<std::uint8_t> noise(std::size_t size, std::uint64_t seed);

class Reply {
public:
    Reply(std::size_t size, std::uint64_t seed) : m_bytes(noise(size, seed)) {}

    // Little endian; the field must lie inside the reply.
    void put8(std::size_t offset, std::uint8_t value) { putNumber(offset, value, 1); }
    void put16(std::size_t offset, std::uint16_t value) { putNumber(offset, value, 2); }
    void put32(std::size_t offset, std::uint32_t value) { putNumber(offset, value, 4); }
    void put64(std::size_t offset, std::uint64_t value) { putNumber(offset, value, 8); }
    // A 16-byte counter.
    void put128(std::size_t offset, std::uint64_t value);
    // As much of the text as fits, and the padding behind it; no terminator.
    void putText(std::size_t offset, std::size_t width, const std::string& text, char padding);
    void clear(std::size_t offset, std::size_t width);

    std::vector<std::uint8_t> take() { return std::move(m_bytes); }

private:
    void putNumber(std::size_t offset, std::uint64_t value, std::size_t width);

    std::vector<std::uint8_t> m_bytes;
};

}  // namespace vesksim
