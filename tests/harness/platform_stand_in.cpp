// Stands for the platform's libvmkmgmt.so. All results are 77, so that a call that passes the
// script by shows.
#include "transport/vmk_mgmt.h"

int vmk_MgmtUserInit(const void*, unsigned long, unsigned long*) {
    return 77;
}

int vmk_MgmtUserCallbackInvokeInt(unsigned long, unsigned long, unsigned long, unsigned int, ...) {
    return 77;
}

int vmk_MgmtUserDestroy(unsigned long) {
    return 77;
}
