// What the library promises about its INI files, on texts in memory: a second reader and a second
// writer of the mark, to hold the library's against.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>

namespace veskfuzz {

// A line that holds the key and nothing behind it.
class KeyAlone : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The value of the key in the section, nothing if there is none. Throws KeyAlone.
std::optional<std::string> plainValue(const std::string& file, const std::string& section,
                                      const std::string& key);

// The number that the text begins with, `fallback` if it begins with none that fits 32 bits.
int plainNumber(const std::string& text, int fallback);

// The file with the mark behind its last "=".
std::string withPlainMark(const std::string& file, int mark);

}  // namespace veskfuzz
