// The parser of a PCI configuration space dump.
#pragma once

#include "VeskNvme.h"

#include <map>
#include <string_view>
#include <vector>

namespace stg {

// What fetchHexDumpLineIntoVector below does, without a copy of the line.
RESULT appendDumpLine(std::string_view line, std::vector<USHORT_INT>& dump, USHORT_INT firstColumn);

// Speeds and widths of a link, in the encoding of the PCI Express standard.
struct LinkValues {
    USHORT_INT negotiatedSpeed = 0;
    USHORT_INT maxSpeed = 0;
    USHORT_INT negotiatedWidth = 0;
    USHORT_INT maxWidth = 0;
};

// What parsePCIHexDump below does, without a copy of the dump and without names.
RESULT parseLink(const std::vector<USHORT_INT>& dump, LinkValues& link);

// Stores the values under the names that parsePCIHexDump has for them.
void nameLinkValues(const LinkValues& link, std::map<STDSTR, USHORT_INT>& values);

class IZNVDeviceTalker_Helper {
public:
    // Appends the bytes of one dump line: two hexadecimal digits at each third column from
    // `firstColumn` on. 1 if a column holds something else; the columns behind it are still read.
    RESULT fetchHexDumpLineIntoVector(STDSTR line, std::vector<USHORT_INT>& dump,
                                      USHORT_INT firstColumn);

    // Walks the capability list to the PCI Express capability and fills in link speeds and widths
    // by name. 1, with nothing filled in, where six capabilities do not lead there or the dump
    // ends.
    RESULT parsePCIHexDump(std::vector<USHORT_INT> dump, std::map<STDSTR, USHORT_INT>& values);
};

}  // namespace stg
