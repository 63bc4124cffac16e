// One log statement: all pieces and the line end, at the cost of one flag test while logging is
// off.
#pragma once

#include "support/logger.h"

#include <cstddef>
#include <cstring>
#include <string_view>

namespace stg {

// A byte that goes into the line as it stands, whatever character it is. A bare UCHAR_ is written
// as a decimal number.
struct RawByte {
    UCHAR_ value;
};

// A text of a record that may fill its field to the last byte without a NUL.
struct FieldText {
    const char* text;
    std::size_t size;
};

template <std::size_t N>
FieldText fieldText(const char (&field)[N]) {
    return FieldText{field, N};
}

inline void insertPiece(const char* text) {
    lout << text;
}

inline void insertPiece(UCHAR_ number) {
    lout << static_cast<int>(number);
}

inline void insertPiece(RawByte byte) {
    lout << byte.value;
}

inline void insertPiece(FieldText field) {
    lout << std::string_view(field.text, strnlen(field.text, field.size));
}

template <typename T>
void insertPiece(const T& value) {
    lout << value;
}

template <typename... Pieces>
inline void logLine(const Pieces&... pieces) {
    if (lout.isActive()) {
        (insertPiece(pieces), ...);
        lout << '\n';
    }
}

}  // namespace stg
