// Finding the controller: each adapter that the driver lists is opened and asked who it is, until
// one answers with the right PCI vendor.
#include "transport/vmware_device_talker.h"

#include "support/heap_record.h"
#include "support/log_line.h"
#include "support/trace.h"
#include "transport/management.h"
#include "transport/vmware_device_talker_helper.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>

namespace {

constexpr USHORT_INT kControllerVendor = 0x1B4B;
constexpr std::size_t kIdentifySize = 0x1000;

// Ends a connection that was opened and does not lead to the controller.
struct ConnectionCloser {
    void operator()(nvme_handle* adapter) const {
        vmk_MgmtUserDestroy(adapter->handle);
        std::free(adapter);
    }
};
using OpenConnection = std::unique_ptr<nvme_handle, ConnectionCloser>;

// A connection to the adapter, or null if it could not be opened.
OpenConnection openConnection(const nvmeAdapterInfo& info) {
    HeapRecord<nvme_handle> adapter = allocateZeroed<nvme_handle>();
    stg::CVmwareZNVDeviceTalker_Helper helper;
    if (helper.getDeviceHandle(adapter.get(), info) != 0) {
        return nullptr;
    }
    return OpenConnection(adapter.release());
}

}  // namespace

UCHAR_ CVMWareZNVDeviceTalker::getControllerCount() {
    LOG_ENTRY;
    UCHAR_ controllers = 0;
    try {
        const HeapRecord<nvme_adapter_list> list = allocateZeroed<nvme_adapter_list>();
        BDF address = {0, 0, 0};
        stg::CVmwareZNVDeviceTalker_Helper helper;
        if (helper.getAllNVMeAdapters(list.get()) == 0) {
            // The list has room for no more, whatever the driver claims.
            const UNSIGNED_INTEGER count = std::min<UNSIGNED_INTEGER>(list->count, kMaxAdapters);
            for (USHORT_INT index = 0; index < count && controllers == 0; ++index) {
                OpenConnection adapter = openConnection(list->adapter[index]);
                if (!adapter || isZenthraNVMeVESKcontroller(adapter.get()) != 0) {
                    continue;
                }
                stg::logLine("CVMWareZNVDeviceTalker::getControllerCount(): Found Zenthra VESK R7 "
                             "controller");
                // ODDITY: a connection of an earlier scan is neither closed nor released here; the
                // commands of another thread may be on it. Pinned by
                // AdapterDiscovery.EachScanLeavesOneMoreConnectionOpen.
                setHandle(adapter.release());
                if (helper.findAndSetBDF(getHandle(), address) == 0) {
                    setBDF(address);
                    stg::logLine("CVMWareZNVDeviceTalker::getControllerCount(): Bus: ",
                                 getBDF().bus);
                    stg::logLine("CVMWareZNVDeviceTalker::getControllerCount(): Device: ",
                                 getBDF().device);
                    stg::logLine("CVMWareZNVDeviceTalker::getControllerCount(): Function: ",
                                 getBDF().function);
                }
                controllers = 1;
            }
        }
    } catch (const std::bad_alloc& error) {
        stg::logLine("CVMWareZNVDeviceTalker::getControllerCount: Memory Allocation failed: ",
                     error.what());
    } catch (const std::exception& error) {
        stg::logLine("CVMWareZNVDeviceTalker::getControllerCount: ", error.what());
    }
    LOG_EXIT;
    return controllers;
}

RESULT CVMWareZNVDeviceTalker::getIdentifyData(nvme_handle* adapter, VOIDPTR buffer) {
    LOG_ENTRY;
    RESULT result = 1;
    try {
        nvme_uio uio = {};
        uio.opcode = 6;  // Identify
        uio.cdw10 = 1;   // the controller
        uio.direction = 1;
        uio.dataLength = kIdentifySize;
        uio.timeout = kCommandTimeout;
        uio.dataAddress = buffer;
        const HeapRecord<znvTalkerMulti> request = allocateZeroed<znvTalkerMulti>();
        request->handle = adapter;
        request->code = 1;
        request->uio = &uio;
        result = executeIOCTL(request.get());
    } catch (const std::bad_alloc& error) {
        stg::logLine("CVMWareZNVDeviceTalker::getIdentifyData: Memory allocation failed: ",
                     error.what());
    } catch (const std::exception& error) {
        stg::logLine("CVMWareZNVDeviceTalker::getIdentifyData : Exception Error: ", error.what());
    }
    LOG_EXIT;
    return result;
}

RESULT CVMWareZNVDeviceTalker::isZenthraNVMeVESKcontroller(nvme_handle* adapter) {
    LOG_ENTRY;
    UCHAR_ data[kIdentifySize] = {};
    RESULT result = getIdentifyData(adapter, data);
    if (result == 0) {
        const auto vendor = static_cast<USHORT_INT>(data[0] | (data[1] << 8));
        stg::logLine("CVMWareZNVDeviceTalker::isZenthraNVMeVESKcontroller: Vendor ID returned by "
                     "identify admin command: ",
                     vendor);
        result = vendor == kControllerVendor ? 0 : 1;
    }
    LOG_EXIT;
    return result;
}
