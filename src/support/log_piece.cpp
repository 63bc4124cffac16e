#include "support/log_piece.h"

#include <charconv>

namespace {

// `room` holds the longest number.
template <std::size_t N, typename Number>
std::string_view decimal(char (&room)[N], Number number) {
    const char* const end = std::to_chars(room, room + N, number).ptr;
    return std::string_view(room, static_cast<std::size_t>(end - room));
}

}  // namespace

namespace stg {

LogPiece::LogPiece(RawByte byte) : m_text(m_room, 1) {
    m_room[0] = static_cast<char>(byte.value);
}

void LogPiece::format(long long number) {
    m_text = decimal(m_room, number);
}

void LogPiece::format(unsigned long long number) {
    m_text = decimal(m_room, number);
}

}  // namespace stg
