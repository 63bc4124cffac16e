#include "transport/vmware_device_talker_helper.h"

#include "support/log_line.h"
#include "support/trace.h"
#include "transport/management.h"

#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>

namespace {

const char* const kBdfFile = "/opt/orvo/pciconfig/Templspcibdf.txt";

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

// The first `length` characters behind the first `mark` at or behind `position`, which then stands
// behind that mark. Without such a mark: an empty text, which no conversion takes.
std::string textBehind(const std::string& line, char mark, std::size_t length,
                       std::size_t& position) {
    const std::size_t found = line.find(mark, position);
    if (found == std::string::npos) {
        position = line.size();
        return std::string();
    }
    position = found + 1;
    return line.substr(position, length);
}

UCHAR_ hexByte(const std::string& text) {
    return static_cast<UCHAR_>(std::stoul(text, nullptr, 16));
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
    std::ifstream file(kBdfFile);
    if (!file.is_open()) {
        logLine(
            "stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF: PCI BDF file could not be opened");
    } else {
        const char* const name = static_cast<const nvme_handle*>(adapter)->name;
        std::string line;
        bool found = false;
        while (!found && std::getline(file, line)) {
            found = line.find(name) != std::string::npos;
        }
        if (!found) {
            line.clear();
        }
        std::size_t position = 0;
        const std::string bus = textBehind(line, ':', 2, position);
        const std::string device = textBehind(line, ':', 2, position);
        const std::string function = textBehind(line, '.', 1, position);
        try {
            address.bus = hexByte(bus);
            address.device = hexByte(device);
            address.function = hexByte(function);
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
