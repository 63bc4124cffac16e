#include "support/line_reader.h"

#include <algorithm>

namespace stg {

LineReader::LineReader(const std::string& path) {
    pubsetbuf(m_room, sizeof(m_room));
    open(path, std::ios::in);
}

bool LineReader::nextCut(std::string_view& line) {
    m_cutLine.clear();
    bool whole = false;
    while (!whole && sgetc() != traits_type::eof()) {
        const std::string_view text = ahead();
        const std::size_t lineFeed = text.find('\n');
        whole = lineFeed != std::string_view::npos;
        const std::string_view piece = text.substr(0, lineFeed);
        m_cutLine += piece;
        gbump(static_cast<int>(piece.size()) + (whole ? 1 : 0));
    }
    line = m_cutLine;
    return whole || !line.empty();
}

bool LineReader::nextWith(std::string_view text, std::string_view& line) {
    do {
        // To the line of the first hit in what is read already, or to the line that is cut there.
        const std::string_view known = ahead();
        const std::size_t hit = std::min(known.find(text), known.rfind('\n') + 1);
        const std::size_t begin = hit == 0 ? 0 : known.rfind('\n', hit - 1) + 1;
        gbump(static_cast<int>(begin));
        if (!next(line)) {
            return false;
        }
    } while (line.find(text) == std::string_view::npos);
    return true;
}

}  // namespace stg
