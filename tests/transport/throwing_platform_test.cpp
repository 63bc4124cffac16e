// The talker over a platform library that throws. A program of its own, as its platform stands in
// front of any library's.
#include "traced_host.h"

#include "transport/management_tables.h"
#include "transport/vmk_mgmt.h"
#include "transport/vmware_device_talker.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <functional>
#include <new>
#include <stdexcept>

namespace {

using namespace vesktest;

enum class Call { kOpenGlobal, kList, kOpenAdapter };

// What happens at each call of the platform.
std::function<void(Call)>& platformHook() {
    static std::function<void(Call)> s_hook;
    return s_hook;
}

class ThrowingPlatform : public ::testing::Test {
protected:
    ~ThrowingPlatform() override { platformHook() = nullptr; }

    template <typename Exception>
    void throwAt(Call call, const Exception& exception) {
        platformHook() = [call, exception](Call now) {
            if (now == call) {
                throw exception;
            }
        };
        host.forgetLines();
    }

    TracedHost host;
    CVMWareZNVDeviceTalker talker;
};

TEST_F(ThrowingPlatform, StandardExceptionGivesNoController) {
    for (const Call call : {Call::kOpenGlobal, Call::kList, Call::kOpenAdapter}) {
        SCOPED_TRACE(static_cast<int>(call));
        throwAt(call, std::runtime_error("platform fault"));
        EXPECT_EQ(talker.getControllerCount(), 0);
        EXPECT_EQ(talker.getHandle(), nullptr);
        EXPECT_EQ(host.messages(),
                  LogLines{"CVMWareZNVDeviceTalker::getControllerCount: platform fault"});
        EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::getControllerCount()"));
    }
}

TEST_F(ThrowingPlatform, AllocationFailureGivesNoController) {
    for (const Call call : {Call::kOpenGlobal, Call::kList, Call::kOpenAdapter}) {
        SCOPED_TRACE(static_cast<int>(call));
        throwAt(call, std::bad_alloc());
        EXPECT_EQ(talker.getControllerCount(), 0);
        EXPECT_EQ(host.messages(),
                  LogLines{"CVMWareZNVDeviceTalker::getControllerCount: Memory Allocation failed: "
                           "std::bad_alloc"});
    }
}

TEST_F(ThrowingPlatform, ExistenceIsDenied) {
    throwAt(Call::kList, std::runtime_error("platform fault"));
    EXPECT_FALSE(talker.checkControllerExistence());
}

TEST_F(ThrowingPlatform, WhatIsNoStandardExceptionPasses) {
    throwAt(Call::kOpenGlobal, 42);
    EXPECT_THROW(talker.getControllerCount(), int);
}

}  // namespace

int vmk_MgmtUserInit(const void* signature, unsigned long, unsigned long* handle) {
    const UNSIGNED_INTEGER callbacks =
        static_cast<const ManagementSignature*>(signature)->numCallbacks;
    platformHook()(callbacks == 1 ? Call::kOpenGlobal : Call::kOpenAdapter);
    *handle = 1;
    return 0;
}

// One adapter, whose fields are empty texts.
int vmk_MgmtUserCallbackInvokeInt(unsigned long, unsigned long, unsigned long callbackId,
                                  unsigned int parameterCount, ...) {
    if (callbackId != kAdapterListCallback) {
        return 1;
    }
    platformHook()(Call::kList);
    std::va_list parameters;
    va_start(parameters, parameterCount);
    const UNSIGNED_INTEGER count = 1;
    std::memcpy(va_arg(parameters, void*), &count, sizeof count);
    std::memset(va_arg(parameters, void*), 0, 80);
    va_end(parameters);
    return 0;
}

int vmk_MgmtUserDestroy(unsigned long) {
    return 0;
}
