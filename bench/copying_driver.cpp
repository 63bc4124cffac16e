#include "copying_driver.h"

#include "transport/nvme_adapter_list.h"
#include "transport/vmk_mgmt.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace bench {
namespace {

DriverPages filledPages() {
    DriverPages result = {};
    _AdapaterData& adapter = result.adapter.record;
    adapter.vendorId = 0x1B4B;
    adapter.deviceId = 0x5237;
    adapter.pdCount = 2;
    adapter.vdCount = 2;
    adapter.firmwareVersion = {1, 2, 3, 1004};
    _PDInfoData& disk = result.disk.record;
    disk.deviceId = 1;
    disk.size = 937703088;
    disk.blockSize = 512;
    std::memcpy(disk.modelNumber, "VESK M2 480G                            ", 40);
    std::memcpy(disk.serialNumber, "VD00480A000170      ", 20);
    std::memcpy(disk.fwVersion, "C3F1    ", 8);
    _vdInfoData& volume = result.volume.record;
    volume.vdId = 1;
    volume.memberCount = 2;
    volume.size = 937703088;
    volume.blockSize = 512;
    std::memcpy(volume.vdName, "System", 6);
    result.health.record.availableSpare = 100;
    result.health.record.availableSpareThreshold = 10;
    result.health.record.percentageUsed = 2;
    return result;
}

const char* pageFor(const nvme_uio& uio) {
    if (uio.opcode == 0xC2) {
        return pages.health.bytes;
    }
    switch (uio.cdw12 & 0xFF) {
    case 0xE1:
        return pages.disk.bytes;
    case 0xE2:
        return pages.volume.bytes;
    case 0xFE:
        return pages.events + uio.cdw13;
    default:
        return pages.adapter.bytes;
    }
}

void answer(nvme_uio& uio) {
    if (uio.opcode == 6) {  // Identify: the vendor id is all that anybody reads
        std::memcpy(uio.dataAddress, "\x4B\x1B", 2);
        return;
    }
    const bool isEventRead = uio.opcode == 0xE2 && (uio.cdw12 & 0xFF) == 0xFE;
    std::memcpy(uio.dataAddress, pageFor(uio), isEventRead ? uio.cdw14 : uio.dataLength);
}

}  // namespace

DriverPages pages = filledPages();

bool send(nvme_uio& uio) {
    UNSIGNED_INTEGER code = 1;
    const int returned = vmk_MgmtUserCallbackInvokeInt(kDriverHandle, 0, 17, 2, &code, &uio);
    return returned == 0 && (uio.completionStatus & 0x0FFE) == 0;
}

nvme_uio readCommand(UNSIGNED_INTEGER subCommand, UNSIGNED_INTEGER target, void* buffer) {
    nvme_uio uio = {};
    uio.opcode = 0xE2;
    uio.cdw10 = 0x400;
    uio.cdw12 = subCommand;
    uio.cdw14 = target;
    uio.direction = 1;
    uio.dataLength = 0x1000;
    uio.timeout = kCommandTimeout;
    uio.dataAddress = buffer;
    return uio;
}

void fillLogArea(int records, int first) {
    constexpr int kPages = 16;
    constexpr std::size_t kPageSize = 0x1000;
    constexpr std::size_t kTextBegin = 40;
    std::memset(pages.events, 0, sizeof pages.events);
    const int perPage = (records + kPages - 1) / kPages;
    for (int record = 0; record < records; ++record) {
        char* const text =
            pages.events + static_cast<std::size_t>(record / perPage) * kPageSize + kTextBegin;
        char line[128];
        std::snprintf(line, sizeof line,
                      "[SEQ]%d[EVT_ID]%X[TIME]%d[DEV_ID]%d[MSG]PD_Drive is online again_INFO\n",
                      first + record, 0x835 + record % 16, 1790000000 + record, record % 2);
        std::strncat(text, line, kPageSize - kTextBegin - 1 - std::strlen(text));
    }
}

}  // namespace bench

int vmk_MgmtUserInit(const void* /*signature*/, unsigned long /*cookie*/, unsigned long* handle) {
    *handle = bench::kDriverHandle;
    return 0;
}

int vmk_MgmtUserCallbackInvokeInt(unsigned long /*handle*/, unsigned long /*instanceId*/,
                                  unsigned long callbackId, unsigned int parameterCount, ...) {
    va_list parameters;
    va_start(parameters, parameterCount);
    void* const first = va_arg(parameters, void*);
    void* const second = va_arg(parameters, void*);
    va_end(parameters);
    if (callbackId == 16) {
        auto* const adapter = static_cast<nvmeAdapterInfo*>(second);
        *static_cast<UNSIGNED_INTEGER*>(first) = 1;
        std::strcpy(adapter->name, bench::kAdapterName);
        std::strcpy(adapter->signature, "nvmeMgmt-vmhba2");
    } else {
        bench::answer(*static_cast<nvme_uio*>(second));
    }
    return 0;
}

int vmk_MgmtUserDestroy(unsigned long /*handle*/) {
    return 0;
}
