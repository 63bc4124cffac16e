/* In a build for coverage only: programs that leave by _Exit keep their counters all the same.
 * Linked with --wrap=_Exit. */
#include <stdlib.h>

/* Of the runtime library for profiles. */
int __llvm_profile_write_file(void);
/* Of the simulated host; missing in veskctl. */
__attribute__((weak)) void vesk_write_counters_of_simulation(void);
__attribute__((noreturn)) void __real__Exit(int code);

__attribute__((noreturn)) void __wrap__Exit(int code) {
    __llvm_profile_write_file();
    if (vesk_write_counters_of_simulation) {
        vesk_write_counters_of_simulation();
    }
    __real__Exit(code);
}
