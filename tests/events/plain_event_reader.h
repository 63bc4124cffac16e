// A second reader of the controller's event log, to hold the library's against: written plainly
// from the rules of the format, on copies and exceptions, one byte at a time.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>

namespace vesktest {

using EventBytes = std::array<std::uint8_t, 64>;

class PlainEventReader {
public:
    // A page of 4096 bytes or, while text remains, a carry read of 16. The number of new events.
    int read(const std::string& bytes);

    const std::map<unsigned, EventBytes>& events() const { return m_events; }
    const std::string& remaining() const { return m_remaining; }
    void setRemaining(const std::string& text) { m_remaining = text; }

private:
    bool addLine(const std::string& line);

    std::map<unsigned, EventBytes> m_events;
    std::string m_remaining;
};

}  // namespace vesktest
