#include "platform_for_capture.h"

#include "transport/vmk_mgmt.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstring>

namespace {

std::function<int(const PlatformCall&)> answer = usualAnswer;
std::atomic<int> found{0};
std::atomic<unsigned long> given{0};

}  // namespace

void setPlatformAnswer(std::function<int(const PlatformCall&)> replacement) {
    answer = std::move(replacement);
}

int usualAnswer(const PlatformCall& call) {
    if (call.callbackId == 17 && call.parameterCount == 2) {
        auto* const uio = static_cast<nvme_uio*>(call.parameters[1]);
        if (uio->direction == 1) {
            std::memset(uio->dataAddress, static_cast<int>(uio->cdw14), uio->dataLength);
        }
        uio->completionStatus = 1;
    }
    return 0;
}

int errnoBeforePlatform() {
    return found;
}

int vmk_MgmtUserInit(const void* signature, unsigned long cookie, unsigned long* handle) {
    found = errno;
    errno = kPlatformErrno;
    if (signature == nullptr || handle == nullptr) {
        return 1001;
    }
    *handle = ++given;
    return cookie == 0 ? 0 : 1003;
}

int vmk_MgmtUserCallbackInvokeInt(unsigned long handle, unsigned long instanceId,
                                  unsigned long callbackId, unsigned int parameterCount, ...) {
    found = errno;
    PlatformCall call = {handle, instanceId, callbackId, parameterCount, {}};
    std::va_list list;
    va_start(list, parameterCount);
    for (unsigned i = 0; i < parameterCount && i < 6; ++i) {
        call.parameters[i] = va_arg(list, void*);
    }
    va_end(list);
    const int result = answer(call);
    errno = kPlatformErrno;
    return result;
}

int vmk_MgmtUserDestroy(unsigned long handle) {
    found = errno;
    errno = kPlatformErrno;
    return handle == 0 ? 1020 : 0;
}
