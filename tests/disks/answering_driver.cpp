#include "answering_driver.h"

#include "api/lib_initializer.h"
#include "transport/vmk_mgmt.h"
#include "transport/vmware_device_talker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace vesktest {
namespace {

constexpr std::uint64_t kConnection = 0x5A02;

AnsweringDriver* s_live = nullptr;

}  // namespace

ControllerPages presentPages() {
    return ControllerPages{
        {diskPage(), secondDiskPage()}, {volumePage(), secondVolumePage()}, healthPage()};
}

AnsweringDriver::AnsweringDriver(const ControllerPages& pages) : m_pages(pages) {
    s_live = this;
    CLibInitializer::createOSdeviceTalkerInstance();
    auto* const handle = static_cast<nvme_handle*>(std::calloc(1, sizeof(nvme_handle)));
    if (handle == nullptr) {
        throw std::bad_alloc();
    }
    std::strcpy(handle->name, "vmhba2");
    handle->handle = kConnection;
    CVMWareZNVDeviceTalker::getUniqueInstance()->setHandle(handle);
}

AnsweringDriver::~AnsweringDriver() {
    CLibInitializer::deleteOSdeviceTalkerInstance();
    s_live = nullptr;
}

const Bytes& AnsweringDriver::pageFor(const std::uint8_t* record) const {
    if (record[0] == 0xC2) {
        return m_pages.health;
    }
    const std::size_t target = record[56] & 1;
    return record[48] == 0xE1 ? m_pages.disks[target] : m_pages.volumes[target];
}

int AnsweringDriver::answer(const std::uint8_t* record) {
    ++m_commandCount;
    std::uint32_t length = 0;
    std::memcpy(&length, record + 88, sizeof length);
    std::uint8_t* data = nullptr;
    std::memcpy(&data, record + 104, sizeof data);
    if (data == nullptr) {
        return 0;
    }
    const Bytes& page = pageFor(record);
    const std::size_t known = std::min<std::size_t>(length, page.size());
    std::memcpy(data, page.data(), known);
    std::memset(data + known, 0, length - known);
    return 0;
}

}  // namespace vesktest

int vmk_MgmtUserInit(const void*, unsigned long, unsigned long*) {
    ADD_FAILURE() << "nothing opens the driver here";
    return -1;
}

int vmk_MgmtUserCallbackInvokeInt(unsigned long handle, unsigned long, unsigned long callback,
                                  unsigned int count, ...) {
    if (vesktest::s_live == nullptr || handle != vesktest::kConnection || callback != 17) {
        ADD_FAILURE() << "callback " << callback << " on handle " << handle;
        return -1;
    }
    std::va_list parameters;
    va_start(parameters, count);
    static_cast<void>(va_arg(parameters, void*));
    const auto* const record = va_arg(parameters, const std::uint8_t*);
    va_end(parameters);
    return vesktest::s_live->answer(record);
}

int vmk_MgmtUserDestroy(unsigned long) {
    return 0;
}
