// The kinds of commands that a scenario can make fail.
#pragma once

#include "received_command.h"

#include <optional>

namespace vesksim {

enum class CommandClass { kIdentify, kAdapter, kPhysicalDisk, kVirtualDisk, kSmart, kLed, kEvents };

constexpr std::uint8_t kOpcodeIdentify = 0x06;
constexpr std::uint8_t kOpcodeDiskPassThrough = 0xC2;
constexpr std::uint8_t kOpcodeVendor = 0xE2;

// Nothing for a command that the controller does not know.
std::optional<CommandClass> classify(const ReceivedCommand& command);

}  // namespace vesksim
