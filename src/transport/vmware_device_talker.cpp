#include "transport/vmware_device_talker.h"

#include "support/heap_record.h"
#include "support/log_line.h"
#include "support/singleton.h"
#include "support/trace.h"
#include "transport/live_talker.h"
#include "transport/management.h"

#include <cstdlib>
#include <exception>
#include <new>

namespace {

// Status Code and Status Code Type, without the phase bit below and the bits above.
constexpr USHORT_INT kStatusMask = 0x0FFE;

// All fields of the record, in its order. Dwords 2 and 3 of the command go nowhere.
nvme_uio passThroughRecord(CCommandDword& command) {
    const UNSIGNED_INTEGER dword0 = command.getcdw0();
    nvme_uio uio = {};
    uio.opcode = static_cast<UCHAR_>(dword0 & 0xFF);
    uio.fuse = static_cast<UCHAR_>((dword0 >> 8) & 0x03);
    uio.commandId = static_cast<USHORT_INT>(dword0 >> 16);
    uio.nsid = command.getcdw1();
    uio.cdw10 = command.getcdw10();
    uio.cdw11 = command.getcdw11();
    uio.cdw12 = command.getcdw12();
    uio.cdw13 = command.getcdw13();
    uio.cdw14 = command.getcdw14();
    uio.cdw15 = command.getcdw15();
    uio.namespaceId = static_cast<UCHAR_>(command.getcdw1() & 0xFF);
    uio.direction = command.getcdw_6_7() != nullptr ? 1 : 0;
    uio.dataLength = command.getcdw9();
    uio.metaLength = command.getcdw8();
    uio.timeout = kCommandTimeout;
    uio.dataAddress = command.getcdw_6_7();
    uio.metaAddress = command.getcdw_4_5();
    return uio;
}

}  // namespace

CVMWareZNVDeviceTalker* CVMWareZNVDeviceTalker::m_pVMWareZNVDeviceTalkerInstance = nullptr;

CVMWareZNVDeviceTalker::CVMWareZNVDeviceTalker() {
    LOG_ENTRY;
    LOG_EXIT;
}

// ODDITY: copies nothing, as two talkers with one connection would close it twice.
// Pinned by DeviceTalker.CopiesCarryNothing.
// NOLINTNEXTLINE(bugprone-copy-constructor-init)
CVMWareZNVDeviceTalker::CVMWareZNVDeviceTalker(const CVMWareZNVDeviceTalker& /*other*/)
    : IZNVDeviceTalker() {  // NOLINT(readability-redundant-member-init): gcc wants it written
    LOG_ENTRY;
    LOG_EXIT;
}

CVMWareZNVDeviceTalker& CVMWareZNVDeviceTalker::operator=(const CVMWareZNVDeviceTalker& /*other*/) {
    LOG_ENTRY;
    LOG_EXIT;
    return *this;
}

CVMWareZNVDeviceTalker::~CVMWareZNVDeviceTalker() {
    LOG_ENTRY;
    markTalkerGone(this);
    auto* const adapter = static_cast<nvme_handle*>(getHandle());
    if (adapter != nullptr) {
        vmk_MgmtUserDestroy(adapter->handle);
        std::free(adapter);
        setHandle(nullptr);
    }
    LOG_EXIT;
}

CVMWareZNVDeviceTalker* CVMWareZNVDeviceTalker::getUniqueInstance() {
    LOG_ENTRY;
    CVMWareZNVDeviceTalker* const talker = createOnce<std::exception>(
        m_pVMWareZNVDeviceTalkerInstance, "CVMWareZNVDeviceTalker::getUniqueInstance(): ");
    markTalkerLive(talker);
    LOG_EXIT;
    return talker;
}

VOID_ CVMWareZNVDeviceTalker::destroyOSdeviceTalker() {
    LOG_ENTRY;
    destroyOnce(m_pVMWareZNVDeviceTalkerInstance);
    LOG_EXIT;
}

BOOL_TYPE CVMWareZNVDeviceTalker::checkControllerExistence() {
    LOG_ENTRY;
    const BOOL_TYPE exists = getControllerCount() != 0;
    if (exists) {
        stg::logLine(
            "CVMWareZNVDeviceTalker::checkControllerExistence(): VESK R7 controller exists "
            "on the system");
    }
    LOG_EXIT;
    return exists;
}

RESULT CVMWareZNVDeviceTalker::executeCMD(CCommandDword* command, ULONG_INT code) {
    LOG_ENTRY;
    RESULT result = 1;
    try {
        if (code == 0) {
            result = readPCIeConfigSpaceRegion(command);
        } else {
            const HeapRecord<znvTalkerMulti> request = allocateZeroed<znvTalkerMulti>();
            nvme_uio uio = passThroughRecord(*command);
            request->handle = static_cast<nvme_handle*>(getHandle());
            request->uio = &uio;
            request->code = code;
            result = executeIOCTL(request.get());
        }
    } catch (const std::bad_alloc& error) {
        stg::logLine("CVMWareZNVDeviceTalker::executeCMD: Memory allocation failed: ",
                     error.what());
    } catch (const std::exception& error) {
        stg::logLine("CVMWareZNVDeviceTalker::executeCMD : Exception Error: ", error.what());
    }
    stg::logLine("CVMWareZNVDeviceTalker::executeCMD: Return code: ", result);
    LOG_EXIT;
    return result;
}

RESULT CVMWareZNVDeviceTalker::executeIOCTL(znvTalkerMulti* request) {
    LOG_ENTRY;
    RESULT result = 1;
    auto code = static_cast<UNSIGNED_INTEGER>(request->code);
    nvme_uio* const uio = request->uio;
    if (request->handle != nullptr && uio != nullptr) {
        const int returned = vmk_MgmtUserCallbackInvokeInt(request->handle->handle, 0,
                                                           kPassThroughCallback, 2, &code, uio);
        const USHORT_INT status = uio->completionStatus;
        if (returned == 0 && (status & kStatusMask) == 0) {
            stg::logLine("CVMWareZNVDeviceTalker::executeIOCTL: IOCTL call successful");
            result = 0;
        } else {
            stg::logLine(
                "CVMWareZNVDeviceTalker::executeIOCTL: IOCTL call unsuccessful. Return code: ",
                returned);
            stg::logLine("CVMWareZNVDeviceTalker::executeIOCTL: UIO status: ", uio->uioStatus);
            stg::logLine("CVMWareZNVDeviceTalker::executeIOCTL: Status Code Type: ",
                         (status >> 9) & 0x07);
            stg::logLine("CVMWareZNVDeviceTalker::executeIOCTL: Status Code: ",
                         (status >> 1) & 0xFF);
        }
    }
    LOG_EXIT;
    return result;
}
