// Pages and the whole area of the controller's event log, as tests lay them out.
#pragma once

#include "noise.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace vesktest {

constexpr std::size_t kEventPageSize = 4096;
constexpr std::size_t kEventTextStart = 40;
constexpr std::size_t kEventAreaSize = 65536;

// An arbitrary page of 40 bytes that are no text, this text, and NUL bytes.
inline std::vector<char> eventPage(const std::string& text) {
    if (text.size() > kEventPageSize - kEventTextStart) {
        throw std::length_error("the text does not fit into a page");
    }
    std::vector<char> page(kEventPageSize);
    const std::vector<std::uint8_t> header = noise(kEventTextStart, 77);
    std::copy(header.begin(), header.end(), page.begin());
    std::copy(text.begin(), text.end(), page.begin() + kEventTextStart);
    return page;
}

// A page of blank lines whose last bytes are this text.
inline std::vector<char> pageEndingIn(const std::string& text) {
    return eventPage(std::string(kEventPageSize - kEventTextStart - text.size(), '\n') + text);
}

// What the controller sends for the 16 bytes around a page's end, if the next page begins with this
// text and goes on with X.
inline std::vector<char> carryRead(const std::vector<char>& page, std::string nextPage) {
    nextPage.resize(8, 'X');
    std::vector<char> bytes(16);
    std::copy(page.end() - 8, page.end(), bytes.begin());
    std::copy(nextPage.begin(), nextPage.end(), bytes.begin() + 8);
    return bytes;
}

// The event log of the controller: all NUL at first.
class EventArea {
public:
    // The bytes of the text start at this byte of the area; those beyond its end are lost.
    void put(std::size_t offset, const std::string& text) {
        for (std::size_t i = 0; i < text.size() && offset + i < m_bytes.size(); ++i) {
            m_bytes[offset + i] = text[i];
        }
    }
    // The text becomes that of one page, 0 to 15, from its text start on.
    void putPage(std::size_t page, const std::string& text) {
        put(page * kEventPageSize + kEventTextStart, text);
    }
    void clear() { std::fill(m_bytes.begin(), m_bytes.end(), '\0'); }

    // Bytes beyond the end read as NUL.
    std::string read(std::size_t offset, std::size_t length) const {
        std::string bytes(length, '\0');
        for (std::size_t i = 0; i < length && offset + i < m_bytes.size(); ++i) {
            bytes[i] = m_bytes[offset + i];
        }
        return bytes;
    }

private:
    std::vector<char> m_bytes = std::vector<char>(kEventAreaSize);
};

}  // namespace vesktest
