// The platform's own library, behind this one.
#pragma once

namespace veskcap {

struct Platform {
    int (*init)(const void* signature, unsigned long cookie, unsigned long* handle);
    int (*invoke)(unsigned long handle, unsigned long instanceId, unsigned long callbackId,
                  unsigned int parameterCount, ...);
    int (*destroy)(unsigned long handle);
};

// Loaded at the first call. Null, and said so on standard error once, if it cannot be.
const Platform* platform() noexcept;

}  // namespace veskcap
