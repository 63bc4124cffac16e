// A table: titles, and one line an item. Fits the screen by shortening columns, and where that is
// not enough by showing each item as a block.
#pragma once

#include "veskctl/tone.h"

#include <cstddef>
#include <string>
#include <vector>

namespace veskctl {

enum class Alignment { Left, Right };

struct Column {
    std::string title;
    Alignment alignment = Alignment::Left;
    std::size_t least = 0;  // what is left of it where columns are scarce; 0: it is never shortened
};

struct GridStyle {
    std::size_t columns = 0;  // of the screen; 0: no limit
    bool colour = false;
    bool header = true;
};

class Grid {
public:
    void setColumns(std::vector<Column> columns) { m_columns = std::move(columns); }

    // Cells that are missing stay empty; they are made printable. A row that wants attention begins
    // with "!".
    void addRow(std::vector<std::string> cells, Tone tone = Tone::Plain);

    bool empty() const { return m_rows.empty(); }

    // Nothing without rows. Lines have no blanks at their end.
    std::string render(const GridStyle& style) const;

private:
    struct Row {
        std::vector<std::string> cells;
        Tone tone;
    };

    std::string renderUpright(const GridStyle& style) const;
    std::vector<std::size_t> widths(const GridStyle& style) const;

    std::vector<Column> m_columns;
    std::vector<Row> m_rows;
};

}  // namespace veskctl
