/* The three functions of libvmkmgmt, the hypervisor's user-space management library, in C and C++.
 * The one declaration of them: for the library, which calls them, and for all that stands in for
 * the hypervisor. Any thread may call them. Each returns 0, or the number of a failure. */
#ifndef VESK_VMK_MGMT_H
#define VESK_VMK_MGMT_H

#ifdef __cplusplus
extern "C" {
#endif

/* Opens a connection for a management signature of 80 bytes; the handle is given on success. */
int vmk_MgmtUserInit(const void* signature, unsigned long cookie, unsigned long* handle);

/* Runs a callback on the driver's side and returns once the parameters marked out are written.
 * Behind the count come that many addresses of parameters: two for every callback here. Declared
 * with "...", since a call made so reaches a function of either kind on x86-64, while one made
 * through fixed parameters leaves undefined what a variadic function looks at first. */
int vmk_MgmtUserCallbackInvokeInt(unsigned long handle, unsigned long instanceId,
                                  unsigned long callbackId, unsigned int parameterCount, ...);

/* Ends the connection. */
int vmk_MgmtUserDestroy(unsigned long handle);

#ifdef __cplusplus
}
#endif

#endif
