#include "veskctl/spelling.h"

#include <algorithm>
#include <cctype>
#include <cstddef>

namespace veskctl {

namespace {

using Row = std::vector<std::size_t>;

// How many slips lie between the two.
std::size_t slips(const std::string& left, const std::string& right) {
    std::vector<Row> table(left.size() + 1, Row(right.size() + 1));
    for (std::size_t row = 0; row <= left.size(); ++row) {
        for (std::size_t column = 0; column <= right.size(); ++column) {
            if (row == 0 || column == 0) {
                table[row][column] = row + column;
                continue;
            }
            const bool same = left[row - 1] == right[column - 1];
            std::size_t least =
                std::min({table[row - 1][column] + 1, table[row][column - 1] + 1,
                          table[row - 1][column - 1] + static_cast<std::size_t>(!same)});
            if (row > 1 && column > 1 && left[row - 1] == right[column - 2] &&
                left[row - 2] == right[column - 1]) {
                least = std::min(least, table[row - 2][column - 2] + 1);
            }
            table[row][column] = least;
        }
    }
    return table[left.size()][right.size()];
}

}  // namespace

std::string upperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
    return text;
}

std::optional<std::string> nearest(const std::string& word,
                                   const std::vector<std::string>& candidates) {
    constexpr std::size_t kLeastBeginning = 3;
    constexpr std::size_t kLettersPerSlip = 3;
    constexpr std::size_t kLongest = 40;  // what is longer is no slip of typing
    if (word.size() > kLongest) {
        return std::nullopt;
    }
    std::optional<std::string> best;
    std::size_t fewest = std::max<std::size_t>(1, word.size() / kLettersPerSlip) + 1;
    for (const std::string& candidate : candidates) {
        const bool begun = word.size() >= kLeastBeginning && candidate.rfind(word, 0) == 0;
        const std::size_t distance = begun ? 1 : slips(word, candidate);
        if (distance < fewest) {
            best = candidate;
            fewest = distance;
        }
    }
    return best;
}

}  // namespace veskctl
