#include "markdown_table.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace vesktest {

namespace {

std::vector<std::string> linesOf(const std::string& document) {
    std::ifstream file(std::string(VESK_DOCS) + document);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string stripped(const std::string& cell) {
    const std::size_t begin = cell.find_first_not_of(" `");
    const std::size_t end = cell.find_last_not_of(" `");
    return begin == std::string::npos ? "" : cell.substr(begin, end - begin + 1);
}

TableRow cellsOf(const std::string& line) {
    TableRow cells;
    std::istringstream text(line.substr(1));
    for (std::string cell; std::getline(text, cell, '|');) {
        cells.push_back(stripped(cell));
    }
    return cells;
}

}  // namespace

std::vector<TableRow> tableBelow(const std::string& document, const std::string& heading) {
    const std::vector<std::string> lines = linesOf(document);
    auto line = std::find(lines.begin(), lines.end(), heading);
    std::vector<TableRow> rows;
    while (line != lines.end() && line->rfind('|', 0) != 0) {
        ++line;
    }
    for (; line != lines.end() && line->rfind('|', 0) == 0; ++line) {
        rows.push_back(cellsOf(*line));
    }
    rows.erase(rows.begin(), rows.begin() + std::min<long>(2, static_cast<long>(rows.size())));
    return rows;
}

std::vector<std::string> headings(const std::string& document, const std::string& beginning) {
    std::vector<std::string> found;
    for (const std::string& line : linesOf(document)) {
        if (line.rfind(beginning, 0) == 0) {
            found.push_back(line);
        }
    }
    return found;
}

}  // namespace vesktest
