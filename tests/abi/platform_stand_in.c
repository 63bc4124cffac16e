/* A libvmkmgmt.so without a driver: every call fails. */
#include "transport/vmk_mgmt.h"

int vmk_MgmtUserInit(const void* signature, unsigned long cookie, unsigned long* handle) {
    (void)signature;
    (void)cookie;
    (void)handle;
    return -1;
}

int vmk_MgmtUserCallbackInvokeInt(unsigned long handle, unsigned long instanceId,
                                  unsigned long callbackId, unsigned int parameterCount, ...) {
    (void)handle;
    (void)instanceId;
    (void)callbackId;
    (void)parameterCount;
    return -1;
}

int vmk_MgmtUserDestroy(unsigned long handle) {
    (void)handle;
    return -1;
}
