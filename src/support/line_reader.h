// Reads a file line by line, straight out of the buffer that the reads fill.
#pragma once

#include <cstddef>
#include <fstream>
#include <string>
#include <string_view>

namespace stg {

// Lines come without their line feed and are valid until the next call. Where the file cannot be
// read on, the calls throw std::ios_base::failure, and std::bad_alloc without memory for a long
// line.
class LineReader : private std::filebuf {
public:
    explicit LineReader(const std::string& path);

    using std::filebuf::is_open;

    // The next line. False at the end of the file.
    bool next(std::string_view& line) {
        const std::string_view text = ahead();
        const std::size_t lineFeed = text.find('\n');
        if (lineFeed == std::string_view::npos) {
            return nextCut(line);
        }
        line = text.substr(0, lineFeed);
        gbump(static_cast<int>(lineFeed) + 1);
        return true;
    }

    // The next line that holds the text. Much faster than to look into each.
    bool nextWith(std::string_view text, std::string_view& line);

private:
    // What is read already and not yet handed out.
    std::string_view ahead() const {
        return std::string_view(gptr(), static_cast<std::size_t>(egptr() - gptr()));
    }
    // The next line, whose end is not among it.
    bool nextCut(std::string_view& line);

    char m_room[16 * 1024];
    std::string m_cutLine;  // put together from several reads
};

}  // namespace stg
