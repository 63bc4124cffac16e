// The platform's library as the capture's tests have it.
#pragma once

#include "transport/nvme_uio.h"

#include <functional>

struct PlatformCall {
    unsigned long handle = 0;
    unsigned long instanceId = 0;
    unsigned long callbackId = 0;
    unsigned parameterCount = 0;
    void* parameters[6] = {};
};

// What answers a call; may change what the parameters point to. By default 0 for everything, and a
// pass-through fills its buffer with the byte cdw14, its status with 1.
void setPlatformAnswer(std::function<int(const PlatformCall&)> answer);
int usualAnswer(const PlatformCall& call);

// errno as each function leaves it; and as the last one found it.
constexpr int kPlatformErrno = 77;
int errnoBeforePlatform();
