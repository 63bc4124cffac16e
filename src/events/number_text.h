// Reads a number at the start of a text as strtoul does, without a copy of the text and without an
// exception, from any thread: blanks, a sign that wraps, a "0x" before hexadecimal digits; what
// follows is ignored.
#pragma once

#include "VeskNvme.h"

#include <string_view>

struct NumberText {
    bool valid;  // false: no digits, or more than 64 bits
    ULONG_INT value;
};

NumberText readNumber(std::string_view text, int base);
