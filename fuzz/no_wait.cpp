// Ahead of each poll the polling thread waits a millisecond for a stop. Where polls are all that is
// done, that is most of the time: in a program with this, a wait with an end is over at once.
#include <bits/atomic_futex.h>
#include <chrono>
#include <dlfcn.h>

bool std::__atomic_futex_unsigned_base::_M_futex_wait_until_steady(
    unsigned* address, unsigned value, bool hasTimeout, std::chrono::seconds seconds,
    std::chrono::nanoseconds nanoseconds) {
    if (hasTimeout) {
        return false;  // it is late
    }
    using Wait = bool (*)(__atomic_futex_unsigned_base*, unsigned*, unsigned, bool,
                          std::chrono::seconds, std::chrono::nanoseconds);
    static const auto real = reinterpret_cast<Wait>(
        dlsym(RTLD_NEXT, "_ZNSt28__atomic_futex_unsigned_base26_M_futex_wait_until_steadyEPjjbNSt6"
                         "chrono8durationIlSt5ratioILl1ELl1EEEENS2_IlS3_ILl1ELl1000000000EEEE"));
    return real(this, address, value, hasTimeout, seconds, nanoseconds);
}
