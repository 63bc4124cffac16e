#include "fuzzed_driver.h"

#include "fuzz_target.h"

#include "transport/management_tables.h"
#include "transport/vmk_mgmt.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <string>
#include <utility>

namespace veskfuzz {
namespace {

constexpr UCHAR_ kIdentify = 6;
constexpr std::size_t kWholeReply = 0xFF;  // as a length

// So many bytes, these again and again.
std::string repeated(const std::string& bytes, std::size_t size) {
    std::string result;
    while (!bytes.empty() && result.size() < size) {
        result.append(bytes, 0, size - result.size());
    }
    return result;
}

}  // namespace

FuzzedDriver& FuzzedDriver::instance() {
    static FuzzedDriver driver;
    return driver;
}

void FuzzedDriver::answerFrom(Input input) {
    m_input = std::move(input);
}

int FuzzedDriver::open(unsigned long* handle) {
    const int result = m_showsController ? 0 : errorCode();
    if (result == 0) {
        ++m_open;
        *handle = 0x5A01;
    }
    return result;
}

int FuzzedDriver::close() {
    require(m_open != 0, "what is closed was open");
    --m_open;
    return 0;
}

int FuzzedDriver::listAdapters(UNSIGNED_INTEGER& count, nvmeAdapterInfo* adapters) {
    if (m_showsController) {
        count = 1;
        std::strcpy(adapters[0].name, "vmhba2");
        std::strcpy(adapters[0].signature, "nvmeMgmt-vmhba2");
        return 0;
    }
    const int result = errorCode();
    count = m_input.number();
    const std::string bytes = m_input.text(m_input.byte());
    std::memset(static_cast<void*>(adapters), m_input.byte(), kMaxAdapters * sizeof(*adapters));
    bytes.copy(reinterpret_cast<char*>(adapters), kMaxAdapters * sizeof(*adapters));
    return result;
}

int FuzzedDriver::passThrough(nvme_uio& uio) {
    auto* const data = static_cast<unsigned char*>(uio.dataAddress);
    if (uio.opcode == kIdentify && m_showsController) {
        data[0] = 0x4B;
        data[1] = 0x1B;
        return 0;
    }
    const unsigned control = m_input.byte();
    std::string bytes;
    switch (control % 4) {
    case 0:  // nothing written
        break;
    case 1:
        bytes.assign(uio.dataLength, '\0');
        break;
    case 2:
        bytes.assign(uio.dataLength, '\xFF');
        break;
    default: {  // the beginning, and the rest as it was, or the beginning again and again
        const std::size_t length = m_input.byte();
        const std::size_t whole = uio.dataLength;
        bytes = m_input.text(length == kWholeReply ? whole : std::min(16 * length, whole));
        if ((control & 0x40U) != 0) {
            bytes = repeated(bytes, whole);
        }
        break;
    }
    }
    if (data != nullptr) {
        bytes.copy(reinterpret_cast<char*>(data), uio.dataLength);
    }
    if ((control & 0x10U) != 0) {
        uio.completionStatus = static_cast<USHORT_INT>(m_input.number());
        uio.uioStatus = control;
    }
    return (control & 0x20U) != 0 ? errorCode() : 0;
}

int FuzzedDriver::errorCode() {
    return static_cast<signed char>(m_input.byte());
}

}  // namespace veskfuzz

int vmk_MgmtUserInit(const void* /*signature*/, unsigned long /*cookie*/, unsigned long* handle) {
    return veskfuzz::FuzzedDriver::instance().open(handle);
}

int vmk_MgmtUserCallbackInvokeInt(unsigned long /*handle*/, unsigned long /*instanceId*/,
                                  unsigned long callbackId, unsigned int parameterCount, ...) {
    std::va_list parameters;
    va_start(parameters, parameterCount);
    void* const first = va_arg(parameters, void*);
    void* const second = va_arg(parameters, void*);
    va_end(parameters);
    veskfuzz::FuzzedDriver& driver = veskfuzz::FuzzedDriver::instance();
    if (callbackId == kAdapterListCallback) {
        return driver.listAdapters(*static_cast<UNSIGNED_INTEGER*>(first),
                                   static_cast<nvmeAdapterInfo*>(second));
    }
    return driver.passThrough(*static_cast<nvme_uio*>(second));
}

int vmk_MgmtUserDestroy(unsigned long /*handle*/) {
    return veskfuzz::FuzzedDriver::instance().close();
}
