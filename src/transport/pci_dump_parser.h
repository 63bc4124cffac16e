// The parser of a PCI configuration space dump.
#pragma once

#include "VeskNvme.h"

#include <map>
#include <string_view>
#include <vector>

namespace stg {

// What fetchHexDumpLineIntoVector below does, without a copy of the line.
RESULT appendDumpLine(std::string_view line, std::vector<USHORT_INT>& dump, USHORT_INT firstColumn);

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
