// Runs one operation again and again, each time with another fault, until one comes too late to
// touch it.
#pragma once

#include "fault.h"

#include <functional>

namespace vesktest {

// What surrounds an operation.
struct Steps {
    std::function<void()> prepare;
    std::function<void()> run;  // under the fault; throws nothing
    std::function<void(const Injection&)> check;
};

struct Extent {
    unsigned atLeast;   // injections, where all are run
    unsigned step = 1;  // one in this many is run, for what takes long
};

// Each n of each kind of fault, alone, with the next and with all that follow, in a build with the
// address sanitizer or where VESK_SWEEP_ALL is set; some of them in others, which have no time for
// all. A failure says how to replay it alone, through VESK_FAULT.
void sweep(const Steps& steps, const Extent& extent);

}  // namespace vesktest
