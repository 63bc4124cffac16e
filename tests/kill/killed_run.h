// Work in a process of its own that is killed in the middle, to see what the next one finds.
#pragma once

#include <cstddef>
#include <functional>

namespace vesktest {

enum class Calls {
    kAll,
    // Those that write, make, rename or remove files. What is left behind changes at these only, so
    // for a program with many calls they do as well as all.
    kThatChangeFiles
};

// Runs `work` in a child process, which dies by SIGKILL when one of its threads is about to make
// its `call`-th system call of those that count, from 1. True if it was killed, false if the work
// was done before. Throws std::runtime_error if the work itself fails or the system does not allow
// tracing. The work may turn into another program.
bool killedAt(std::size_t call, const std::function<void()>& work, Calls counted = Calls::kAll);

// For each such call of the work, or one in `step`: prepare, work until then, check. The number of
// kills; the work runs through once at the end, with a check behind it as well.
std::size_t killAtEachCall(const std::function<void()>& prepare, const std::function<void()>& work,
                           const std::function<void()>& check, Calls counted = Calls::kAll,
                           std::size_t step = 1);

// The work in a child process to its end, without a kill. Throws as above.
void runAlone(const std::function<void()>& work);

}  // namespace vesktest
