// Texts that others wrote (devices, files, the command line) made fit to be shown, and fitted to
// the columns of a screen.
#pragma once

#include <cstddef>
#include <string>

namespace veskctl {

// For people: bytes that are no UTF-8 become replacement characters. Control characters, and those
// that are invisible or turn the direction of writing, become question marks: so a device can
// neither steer a terminal nor pass for another device.
std::string printable(const std::string& text);

// For programs: the same characters as \u escapes, as JSON writes them: two of them beyond U+FFFF.
// Line ends stay.
std::string escaped(const std::string& text);

// How many columns a printable text takes on a screen.
std::size_t columnsOf(const std::string& text);

// A printable text that fits: its end gives way to "…". At least one column.
std::string shortened(const std::string& text, std::size_t columns);

// The line broken at blanks, so that it fits; what follows is indented. A word that is too long
// stays whole. Escape codes of colours count as nothing. 0 columns: no limit. Without a line end.
std::string wrapped(const std::string& line, std::size_t columns, std::size_t indent);

}  // namespace veskctl
