#include "veskctl/long_codes.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace veskctl {

void LongCodes::look(const char* text, std::size_t size) {
    constexpr std::string_view kTag = "[EVT_ID]";
    constexpr std::size_t kMostKept = 32;  // a tag and a number
    while (size > 0 && text[size - 1] == '\0') {
        --size;
    }
    const std::string all = m_rest + std::string(text, size);
    for (std::size_t at = all.find(kTag); at != std::string::npos; at = all.find(kTag, at)) {
        at += kTag.size();
        // As the library converts it. One whose end is not here yet comes again.
        add(static_cast<unsigned>(std::strtoul(all.c_str() + at, nullptr, 16) & 0xFFFFU));
    }
    m_rest = all.substr(all.size() - std::min(all.size(), kMostKept));
}

void LongCodes::add(unsigned code) {
    const auto end = m_codes.cbegin() + static_cast<std::ptrdiff_t>(m_count);
    if (code >= kFirst && m_count < m_codes.size() &&
        std::find(m_codes.cbegin(), end, code) == end) {
        m_codes.at(m_count++) = static_cast<std::uint16_t>(code);
    }
}

}  // namespace veskctl
