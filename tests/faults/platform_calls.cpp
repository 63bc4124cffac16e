// What the host allocates is none of the library's calls.
#include "platform_calls.h"

#include "allocation_fault.h"
#include "fault.h"

#include "sim/host/simulated_host.h"
#include "transport/vmk_mgmt.h"

#include <atomic>
#include <cstdarg>
#include <memory>
#include <mutex>
#include <utility>

namespace {

using vesktest::FaultKind;
using vesktest::Injection;

constexpr int kFailed = 0x0BAD0001;

// Outside of the library until it goes.
class Outside {
public:
    Outside()
        : m_malloc(vesktest::exchangeMallocFault(nullptr)),
          m_new(vesktest::exchangeNewFault(nullptr)) {}
    ~Outside() {
        vesktest::exchangeMallocFault(m_malloc);
        vesktest::exchangeNewFault(m_new);
    }
    Outside(const Outside&) = delete;
    Outside& operator=(const Outside&) = delete;

private:
    vesktest::AllocationFault* m_malloc;
    vesktest::AllocationFault* m_new;
};

bool fails(const char* function) {
    Injection* const injection = Injection::current();
    return injection != nullptr && injection->isToFail(FaultKind::kPlatform, function);
}

vesksim::SimulatedHost& host() {
    return vesksim::SimulatedHost::instance();
}

// Calls of several threads overlap as they do on a host.
std::mutex s_mutex;
std::shared_ptr<const vesktest::HostileDriver> s_driver;
std::atomic<int> s_answerOfDestroy{0};

std::shared_ptr<const vesktest::HostileDriver>
exchangeDriver(std::shared_ptr<const vesktest::HostileDriver> driver) {
    const std::lock_guard<std::mutex> lock(s_mutex);
    s_driver.swap(driver);
    return driver;
}

std::shared_ptr<const vesktest::HostileDriver> currentDriver() {
    const std::lock_guard<std::mutex> lock(s_mutex);
    return s_driver;
}

}  // namespace

namespace vesktest {

DriverInBetween::DriverInBetween(HostileDriver driver) {
    exchangeDriver(std::make_shared<const HostileDriver>(std::move(driver)));
}

DriverInBetween::~DriverInBetween() {
    exchangeDriver(nullptr);
}

AnswerOfDestroy::AnswerOfDestroy(int code) {
    s_answerOfDestroy = code;
}

AnswerOfDestroy::~AnswerOfDestroy() {
    s_answerOfDestroy = 0;
}

}  // namespace vesktest

int vmk_MgmtUserInit(const void* signature, unsigned long cookie, unsigned long* handle) {
    const Outside outside;
    return fails("vmk_MgmtUserInit") ? kFailed : host().open(signature, cookie, handle);
}

int vmk_MgmtUserCallbackInvokeInt(unsigned long handle, unsigned long instanceId,
                                  unsigned long callbackId, unsigned int parameterCount, ...) {
    const Outside outside;
    std::va_list parameters;
    va_start(parameters, parameterCount);
    void* const parameter0 = va_arg(parameters, void*);
    void* const parameter1 = va_arg(parameters, void*);
    va_end(parameters);
    if (fails("vmk_MgmtUserCallbackInvokeInt")) {
        return kFailed;
    }
    const auto honest = [=] {
        return host().invoke(handle, instanceId, callbackId, parameterCount, parameter0,
                             parameter1);
    };
    const auto driver = currentDriver();
    return driver != nullptr ? (*driver)(callbackId, parameter0, parameter1, honest) : honest();
}

// Closes also when it fails: there is nothing else that anybody could do with the handle.
int vmk_MgmtUserDestroy(unsigned long handle) {
    const Outside outside;
    const bool failed = fails("vmk_MgmtUserDestroy");
    const int result = host().close(handle);
    return failed ? kFailed : result != 0 ? result : s_answerOfDestroy.load();
}
