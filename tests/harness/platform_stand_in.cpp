// Stands for the platform's libvmkmgmt.so. All results are 77, so that a call that passes the
// script by shows.
#include <cstdint>

extern "C" {

int vmk_MgmtUserInit(const void*, std::uint64_t, std::uint64_t*);
int vmk_MgmtUserCallbackInvokeInt(std::uint64_t, std::uint64_t, std::uint64_t, std::uint32_t, void*,
                                  void*);
int vmk_MgmtUserDestroy(std::uint64_t);

int vmk_MgmtUserInit(const void*, std::uint64_t, std::uint64_t*) {
    return 77;
}

int vmk_MgmtUserCallbackInvokeInt(std::uint64_t, std::uint64_t, std::uint64_t, std::uint32_t, void*,
                                  void*) {
    return 77;
}

int vmk_MgmtUserDestroy(std::uint64_t) {
    return 77;
}
}
