// One NVMe command as the driver's side received it, and the commands that the controller knows.
#pragma once

#include <cstdint>
#include <string>

namespace vesksim {

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

// ReceivedCommand::opcode. Plain numbers, since a command may hold any other.
enum Opcode : std::uint8_t {
    kOpcodeIdentify = 0x06,
    kOpcodeDiskPassThrough = 0xC2,  // an admin command for the disk that nsid names
    kOpcodeVendor = 0xE2,
};

// cdw12 of a vendor command. Low byte: the class of the request. Second byte: the function inside
// it.
enum VendorFunction : std::uint32_t {
    kAdapterInformation = 0x0E0,
    kPhysicalDiskInformation = 0x0E1,
    kSetLed = 0x7E1,
    kVirtualDiskInformation = 0x0E2,
    kAdapterOemData = 0x0E4,
    kReadEventLog = 0x4FE,
};

}  // namespace vesksim
