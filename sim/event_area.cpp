#include "event_area.h"

#include "reply.h"

#include <algorithm>

namespace vesksim {

EventArea::EventArea(bool cut, std::uint64_t noiseSeed)
    : m_cut(cut), m_noiseSeed(noiseSeed), m_bytes(kAreaBytes) {
    for (std::size_t page = 0; page < kAreaBytes; page += kPageBytes) {
        const std::vector<std::uint8_t> header = noise(kHeaderBytes, noiseSeed + page);
        std::copy(header.begin(), header.end(),
                  m_bytes.begin() + static_cast<std::ptrdiff_t>(page));
    }
}

void EventArea::append(const std::string& line) {
    const std::string text = line + '\n';
    // A position at the end of a page belongs to that page still.
    const std::size_t left = (kPageBytes - m_position % kPageBytes) % kPageBytes;
    if (text.size() <= left) {
        put(m_position, text);
        m_position += text.size();
        return;
    }
    if (!m_cut || left == 0) {
        enterNextPage();
        put(m_position, text);
        m_position += text.size();
        return;
    }
    put(m_position, text.substr(0, left));
    enterNextPage();
    put(m_position - kHeaderBytes, text.substr(left, kHeaderBytes));
}

void EventArea::enterNextPage() {
    const std::size_t page = (m_position + kPageBytes - 1) / kPageBytes * kPageBytes % kAreaBytes;
    const auto begin = m_bytes.begin() + static_cast<std::ptrdiff_t>(page);
    m_wrapped = m_wrapped || page == 0;
    const std::vector<std::uint8_t> header = noise(kHeaderBytes, m_noiseSeed + page);
    std::fill_n(begin, kPageBytes, std::uint8_t{0});
    std::copy(header.begin(), header.end(), begin);
    m_position = page + kHeaderBytes;
}

void EventArea::put(std::size_t offset, const std::string& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        m_bytes.at(offset + i) = static_cast<std::uint8_t>(text[i]);
    }
}

std::vector<std::uint8_t> EventArea::read(std::uint32_t offset, std::size_t length) const {
    std::vector<std::uint8_t> bytes(length);
    if (offset < m_bytes.size()) {
        std::copy_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(offset),
                    std::min(length, m_bytes.size() - offset), bytes.begin());
    }
    return bytes;
}

void EventArea::restore(const std::vector<std::uint8_t>& bytes, std::size_t position) {
    m_bytes = bytes;
    m_position = position;
}

}  // namespace vesksim
