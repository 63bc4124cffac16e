// libvesk-capture.so: the three functions of the platform's library, which lead on to it and record
// what passes. Arguments, results, buffers and errno go through as they are.
#include "capture/platform.h"
#include "capture/recorder.h"
#include "transport/vmk_mgmt.h"

#include <cerrno>
#include <cstdarg>

#define VESK_EXPORTED __attribute__((visibility("default")))

namespace {

using veskcap::Platform;
using veskcap::Recorder;

// A table has room for four parameters; a call with more than these cannot be a right one.
constexpr unsigned kMostForwarded = 16;

// The recorder's own work leaves no errno behind.
template <class Work>
void aside(Work work) {
    const int before = errno;
    work();
    errno = before;
}

const Platform* platformAside() {
    const Platform* real = nullptr;
    aside([&] { real = veskcap::platform(); });
    return real;
}

Recorder* recorderAside() {
    Recorder* recorder = nullptr;
    aside([&] {
        recorder = Recorder::active();
        if (recorder == nullptr) {
            Recorder::sayProblem();
        }
    });
    return recorder;
}

}  // namespace

// Names as C programs have them.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {

// Opens the file and looks at the host's files now instead of at the first call. Null, or why
// nothing is recorded.
VESK_EXPORTED const char* vesk_capture_start(void) {
    aside([] {
        if (Recorder* const recorder = Recorder::active()) {
            recorder->lookAtHost();
        }
    });
    return Recorder::problem();
}

// Why recording ended, or never began; null as long as it goes on.
VESK_EXPORTED const char* vesk_capture_problem(void) {
    return Recorder::problem();
}

// Records nothing more in this process. No record is under way when it returns: a process that then
// ends, in whatever way, leaves no half of one.
VESK_EXPORTED void vesk_capture_end(void) {
    aside([] { Recorder::endRecording(); });
}

VESK_EXPORTED int vmk_MgmtUserInit(const void* signature, unsigned long cookie,
                                   unsigned long* handle) {
    const Platform* const real = platformAside();
    if (real == nullptr) {
        return ELIBACC;
    }
    Recorder* const recorder = recorderAside();
    if (recorder == nullptr) {
        return real->init(signature, cookie, handle);
    }
    veskcap::Exchange exchange;
    aside([&] { recorder->beforeInit(exchange, cookie); });
    const int result = real->init(signature, cookie, handle);
    aside([&] { recorder->afterInit(exchange, signature, handle, result); });
    return result;
}

VESK_EXPORTED int vmk_MgmtUserCallbackInvokeInt(unsigned long handle, unsigned long instanceId,
                                                unsigned long callbackId,
                                                unsigned int parameterCount, ...) {
    void* p[kMostForwarded] = {};
    std::va_list list;
    va_start(list, parameterCount);
    for (unsigned i = 0; i < parameterCount && i < kMostForwarded; ++i) {
        p[i] = va_arg(list, void*);
    }
    va_end(list);
    const Platform* const real = platformAside();
    if (real == nullptr) {
        return ELIBACC;
    }
    // Surplus arguments are passed by and not looked at.
    const auto forward = [&] {
        return parameterCount <= veskcap::kMostParameters
                   ? real->invoke(handle, instanceId, callbackId, parameterCount, p[0], p[1], p[2],
                                  p[3])
                   : real->invoke(handle, instanceId, callbackId, parameterCount, p[0], p[1], p[2],
                                  p[3], p[4], p[5], p[6], p[7], p[8], p[9], p[10], p[11], p[12],
                                  p[13], p[14], p[15]);
    };
    Recorder* const recorder = recorderAside();
    if (recorder == nullptr) {
        return forward();
    }
    veskcap::Invocation invocation;
    invocation.body.handle = handle;
    invocation.body.cookie = instanceId;
    invocation.body.callbackId = callbackId;
    invocation.body.parameterCount = parameterCount;
    invocation.parameters = p;
    aside([&] { recorder->beforeInvoke(invocation); });
    const int result = forward();
    aside([&] { recorder->afterInvoke(invocation, result); });
    return result;
}

VESK_EXPORTED int vmk_MgmtUserDestroy(unsigned long handle) {
    const Platform* const real = platformAside();
    if (real == nullptr) {
        return ELIBACC;
    }
    Recorder* const recorder = recorderAside();
    if (recorder == nullptr) {
        return real->destroy(handle);
    }
    veskcap::Exchange exchange;
    aside([&] { recorder->beforeDestroy(exchange, handle); });
    const int result = real->destroy(handle);
    aside([&] { recorder->afterDestroy(exchange, result); });
    return result;
}

}  // extern "C"
// NOLINTEND(readability-identifier-naming)
