#include "veskctl/log_reads.h"

#include "events/event_log_layout.h"
#include "transport/management_tables.h"
#include "transport/nvme_uio.h"
#include "transport/vmk_mgmt.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <mutex>

#include <dlfcn.h>

namespace veskctl {

namespace {

constexpr const char* kPlatform = "libvmkmgmt.so";
constexpr const char* kInvoke = "vmk_MgmtUserCallbackInvokeInt";
constexpr unsigned kVendorCommand = 0xE2;
constexpr unsigned kEventLog = 0x4FE;
constexpr unsigned kStatusMask = 0x0FFE;  // code and type, without the phase bit
// A table has room for four parameters; the capture library passes as many on.
constexpr unsigned kMostParameters = 16;

std::atomic<bool> finished{false};
std::atomic<unsigned> readCount{0};
std::atomic<unsigned> failedCount{0};
std::mutex codesMutex;
LongCodes longCodes;

// Behind this program: in what was loaded with it (a capture library, the simulated platform), or
// where the library has the platform's from, which it keeps to itself.
decltype(&vmk_MgmtUserCallbackInvokeInt) realInvoke() {
    static const auto real = [] {
        void* next = dlsym(RTLD_NEXT, kInvoke);
        if (next == nullptr) {
            void* const platform = dlopen(kPlatform, RTLD_NOW | RTLD_LOCAL);
            next = platform == nullptr ? nullptr : dlsym(platform, kInvoke);
        }
        return reinterpret_cast<decltype(&vmk_MgmtUserCallbackInvokeInt)>(next);
    }();
    return real;
}

// Null if the call is no read of the event log.
const nvme_uio* logRead(unsigned long callbackId, unsigned parameterCount, void* parameter) {
    const auto* const command = static_cast<const nvme_uio*>(parameter);
    return callbackId == kPassThroughCallback && parameterCount == 2 && command != nullptr &&
                   command->opcode == kVendorCommand && command->cdw12 == kEventLog
               ? command
               : nullptr;
}

void count(const nvme_uio& command, int result) {
    const bool failed = result != 0 || (command.completionStatus & kStatusMask) != 0;
    ++(failed ? failedCount : readCount);
    if (!failed && command.dataAddress != nullptr) {
        const std::lock_guard<std::mutex> lock(codesMutex);
        longCodes.look(static_cast<const char*>(command.dataAddress),
                       std::min(command.cdw14, command.dataLength));
    }
    if (command.cdw13 == kEventAreaSize - kEventPageSize && command.cdw14 == kEventPageSize) {
        finished = true;
    }
}

}  // namespace

LogReads logReads() {
    LogReads reads;
    reads.finished = finished;  // first: what is finished is counted
    reads.read = readCount;
    reads.failed = failedCount;
    const std::lock_guard<std::mutex> lock(codesMutex);
    reads.longCodes = longCodes.all();
    return reads;
}

}  // namespace veskctl

// NOLINTNEXTLINE(readability-identifier-naming): the platform's name
extern "C" int vmk_MgmtUserCallbackInvokeInt(unsigned long handle, unsigned long instanceId,
                                             unsigned long callbackId, unsigned int parameterCount,
                                             ...) {
    const auto real = veskctl::realInvoke();
    if (real == nullptr) {
        return ELIBACC;
    }
    std::array<void*, veskctl::kMostParameters> p = {};
    std::va_list list;
    va_start(list, parameterCount);
    for (unsigned index = 0; index < parameterCount && index < p.size(); ++index) {
        p.at(index) = va_arg(list, void*);
    }
    va_end(list);
    const int result =
        real(handle, instanceId, callbackId, parameterCount, p[0], p[1], p[2], p[3], p[4], p[5],
             p[6], p[7], p[8], p[9], p[10], p[11], p[12], p[13], p[14], p[15]);
    if (const nvme_uio* const command = veskctl::logRead(callbackId, parameterCount, p[1])) {
        veskctl::count(*command, result);
    }
    return result;
}
