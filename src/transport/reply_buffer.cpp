#include "transport/reply_buffer.h"

#include "api/error_state.h"
#include "support/log_line.h"

#include <cstdlib>
#include <cstring>
#include <new>

ReplyBuffer attachReply(CCommandDword& command, std::size_t size, const char* caller) {
    command.setcdw_6_7(nullptr);
    try {
        ReplyBuffer reply(std::malloc(size));
        if (!reply) {
            throw std::bad_alloc();
        }
        // A failed device command leaves these zeros, and they read as an answer of zeros.
        std::memset(reply.get(), 0, size);
        command.setcdw_6_7(reply.get());
        return reply;
    } catch (const std::bad_alloc& error) {
        stg::logLine(caller, error.what());
        VeskNVMeLibrary_Error::setErrorCode(ERR_FAIL);
        return nullptr;
    }
}

void sendCommand(ICommandBuilder& builder, CCommandDword* command) {
    if (command != nullptr) {
        command->execute(builder.getdwIOCTLcode());
    }
}

ReplyBuffer buildInformationRead(CCommandDword& command, UNSIGNED_INTEGER subCommand) {
    command.setcdw0(0xE2);
    ReplyBuffer reply = attachReply(command, 0x1000);
    if (reply) {
        command.setcdw9(0x1000);
        command.setcdw10(0x400);
        command.setcdw12(subCommand);
    }
    return reply;
}
