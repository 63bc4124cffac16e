#include "vmk_mgmt.h"

#include "mgmt_error.h"
#include "simulated_host.h"

#include <cstdio>
#include <exception>

namespace {

// The callers are C: nothing may be thrown at them, not even for a scenario that does not load.
template <typename Call>
int guarded(Call call) {
    try {
        return call(vesksim::SimulatedHost::instance());
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "libvmkmgmt: %s\n", failure.what());
        return static_cast<int>(vesksim::MgmtError::kNoHost);
    }
}

}  // namespace

int vmk_MgmtUserInit(const void* signature, std::uint64_t cookie, std::uint64_t* handle) {
    return guarded(
        [=](vesksim::SimulatedHost& host) { return host.open(signature, cookie, handle); });
}

int vmk_MgmtUserCallbackInvokeInt(std::uint64_t handle, std::uint64_t instanceId,
                                  std::uint64_t callbackId, std::uint32_t parameterCount,
                                  void* parameter0, void* parameter1) {
    return guarded([=](vesksim::SimulatedHost& host) {
        return host.invoke(handle, instanceId, callbackId, parameterCount, parameter0, parameter1);
    });
}

int vmk_MgmtUserDestroy(std::uint64_t handle) {
    return guarded([=](vesksim::SimulatedHost& host) { return host.close(handle); });
}
