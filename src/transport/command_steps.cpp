#include "transport/command_steps.h"

#include "api/error_state.h"

#include <new>

namespace stg {

std::unique_ptr<CCommandDword> createCommand() {
    try {
        return std::make_unique<CCommandDword>();
    } catch (const std::bad_alloc& error) {
        recordFailure(ERR_FAIL, error.what());
        return nullptr;
    }
}

ReplyBuffer attachReply(CCommandDword& command, std::size_t size, const char* caller) {
    ReplyBuffer reply = stg::tryAllocateZeroed(size);
    if (!reply) {
        recordFailure(ERR_FAIL, caller, std::bad_alloc().what());
    }
    command.setcdw_6_7(reply.get());
    return reply;
}

void sendCommand(ICommandBuilder& builder, CCommandDword* command) {
    if (command != nullptr) {
        command->execute(builder.getdwIOCTLcode());
    }
}

}  // namespace stg
