// The rows of libVeskNVMeAlertMapping.ini: which events of the controller are reported, and under
// which code.
#pragma once

#include "veskctl/finding.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace veskctl {

struct MappingRow {
    unsigned section = 0;   // 0 to 2 as the class codes, 3 of all other classes
    unsigned code = 0;      // the controller's
    unsigned reported = 0;  // what the library takes it for; 65535: not reported
    unsigned line = 0;
};

struct AlertMapping {
    std::vector<MappingRow> rows;  // as they stand in the file
    bool allCommentedOut = false;  // there are rows, and all of them are comments

    // The row that the library takes for the event; empty: it is not reported.
    std::optional<MappingRow> rowOf(unsigned classCode, unsigned code) const;
    // There is a row, and it says that the event is not to be reported.
    bool isDropped(unsigned classCode, unsigned code) const;
};

// A mapping that reports every code of up to four digits, and these longer ones, as itself but for
// those that this one has a row for: for looking at what the controller's log holds beside what is
// reported. The number of the mark, at its end, is left to the caller.
std::string mappingOfOtherCodes(const AlertMapping& mapping, const std::set<unsigned>& longCodes);

// text: the whole file's. What is wrong goes to the findings.
AlertMapping readAlertMapping(const std::string& text, const std::string& path,
                              std::vector<Finding>& findings);

}  // namespace veskctl
