// libvmkmgmt.so as the simulated host has it.
#include "transport/vmk_mgmt.h"

#include "sim/host/connections.h"
#include "sim/host/simulated_host.h"
#include "sim/replay/replay.h"

#include <cstdarg>
#include <cstdio>
#include <exception>

namespace {

// A capture that is replayed takes the place of the simulated host. The callers are C: nothing may
// be thrown at them, not even for a scenario that does not load.
template <typename Call>
int guarded(Call call) {
    try {
        vesksim::Replay* const replay = vesksim::Replay::active();
        return replay != nullptr ? call(*replay) : call(vesksim::SimulatedHost::instance());
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "libvmkmgmt: %s\n", failure.what());
        return static_cast<int>(vesksim::MgmtError::kNoHost);
    }
}

}  // namespace

// Tells programs that this is not the host's own libvmkmgmt.so.
// NOLINTNEXTLINE(readability-identifier-naming): a C name, looked up as such
extern "C" int vesksim_is_simulated() {
    return 1;
}

int vmk_MgmtUserInit(const void* signature, unsigned long cookie, unsigned long* handle) {
    return guarded([=](auto& host) { return host.open(signature, cookie, handle); });
}

int vmk_MgmtUserCallbackInvokeInt(unsigned long handle, unsigned long instanceId,
                                  unsigned long callbackId, unsigned int parameterCount, ...) {
    std::va_list parameters;
    va_start(parameters, parameterCount);
    void* const parameter0 = va_arg(parameters, void*);
    void* const parameter1 = va_arg(parameters, void*);
    va_end(parameters);
    return guarded([=](auto& host) {
        return host.invoke(handle, instanceId, callbackId, parameterCount, parameter0, parameter1);
    });
}

int vmk_MgmtUserDestroy(unsigned long handle) {
    return guarded([=](auto& host) { return host.close(handle); });
}
