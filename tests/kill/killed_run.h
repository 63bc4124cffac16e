// Work in a process of its own that is killed in the middle, to see what the next one finds.
#pragma once

#include <cstddef>
#include <functional>

namespace vesktest {

// Runs `work` in a child process, which dies by SIGKILL when one of its threads is about to make
// its `call`-th system call, counted from 1. True if it was killed, false if the work was done
// before. Throws std::runtime_error if the work itself fails or the system does not allow tracing.
bool killedAt(std::size_t call, const std::function<void()>& work);

// For each system call of the work: prepare, work until that call, check. The number of kills; the
// work runs through once at the end, with a check behind it as well.
std::size_t killAtEachCall(const std::function<void()>& prepare, const std::function<void()>& work,
                           const std::function<void()>& check);

}  // namespace vesktest
