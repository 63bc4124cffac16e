// Texts of a device record on their way into a record of ours.
#pragma once

#include <cstddef>
#include <cstring>

namespace stg {

// Copies up to a NUL in the source or to the last byte but one, zeroes the rest. Nothing is
// trimmed.
template <std::size_t N>
void copyText(char (&field)[N], const unsigned char* text) {
    std::memset(field, 0, N);
    std::memcpy(field, text, strnlen(reinterpret_cast<const char*>(text), N - 1));
}

template <std::size_t N>
unsigned char* asBytes(char (&field)[N]) {
    return reinterpret_cast<unsigned char*>(field);
}

}  // namespace stg
