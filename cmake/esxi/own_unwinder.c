/* For the unwinder that is linked in: sets up its table of registers at load. Without it, it aborts
 * when an exception of another unwinder passes, as when the host's operator new throws. */
#include <unwind.h>

static _Unwind_Reason_Code stopAtOnce(struct _Unwind_Context* context, void* argument) {
    (void)context;
    (void)argument;
    return _URC_NORMAL_STOP;
}

__attribute__((constructor(101))) static void prepareUnwinder(void) {
    _Unwind_Backtrace(stopAtOnce, 0);
}
