// The steps that the command builders share: the record, the zeroed buffer, sending.
#pragma once

#include "support/heap_record.h"
#include "transport/i_command_builder.h"

#include <cstddef>
#include <memory>

// The data buffer of a command builder. The driver writes the reply straight into it, and what the
// driver leaves is zero: a failed command reads as an answer of zeros.
using ReplyBuffer = HeapRecord<void>;
static_assert(sizeof(ReplyBuffer) == sizeof(void*), "a builder's member is one pointer");

namespace stg {

// A record for a builder whose constructor does not throw. Null without memory for it; that is
// logged and in the error state.
std::unique_ptr<CCommandDword> createCommand();

// A zeroed buffer, whose address it stores in the command. Null without memory, and so is the
// command's slot; that is logged, behind `caller`, and in the error state.
ReplyBuffer attachReply(CCommandDword& command, std::size_t size, const char* caller = "");

// Sends the builder's record with its request code; nothing where there was no memory for a record.
void sendCommand(ICommandBuilder& builder, CCommandDword* command);

}  // namespace stg
