// A second reader of the event log, written plainly from the rules of its format, to compare the
// parser with. It works on copies and exceptions, one byte at a time.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>

namespace vesktest {

class PlainReader {
public:
    using Event = std::array<std::uint8_t, 64>;

    // A page of 4096 bytes or, while text remains, a carry read of 16. The number of new events.
    int read(const std::string& bytes);

    const std::map<unsigned, Event>& events() const { return m_events; }
    const std::string& remaining() const { return m_remaining; }
    void setRemaining(const std::string& text) { m_remaining = text; }

private:
    bool addLine(const std::string& line);

    std::map<unsigned, Event> m_events;
    std::string m_remaining;
};

}  // namespace vesktest
