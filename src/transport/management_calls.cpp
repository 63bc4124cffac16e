#include "transport/management_calls.h"

#include "support/log_line.h"
#include "support/trace.h"
#include "transport/management_tables.h"
#include "transport/pci_address_file.h"
#include "transport/vmk_mgmt.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace {

// Closes the connection to the adapter list on every way out.
class ListConnection {
public:
    explicit ListConnection(ULONG_INT handle) : m_handle(handle) {}
    ~ListConnection() { vmk_MgmtUserDestroy(m_handle); }
    ListConnection(const ListConnection&) = delete;
    ListConnection& operator=(const ListConnection&) = delete;

private:
    ULONG_INT m_handle;
};

// A text of a wire record, cut to the 31 characters that both record fields of 32 take.
void copyName(char (&target)[32], const char (&source)[32]) {
    std::memset(target, 0, sizeof(target));
    std::memcpy(target, source, strnlen(source, sizeof(source) - 1));
}

}  // namespace

namespace stg {

INTEGER CVmwareZNVDeviceTalker_Helper::getAllNVMeAdapters(nvme_adapter_list* list) {
    LOG_ENTRY;
    ULONG_INT handle = 0;
    INTEGER result = vmk_MgmtUserInit(&globalSignature, 0, &handle);
    if (result != 0) {
        logLine(
            "stg::CVmwareZNVDeviceTalker_Helper::getAllNVMeAdapters: vmk_MgmtUserInit failed with "
            "return code: ",
            result);
    } else {
        const ListConnection connection(handle);
        result = vmk_MgmtUserCallbackInvokeInt(handle, 0, kAdapterListCallback, 2, &list->count,
                                               list->adapter);
        if (result != 0) {
            logLine("stg::CVmwareZNVDeviceTalker_Helper::getAllNVMeAdapters: "
                    "vmk_MgmtUserCallbackInvoke failed with return Code : ",
                    result);
        }
    }
    LOG_EXIT;
    return result;
}

INTEGER CVmwareZNVDeviceTalker_Helper::getDeviceHandle(nvme_handle* adapter, nvmeAdapterInfo info) {
    LOG_ENTRY;
    copyName(adapter->name, info.name);
    ManagementSignature signature = {};
    copyName(signature.name, info.signature);
    std::strcpy(signature.vendor, "VMware");
    signature.version = kManagementVersion;
    signature.numCallbacks = 2;
    signature.callbacks = nvmeCallbacks;
    const INTEGER result = vmk_MgmtUserInit(&signature, 0, &adapter->handle);
    if (result != 0) {
        logLine("stg::CVmwareZNVDeviceTalker_Helper::getDeviceHandle: vmk_MgmtUserInit failed with "
                "return code: ",
                result);
    }
    LOG_EXIT;
    return result;
}

RESULT CVmwareZNVDeviceTalker_Helper::findAndSetBDF(HANDLE adapter, BDF& address) {
    LOG_ENTRY;
    RESULT result = 1;
    std::string line;
    if (!findAddressLine(static_cast<const nvme_handle*>(adapter)->name, line)) {
        logLine(
            "stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF: PCI BDF file could not be opened");
    } else {
        try {
            readAddress(line, address);
            result = 0;
        } catch (const std::logic_error& error) {
            logLine(
                "stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF: Error converting hex string to "
                "unsigned long: ",
                error.what());
        }
    }
    LOG_EXIT;
    return result;
}

}  // namespace stg
