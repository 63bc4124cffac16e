// The talker over a platform library and a dump parser that throw. A program of its own, as its
// platform and its parser stand in front of any library's.
#include "pci_dump_file.h"
#include "traced_host.h"

#include "transport/management_tables.h"
#include "transport/pci_dump_parser.h"
#include "transport/vmk_mgmt.h"
#include "transport/vmware_device_talker.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdarg>
#include <cstring>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>

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

// What happens where a dump is parsed.
std::function<void()>& parserHook() {
    static std::function<void()> s_hook;
    return s_hook;
}

class ThrowingParser : public ::testing::Test {
protected:
    ~ThrowingParser() override {
        talker.setHandle(nullptr);
        parserHook() = nullptr;
    }

    RESULT executeWith(const std::function<void()>& hook) {
        host.files().write(kPciConfigPath, std::string(kDumpHeader) + kDumpRows);
        parserHook() = hook;
        talker.setHandle(&adapter);
        CCommandDword command;
        command.setcdw_6_7(link.data());
        host.forgetLines();
        return talker.executeCMD(&command, 0);
    }

    using Link = std::array<std::uint8_t, 4>;

    TracedHost host;
    nvme_handle adapter{"vmhba2", 1};
    CVMWareZNVDeviceTalker talker;
    Link link{1, 2, 3, 4};
};

TEST_F(ThrowingParser, StandardExceptionFailsTheCommand) {
    EXPECT_EQ(executeWith([] { throw std::runtime_error("parser fault"); }), 1);
    EXPECT_EQ(link, (Link{1, 2, 3, 4}));
    EXPECT_EQ(
        host.messages(),
        (LogLines{
            "CVMWareZNVDeviceTalker::getPCIeInfo: Found Zenthra NVMe controller in pci config file",
            "CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion() : Exception Error: parser fault",
            "CVMWareZNVDeviceTalker::executeCMD: Return code: 1"}));
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion()"));
    EXPECT_FALSE(contains(host.lines(), "CVMWareZNVDeviceTalker::getPCIeInfo() EXIT "));
}

TEST_F(ThrowingParser, AllocationFailureFailsTheCommand) {
    EXPECT_EQ(executeWith([] { throw std::bad_alloc(); }), 1);
    EXPECT_EQ(link, (Link{1, 2, 3, 4}));
    EXPECT_TRUE(contains(host.messages(),
                         "CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion(): Memory "
                         "allocation failed: std::bad_alloc"));
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

RESULT stg::IZNVDeviceTalker_Helper::parsePCIHexDump(std::vector<USHORT_INT>,
                                                     std::map<STDSTR, USHORT_INT>&) {
    parserHook()();
    return 1;
}
