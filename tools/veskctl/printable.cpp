#include "veskctl/printable.h"

#include "veskctl/format.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdint>

namespace veskctl {

namespace {

struct Range {
    std::uint32_t first;
    std::uint32_t last;
};

// Controls, and what Unicode calls default ignorable or bidirectional control.
constexpr std::array<Range, 18> kHazards = {{{0x00, 0x1F},
                                             {0x7F, 0x9F},
                                             {0xAD, 0xAD},
                                             {0x34F, 0x34F},
                                             {0x61C, 0x61C},
                                             {0x115F, 0x1160},
                                             {0x17B4, 0x17B5},
                                             {0x180B, 0x180F},
                                             {0x200B, 0x200F},
                                             {0x2028, 0x202E},
                                             {0x2060, 0x206F},
                                             {0x3164, 0x3164},
                                             {0xFE00, 0xFE0F},
                                             {0xFEFF, 0xFEFF},
                                             {0xFFA0, 0xFFA0},
                                             {0xFFF0, 0xFFFB},
                                             {0x1D173, 0x1D17A},
                                             {0xE0000, 0xE0FFF}}};

// Marks that stand on the character before them.
constexpr std::array<Range, 5> kZeroColumns = {
    {{0x300, 0x36F}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x20D0, 0x20FF}, {0xFE20, 0xFE2F}}};

constexpr std::array<Range, 11> kTwoColumns = {{{0x1100, 0x115F},
                                                {0x2E80, 0x303E},
                                                {0x3041, 0xA4CF},
                                                {0xA960, 0xA97F},
                                                {0xAC00, 0xD7A3},
                                                {0xF900, 0xFAFF},
                                                {0xFE30, 0xFE6F},
                                                {0xFF00, 0xFF60},
                                                {0xFFE0, 0xFFE6},
                                                {0x1F300, 0x1FAFF},
                                                {0x20000, 0x3FFFD}}};

template <std::size_t Count>
bool isIn(const std::array<Range, Count>& ranges, std::uint32_t point) {
    return std::any_of(ranges.begin(), ranges.end(), [point](const Range& range) {
        return range.first <= point && point <= range.last;
    });
}

struct Character {
    std::uint32_t point = 0;
    std::size_t bytes = 1;
};

// Of valid UTF-8.
Character characterAt(const std::string& text, std::size_t at) {
    const auto byte = [&](std::size_t index) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(text[at + index]));
    };
    const std::uint32_t lead = byte(0);
    Character character;
    character.bytes = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    character.bytes = std::min(character.bytes, text.size() - at);
    constexpr std::array<std::uint32_t, 5> kLeadBits = {0, 0x7F, 0x1F, 0x0F, 0x07};
    character.point = lead & kLeadBits[character.bytes];
    for (std::size_t index = 1; index < character.bytes; ++index) {
        character.point = (character.point << 6U) | (byte(index) & 0x3FU);
    }
    return character;
}

std::string validUtf8(const std::string& text) {
    using nlohmann::json;
    const std::string quoted = json(text).dump(-1, ' ', false, json::error_handler_t::replace);
    return json::parse(quoted).get<std::string>();
}

template <class Replacement>
std::string withoutHazards(const std::string& text, Replacement replacement) {
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const Character character = characterAt(text, at);
        if (isIn(kHazards, character.point)) {
            result += replacement(character.point);
        } else {
            result.append(text, at, character.bytes);
        }
        at += character.bytes;
    }
    return result;
}

std::string escapeOf(std::uint32_t point) {
    if (point < 0x10000) {
        return format("\\u{:04x}", point);
    }
    const std::uint32_t above = point - 0x10000;
    return format("\\u{:04x}\\u{:04x}", 0xD800U + (above >> 10U), 0xDC00U + (above & 0x3FFU));
}

std::size_t columnsOfPoint(std::uint32_t point) {
    return isIn(kZeroColumns, point) ? 0 : isIn(kTwoColumns, point) ? 2 : 1;
}

// The text without escape codes of colours.
std::string withoutColours(const std::string& text) {
    std::string plain;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '\x1b') {
            at = std::min(text.find('m', at), text.size());
        } else {
            plain += text[at];
        }
    }
    return plain;
}

}  // namespace

std::string printable(const std::string& text) {
    return withoutHazards(validUtf8(text), [](std::uint32_t) { return std::string("?"); });
}

std::string escaped(const std::string& text) {
    return withoutHazards(validUtf8(text), [](std::uint32_t point) {
        return point == '\n' ? std::string("\n") : escapeOf(point);
    });
}

std::size_t columnsOf(const std::string& text) {
    std::size_t columns = 0;
    for (std::size_t at = 0; at < text.size();) {
        const Character character = characterAt(text, at);
        columns += columnsOfPoint(character.point);
        at += character.bytes;
    }
    return columns;
}

std::string shortened(const std::string& text, std::size_t columns) {
    if (columnsOf(text) <= columns) {
        return text;
    }
    std::size_t end = 0;
    for (std::size_t used = 1; end < text.size();) {
        const Character character = characterAt(text, end);
        used += columnsOfPoint(character.point);
        if (used > columns) {
            break;
        }
        end += character.bytes;
    }
    return text.substr(0, end) + "…";
}

std::string wrapped(const std::string& line, std::size_t columns, std::size_t indent) {
    if (columns == 0 || columnsOf(withoutColours(line)) <= columns) {
        return line;
    }
    std::string result;
    std::size_t used = 0;
    std::size_t at = 0;
    while (at < line.size()) {
        // A word and the blanks before it.
        const std::size_t word = std::min(line.find_first_not_of(' ', at), line.size());
        const std::size_t end = std::min(line.find(' ', word), line.size());
        const std::size_t room = columnsOf(withoutColours(line.substr(at, end - at)));
        if (used > indent && used + room > columns) {
            result += '\n' + std::string(indent, ' ') + line.substr(word, end - word);
            used = indent + columnsOf(withoutColours(line.substr(word, end - word)));
        } else {
            result += line.substr(at, end - at);
            used += room;
        }
        at = end;
    }
    return result;
}

}  // namespace veskctl
