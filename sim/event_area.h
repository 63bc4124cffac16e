// The 64 KiB in which the controller keeps its events: 16 pages of text, each behind a header of
// its own. Not synchronised.
//
// Pages are used in a ring. When the last one is full, the first one is emptied and takes the new
// lines, and so on: the oldest text goes a page at a time, and what stays keeps its place, so no
// line is left without its beginning.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vesksim {

class EventArea {
public:
    static constexpr std::size_t kPageBytes = 4096;
    static constexpr std::size_t kHeaderBytes = 40;
    static constexpr std::size_t kAreaBytes = 16 * kPageBytes;
    static constexpr std::size_t kMaxLineBytes = kPageBytes - kHeaderBytes - 1;  // and a line feed

    // `cut` says what becomes of a line that does not fit in what is left of its page. Without it,
    // the line starts on the next page. With it, the line runs on at byte 0 of the next page, over
    // the header, and what does not fit there is dropped: the next line starts at byte 40 as
    // always. A reader who joins 8 bytes of each side gets such a line back if its rest, line feed
    // included, has no more than 8. One that is cut at the end of the last page runs on in the
    // first one, where no reader looks for it.
    EventArea(bool cut, std::uint64_t noiseSeed);

    // At most kMaxLineBytes, without the line feed.
    void append(const std::string& line);
    // True once old text had to go.
    bool wrapped() const { return m_wrapped; }

    // What lies behind the end of the area reads as zeros.
    std::vector<std::uint8_t> read(std::uint32_t offset, std::size_t length) const;

    const std::vector<std::uint8_t>& bytes() const { return m_bytes; }
    // Where the next line starts; the end of the area if the last page is full.
    std::size_t position() const { return m_position; }
    // `bytes` are kAreaBytes, `position` is at most kAreaBytes.
    void restore(const std::vector<std::uint8_t>& bytes, std::size_t position);

private:
    void enterNextPage();
    void put(std::size_t offset, const std::string& text);

    bool m_cut;
    std::uint64_t m_noiseSeed;
    std::vector<std::uint8_t> m_bytes;
    std::size_t m_position = kHeaderBytes;
    bool m_wrapped = false;
};

}  // namespace vesksim
