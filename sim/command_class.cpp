#include "command_class.h"

namespace vesksim {

namespace {

// Low byte of cdw12: the class of the request. Second byte: the function inside it.
std::optional<CommandClass> classifyVendor(std::uint32_t cdw12) {
    switch (cdw12) {
    case 0x0E0:
    case 0x0E4:
        return CommandClass::kAdapter;
    case 0x0E1:
        return CommandClass::kPhysicalDisk;
    case 0x7E1:
        return CommandClass::kLed;
    case 0x0E2:
        return CommandClass::kVirtualDisk;
    case 0x4FE:
        return CommandClass::kEvents;
    default:
        return std::nullopt;
    }
}

}  // namespace

std::optional<CommandClass> classify(const ReceivedCommand& command) {
    switch (command.opcode) {
    case kOpcodeIdentify:
        return CommandClass::kIdentify;
    case kOpcodeDiskPassThrough:
        return CommandClass::kSmart;
    case kOpcodeVendor:
        return classifyVendor(command.cdw12);
    default:
        return std::nullopt;
    }
}

}  // namespace vesksim
