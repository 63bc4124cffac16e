// Texts that come from a device: padded with blanks, not always UTF-8, not always printable.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace veskctl {

// The text of a field: up to the first NUL, at most `room` bytes.
std::string fieldText(const char* field, std::size_t room);

template <std::size_t Room>
std::string fieldText(const char (&field)[Room]) {
    return fieldText(field, Room);
}

enum class Padding { Trim, Keep };

// The text without the blanks around it, or as it is. Empty if nothing is left.
std::optional<std::string> deviceText(const std::string& text, Padding padding);

// For a terminal: bytes that are no UTF-8 become replacement characters, control characters become
// question marks, so that a device cannot steer the terminal.
std::string printable(const std::string& text);

}  // namespace veskctl
