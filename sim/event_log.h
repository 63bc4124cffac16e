// The controller's event log: 16 pages of text, each behind a header of its own. Not synchronised.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vesksim {

class EventLog {
public:
    static constexpr std::size_t kPageBytes = 4096;
    static constexpr std::size_t kHeaderBytes = 40;
    static constexpr std::size_t kAreaBytes = 16 * kPageBytes;
    static constexpr std::size_t kMaxLineBytes = kPageBytes - kHeaderBytes - 1;  // and a line feed

    // Lines come without their line feed. A line that does not fit in what is left of its page
    // starts on the next one, or, with `cut`, runs on at byte 0 of the next page, over the header:
    // a reader who joins 8 bytes of each side gets it back if not more than that is behind the cut.
    EventLog(const std::vector<std::string>& lines, bool cut, std::uint64_t noiseSeed);

    // Bytes of the log that the lines take, headers included; more than kAreaBytes: too many.
    static std::size_t room(const std::vector<std::string>& lines, bool cut);

    // What lies behind the end of the log reads as zeros.
    std::vector<std::uint8_t> read(std::uint32_t offset, std::size_t length) const;

private:
    std::vector<std::uint8_t> m_area;
};

}  // namespace vesksim
