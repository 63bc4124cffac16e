// Records as bytes, written out by hand: what a library hands over, with noise in all bytes that
// carry nothing.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

template <std::size_t kSize>
class RecordBytes {
public:
    RecordBytes() { m_bytes.fill(0xA5); }

    RecordBytes& put(std::size_t offset, std::initializer_list<std::uint8_t> bytes) {
        std::copy(bytes.begin(), bytes.end(),
                  m_bytes.begin() + static_cast<std::ptrdiff_t>(offset));
        return *this;
    }

    // The text, and NULs up to the end of its field.
    RecordBytes& putText(std::size_t offset, std::size_t room, const std::string& text) {
        std::memset(m_bytes.data() + offset, 0, room);
        std::memcpy(m_bytes.data() + offset, text.data(), std::min(room, text.size()));
        return *this;
    }

    const std::uint8_t* data() const { return m_bytes.data(); }

    template <class Record>
    Record as() const {
        static_assert(sizeof(Record) == kSize, "the record has another size");
        Record record;
        std::memcpy(static_cast<void*>(&record), m_bytes.data(), kSize);
        return record;
    }

private:
    std::array<std::uint8_t, kSize> m_bytes = {};
};
