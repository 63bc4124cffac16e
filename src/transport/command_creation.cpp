#include "transport/command_creation.h"

#include "api/error_state.h"

#include <new>

std::unique_ptr<CCommandDword> createCommand() {
    try {
        return std::make_unique<CCommandDword>();
    } catch (const std::bad_alloc& error) {
        recordFailure(error.what(), ERR_FAIL);
        return nullptr;
    }
}
