// Tables of a document.
#pragma once

#include <string>
#include <vector>

namespace vesktest {

using TableRow = std::vector<std::string>;

// The rows of the first table below the heading, which is compared whole ("### Commands"), without
// titles; cells without the blanks and backquotes around them. Empty if there is none.
std::vector<TableRow> tableBelow(const std::string& document, const std::string& heading);

// The headings of the document that begin with this text.
std::vector<std::string> headings(const std::string& document, const std::string& beginning);

}  // namespace vesktest
