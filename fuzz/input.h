// Takes the bytes of an input apart. Behind its end everything reads as empty or 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace veskfuzz {

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size)
        : m_bytes(reinterpret_cast<const char*>(data), size) {}
    explicit Input(std::string bytes) : m_bytes(std::move(bytes)) {}

    bool empty() const { return m_position >= m_bytes.size(); }

    std::uint8_t byte() { return empty() ? 0 : static_cast<std::uint8_t>(m_bytes[m_position++]); }

    // Little endian.
    std::uint32_t number() {
        std::uint32_t value = 0;
        for (unsigned shift = 0; shift < 32; shift += 8) {
            value |= std::uint32_t{byte()} << shift;
        }
        return value;
    }

    // At most so many bytes.
    std::string text(std::size_t size) {
        std::string result = m_bytes.substr(position(), size);
        m_position += result.size();
        return result;
    }

    // Up to this byte, which goes too.
    std::string until(char end) {
        const std::size_t begin = position();
        std::size_t found = m_bytes.find(end, begin);
        found = found == std::string::npos ? m_bytes.size() : found;
        m_position = found + 1;
        return m_bytes.substr(begin, found - begin);
    }

    std::string rest() { return text(m_bytes.size()); }

private:
    std::size_t position() const { return empty() ? m_bytes.size() : m_position; }

    std::string m_bytes;
    std::size_t m_position = 0;
};

// What separates the parts of an input that is made of texts.
constexpr char kPartEnd = '\x1E';

}  // namespace veskfuzz
