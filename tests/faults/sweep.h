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
    // Also gives back what the run left in the test's own variables: the memory that is held behind
    // it must not grow from fault to fault.
    std::function<void(const Injection&)> check;
    // Whether the last run left memory behind as it should. Null: never.
    std::function<bool()> keepsMemory = nullptr;
};

struct Extent {
    unsigned atLeast;   // injections, where one in `step` is run
    unsigned step = 1;  // for what takes long
};

// Each n of each kind of fault, alone, with the next and with all that follow, in a build with the
// address sanitizer; where VESK_SWEEP_ALL is set, all of them also of what takes long; some of them
// in others, which have no time for all. A failure says how to replay it alone, through VESK_FAULT,
// and so does what ends the process: a signal, a sanitizer's finding, a minute without an end.
void sweep(const Steps& steps, const Extent& extent);

}  // namespace vesktest
