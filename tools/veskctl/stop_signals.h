// SIGINT and SIGTERM as an end that can be had between two pieces of work. The second signal ends
// the process at once, with exit code 130. At most one object at a time, in one thread; the signals
// may arrive on any.
#pragma once

#include <chrono>

namespace veskctl {

class StopSignals {
public:
    // A signal that was ignored stays so. Throws std::system_error.
    StopSignals();
    ~StopSignals();  // puts the former handling back

    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    bool arrived() const;

    // False as soon as a signal has arrived, or as the reader of this descriptor has gone (-1: no
    // descriptor); true when the time has passed.
    bool pause(std::chrono::milliseconds time, int watchedOutput) const;

private:
    int m_wakeUp = -1;  // readable once a signal has arrived
};

}  // namespace veskctl
