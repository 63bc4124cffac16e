#pragma once

#include <cstdint>

namespace vesksim {

// What a scripted step, or a failure of the scenario, does to a command instead of, or before, the
// ordinary answer.
struct CommandOverride {
    int platformCode = 0;             // returned by the callback when not 0; nothing else happens
    std::uint8_t statusCode = 0;      // NVMe status code and type; the data stay untouched when set
    std::uint8_t statusCodeType = 0;  // 0 to 7
    std::uint32_t uioStatus = 0;      // the driver's own status word
    bool zeroReply = false;           // success, with a reply of zeros
    unsigned delayMilliseconds = 0;   // of the host's clock, through the delay handler
};

}  // namespace vesksim
