// The three functions that libvmkmgmt.so exports. Any thread may call them. Each returns 0 or the
// number of a failure: MgmtError for a broken rule, or what a scenario asks for.
#pragma once

#include <cstdint>

extern "C" {

int vmk_MgmtUserInit(const void* signature, std::uint64_t cookie, std::uint64_t* handle);
int vmk_MgmtUserCallbackInvokeInt(std::uint64_t handle, std::uint64_t instanceId,
                                  std::uint64_t callbackId, std::uint32_t parameterCount,
                                  void* parameter0, void* parameter1);
int vmk_MgmtUserDestroy(std::uint64_t handle);

}  // extern "C"
