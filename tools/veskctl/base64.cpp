#include "veskctl/base64.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace veskctl {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t kNone = 64;

constexpr std::array<std::uint8_t, 256> makeValues() {
    std::array<std::uint8_t, 256> values = {};
    for (std::uint8_t& value : values) {
        value = kNone;
    }
    for (std::uint8_t digit = 0; digit < 64; ++digit) {
        values[static_cast<unsigned char>(kAlphabet[digit])] = digit;
    }
    return values;
}

constexpr std::array<std::uint8_t, 256> kValues = makeValues();

}  // namespace

std::string toBase64(const std::string& bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            const bool is = at + i < bytes.size();
            group = group << 8U | (is ? static_cast<unsigned char>(bytes[at + i]) : 0U);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            const bool is = at + i <= bytes.size();
            text += is ? kAlphabet[group >> (18 - 6 * i) & 0x3FU] : '=';
        }
    }
    return text;
}

std::optional<std::string> fromBase64(const std::string& text) {
    std::size_t digits = text.size();
    while (digits > 0 && text[digits - 1] == '=') {
        --digits;
    }
    std::string bytes;
    bytes.reserve(digits / 4 * 3 + 2);
    std::uint32_t bits = 0;
    for (std::size_t at = 0; at < digits; ++at) {
        const std::uint8_t value = kValues[static_cast<unsigned char>(text[at])];
        if (value == kNone) {
            return std::nullopt;
        }
        bits = bits << 6U | value;
        if (at % 4 != 0) {
            bytes += static_cast<char>(bits >> (6 - 2 * (at % 4)) & 0xFFU);
        }
    }
    // Other texts may mean the same bytes: of a wrong length, or with bits behind the last byte.
    return toBase64(bytes) == text ? std::optional(bytes) : std::nullopt;
}

}  // namespace veskctl
