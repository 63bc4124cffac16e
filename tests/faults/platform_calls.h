// The platform's functions of this program, in front of those of libvmkmgmt.so: they lead on to the
// same simulated host, or fail, or lie.
#pragma once

#include <functional>

namespace vesktest {

// Called in the place of a callback: its number, its two parameters, and the honest answer, which
// fills them in and is 0 on success. Its result is that of the callback. Called by whatever thread
// sends a command, also by several at once.
using HostileDriver = std::function<int(unsigned long callbackId, void* parameter0,
                                        void* parameter1, const std::function<int()>& honest)>;

// Stands between library and host for as long as it lives.
class DriverInBetween {
public:
    explicit DriverInBetween(HostileDriver driver);
    ~DriverInBetween();
    DriverInBetween(const DriverInBetween&) = delete;
    DriverInBetween& operator=(const DriverInBetween&) = delete;
};

// What vmk_MgmtUserDestroy answers for as long as this lives; it closes all the same.
class AnswerOfDestroy {
public:
    explicit AnswerOfDestroy(int code);
    ~AnswerOfDestroy();
    AnswerOfDestroy(const AnswerOfDestroy&) = delete;
    AnswerOfDestroy& operator=(const AnswerOfDestroy&) = delete;
};

}  // namespace vesktest
