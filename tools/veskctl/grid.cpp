#include "veskctl/grid.h"

#include "veskctl/blocks.h"
#include "veskctl/printable.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace veskctl {

namespace {

constexpr std::size_t kGap = 2;  // between columns, and taken by the sign in front

std::string lineOf(const std::string& sign, const std::vector<std::string>& cells,
                   const std::vector<Column>& columns, const std::vector<std::size_t>& widths) {
    std::string line = sign + std::string(kGap - 1, ' ');
    for (std::size_t index = 0; index < columns.size(); ++index) {
        const std::string cell = shortened(cells[index], widths[index]);
        const std::string blanks(widths[index] - columnsOf(cell), ' ');
        line += columns[index].alignment == Alignment::Left ? cell + blanks : blanks + cell;
        line += std::string(kGap, ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

}  // namespace

void Grid::addRow(std::vector<std::string> cells, Tone tone) {
    cells.resize(m_columns.size());
    std::transform(cells.begin(), cells.end(), cells.begin(), printable);
    m_rows.push_back({std::move(cells), tone});
}

// The widest of those that may is shortened by one, again and again.
std::vector<std::size_t> Grid::widths(const GridStyle& style) const {
    std::vector<std::size_t> widths;
    for (std::size_t index = 0; index < m_columns.size(); ++index) {
        std::size_t width = style.header ? columnsOf(m_columns[index].title) : 1;
        for (const Row& row : m_rows) {
            width = std::max(width, columnsOf(row.cells[index]));
        }
        widths.push_back(width);
    }
    std::size_t all = std::accumulate(widths.begin(), widths.end(), kGap * widths.size());
    while (style.columns != 0 && all > style.columns) {
        std::size_t chosen = m_columns.size();
        for (std::size_t index = 0; index < m_columns.size(); ++index) {
            const std::size_t least = m_columns[index].least;
            if (least != 0 && widths[index] > least &&
                (chosen == m_columns.size() || widths[index] > widths[chosen])) {
                chosen = index;
            }
        }
        if (chosen == m_columns.size()) {
            break;
        }
        --widths[chosen];
        --all;
    }
    return widths;
}

std::string Grid::renderUpright(const GridStyle& style) const {
    Blocks blocks;
    for (const Row& row : m_rows) {
        blocks.addSection(m_columns.front().title + ' ' + row.cells.front());
        for (std::size_t index = 1; index < m_columns.size(); ++index) {
            if (!row.cells[index].empty()) {
                blocks.addLine(m_columns[index].title, row.cells[index], row.tone);
            }
        }
    }
    return blocks.render(style.colour, style.columns);
}

std::string Grid::render(const GridStyle& style) const {
    if (m_rows.empty()) {
        return "";
    }
    const std::vector<std::size_t> room = widths(style);
    const std::size_t all = std::accumulate(room.begin(), room.end(), kGap * room.size());
    if (style.columns != 0 && all > style.columns) {
        return renderUpright(style);
    }
    std::string text;
    if (style.header) {
        std::vector<std::string> titles;
        for (const Column& column : m_columns) {
            titles.push_back(column.title);
        }
        text += bold(lineOf(" ", titles, m_columns, room), style.colour) + '\n';
    }
    for (const Row& row : m_rows) {
        text +=
            toned(lineOf(signOf(row.tone), row.cells, m_columns, room), row.tone, style.colour) +
            '\n';
    }
    return text;
}

}  // namespace veskctl
