// The data buffer of a command builder, and the ways to fill a command and read its reply.
#pragma once

#include "support/heap_record.h"
#include "transport/i_command_builder.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

// From malloc; the driver writes the reply straight into it.
using ReplyBuffer = HeapRecord<void>;
static_assert(sizeof(ReplyBuffer) == sizeof(void*), "a builder's member is one pointer");

// Gets a zeroed buffer and stores its address in the command. Without memory: null, in the slot
// too; the failure is logged, with `caller` in front, and in the error state.
ReplyBuffer attachReply(CCommandDword& command, std::size_t size, const char* caller = "");

// Fills the slots that all reads of a 4 KiB information page share, with the buffer. Null as above;
// only the opcode is set then.
ReplyBuffer buildInformationRead(CCommandDword& command, UNSIGNED_INTEGER subCommand);

// Sends a builder's record with its request code; nothing where there was no memory for a record.
void sendCommand(ICommandBuilder& builder, CCommandDword* command);

// The record at the start of a reply. A copy, since the buffer has no type of its own.
template <typename Record>
Record readRecord(const void* reply) {
    static_assert(std::is_trivially_copyable_v<Record>, "records are moved as bytes");
    Record record;
    std::memcpy(&record, reply, sizeof(record));
    return record;
}
