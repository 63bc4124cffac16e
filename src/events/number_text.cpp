#include "events/number_text.h"

#include <cctype>
#include <charconv>
#include <system_error>

namespace {

bool isHexPrefix(std::string_view text) {
    return text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X') &&
           std::isxdigit(static_cast<unsigned char>(text[2])) != 0;
}

}  // namespace

NumberText readNumber(std::string_view text, int base) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())) != 0) {
        text.remove_prefix(1);
    }
    const bool negative = !text.empty() && text.front() == '-';
    if (negative || (!text.empty() && text.front() == '+')) {
        text.remove_prefix(1);
    }
    if (base == 16 && isHexPrefix(text)) {
        text.remove_prefix(2);
    }
    ULONG_INT value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    static_cast<void>(end);
    return NumberText{error == std::errc(), negative ? 0 - value : value};
}
