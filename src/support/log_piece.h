// One piece of a log line, as text.
#pragma once

#include "VeskNvme.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

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

// Texts are not copied: a piece lives no longer than its statement.
class LogPiece {
public:
    explicit LogPiece(const char* text) : m_text(text) {}
    explicit LogPiece(const std::string& text) : m_text(text) {}
    explicit LogPiece(FieldText field) : m_text(field.text, strnlen(field.text, field.size)) {}
    explicit LogPiece(RawByte byte);
    explicit LogPiece(char character) = delete;  // a line feed among these ends the line: insert it
    template <typename Number, typename = std::enable_if_t<std::is_integral_v<Number>>>
    explicit LogPiece(Number number) {
        if constexpr (std::is_signed_v<Number>) {
            format(static_cast<long long>(number));
        } else {
            format(static_cast<unsigned long long>(number));
        }
    }
    LogPiece(const LogPiece&) = delete;
    LogPiece& operator=(const LogPiece&) = delete;

    std::string_view text() const { return m_text; }

private:
    void format(long long number);
    void format(unsigned long long number);

    char m_room[24];  // for what is no text by itself
    std::string_view m_text;
};

}  // namespace stg
