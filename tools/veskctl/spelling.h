// How words are written, and which ones were meant.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace veskctl {

// Of a word in ASCII.
std::string upperCase(std::string text);

// The candidate that the word was probably meant to be: one that it begins, or one that few slips
// of typing (a letter too many, too few, wrong, or two that changed places) make of it.
std::optional<std::string> nearest(const std::string& word,
                                   const std::vector<std::string>& candidates);

}  // namespace veskctl
