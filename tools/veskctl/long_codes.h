// Codes of events that have five digits, out of the text of the log as the library reads it. A look
// has rows for all shorter codes; those for the longer ones are made as they are needed.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace veskctl {

class LongCodes {
public:
    static constexpr unsigned kFirst = 10000;
    using Codes = std::array<std::uint16_t, 256>;

    // The next piece of the log. A tag may begin in one and end in the next.
    void look(const char* text, std::size_t size);

    // Each code once, as far as there is room; 0 behind them.
    const Codes& all() const { return m_codes; }

private:
    void add(unsigned code);

    Codes m_codes = {};
    std::size_t m_count = 0;
    std::string m_rest;  // of the piece before
};

}  // namespace veskctl
