#pragma once

#include <cstdint>
#include <string>

namespace vesksim {

// One NVMe command as the driver's side received it.
struct ReceivedCommand {
    std::string adapter;  // name of the adapter that it was sent to
    std::uint8_t opcode = 0;
    std::uint32_t nsid = 0;
    std::uint32_t cdw10 = 0;
    std::uint32_t cdw11 = 0;
    std::uint32_t cdw12 = 0;
    std::uint32_t cdw13 = 0;
    std::uint32_t cdw14 = 0;
    std::uint32_t cdw15 = 0;
    std::uint32_t dataLength = 0;
    std::uint64_t timeout = 0;
};

}  // namespace vesksim
