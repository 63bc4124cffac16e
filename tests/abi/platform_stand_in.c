/* A libvmkmgmt.so without a driver: every call fails. */
int vmk_MgmtUserInit(const void* signature, unsigned long cookie, unsigned long* handle);
int vmk_MgmtUserCallbackInvokeInt(unsigned long handle, unsigned long instanceId,
                                  unsigned long callbackId, unsigned int parameterCount,
                                  void* parameter0, void* parameter1);
int vmk_MgmtUserDestroy(unsigned long handle);

int vmk_MgmtUserInit(const void* signature, unsigned long cookie, unsigned long* handle) {
    (void)signature;
    (void)cookie;
    (void)handle;
    return -1;
}

int vmk_MgmtUserCallbackInvokeInt(unsigned long handle, unsigned long instanceId,
                                  unsigned long callbackId, unsigned int parameterCount,
                                  void* parameter0, void* parameter1) {
    (void)handle;
    (void)instanceId;
    (void)callbackId;
    (void)parameterCount;
    (void)parameter0;
    (void)parameter1;
    return -1;
}

int vmk_MgmtUserDestroy(unsigned long handle) {
    (void)handle;
    return -1;
}
