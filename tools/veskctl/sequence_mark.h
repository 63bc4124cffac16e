// The mark of delivered events in libVeskNVMeAlertMapping.ini, as the library reads and writes it.
#pragma once

#include "veskctl/finding.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace veskctl {

constexpr const char* kMarkSection = "EventSequenceNumber";
constexpr const char* kMarkKey = "SequenceNumber";

struct SequenceMark {
    std::optional<unsigned> line;             // of the file, from 1
    std::int32_t value = 0;                   // what the library takes it for
    std::optional<std::uint32_t> plainValue;  // the number that stands there, if there is one
    // The library reads what stands there, and will read back what it writes.
    bool sound = false;
};

// text: the whole file's. What is wrong goes to the findings.
SequenceMark readSequenceMark(const std::string& text, const std::string& path,
                              std::vector<Finding>& findings);

}  // namespace veskctl
