#include "transport/vmware_device_talker.h"

#include "support/heap_record.h"
#include "support/line_reader.h"
#include "support/log_line.h"
#include "support/singleton.h"
#include "support/trace.h"
#include "transport/management_calls.h"
#include "transport/management_tables.h"
#include "transport/nvme_adapter_list.h"
#include "transport/pci_dump_parser.h"
#include "transport/pcie_link_info.h"
#include "transport/vmk_mgmt.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <ios>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

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
    HeapRecord<nvme_handle> adapter = stg::allocateZeroed<nvme_handle>();
    stg::CVmwareZNVDeviceTalker_Helper helper;
    if (helper.getDeviceHandle(adapter.get(), info) != 0) {
        return nullptr;
    }
    return OpenConnection(adapter.release());
}

constexpr const char* kPciDumpFile = "/opt/orvo/pciconfig/Templspciconfig.txt";
constexpr int kDumpLines = 16;
constexpr std::size_t kDumpBytesOfLine = 16;

void logLink(const stg::LinkValues& link) {
    stg::logLine("CVMWareZNVDeviceTalker::getPCIeInfo(): Negotiated Link Speed ",
                 link.negotiatedSpeed);
    stg::logLine("CVMWareZNVDeviceTalker::getPCIeInfo(): Max Link Speed: ", link.maxSpeed);
    stg::logLine("CVMWareZNVDeviceTalker::getPCIeInfo(): Negotiated Link Width: ",
                 link.negotiatedWidth);
    stg::logLine("CVMWareZNVDeviceTalker::getPCIeInfo(): Max Link Width: ", link.maxWidth);
}

// The host's file as it was read.
struct PciDump {
    RESULT result = 1;    // of the last line that was read, or of the parser behind it
    bool parsed = false;  // whether it came to the parser
    stg::LinkValues link;
};

// Throws std::ios_base::failure where the file cannot be read on; `pci` then has what came before.
void readPciDump(const char* adapterName, PciDump& pci) {
    stg::LineReader file(kPciDumpFile);
    std::vector<USHORT_INT> dump;
    dump.reserve(kDumpLines * kDumpBytesOfLine);
    std::string_view line;
    // ODDITY: the count is never reset, so a second header reads no lines of its own and parses
    // the first dump again. Pinned by PciLink.SecondHeaderParsesTheFirstDumpAgain.
    int dumpLines = 0;
    while (file.nextWith(adapterName, line)) {
        stg::logLine("CVMWareZNVDeviceTalker::getPCIeInfo: Found Zenthra NVMe controller in pci "
                     "config file");
        while (dumpLines < kDumpLines && file.next(line)) {
            ++dumpLines;
            pci.result = stg::appendDumpLine(line, dump, 0);
            if (pci.result != 0) {
                break;
            }
        }
        if (pci.result != 0) {
            continue;
        }
        pci.result = stg::parseLink(dump, pci.link);
        pci.parsed = true;
        stg::logLine(
            "CVMWareZNVDeviceTalker::getPCIeInfo(): Parse PCI config space hex dump result: ",
            pci.result);
        logLink(pci.link);
    }
}

// The work of getPCIeInfo, and traced under its name: the lines of the log are fixed.
PciDump readPciDump(const nvme_handle* adapter) {
    const char* const operation =
        "RESULT CVMWareZNVDeviceTalker::getPCIeInfo(std::map<STDSTR, USHORT_INT>&)";
    LOG_ENTRY_AS(operation);
    PciDump pci;
    try {
        if (adapter != nullptr) {
            readPciDump(adapter->name, pci);
        }
    } catch (const std::ios_base::failure&) {
        // A file that cannot be read on ends there.
    }
    LOG_EXIT_AS(operation);
    return pci;
}

UCHAR_ lowByte(USHORT_INT value) {
    return static_cast<UCHAR_>(value & 0xFF);
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
    CVMWareZNVDeviceTalker* const talker = stg::createOnce<std::exception>(
        m_pVMWareZNVDeviceTalkerInstance, "CVMWareZNVDeviceTalker::getUniqueInstance(): ");
    LOG_EXIT;
    return talker;
}

VOID_ CVMWareZNVDeviceTalker::destroyOSdeviceTalker() {
    LOG_ENTRY;
    stg::destroyOnce(m_pVMWareZNVDeviceTalkerInstance);
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
            const HeapRecord<znvTalkerMulti> request = stg::allocateZeroed<znvTalkerMulti>();
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

// ---- Finding the controller: each adapter that the driver lists is opened and asked who it is,
// until one answers with the right PCI vendor.

UCHAR_ CVMWareZNVDeviceTalker::getControllerCount() {
    LOG_ENTRY;
    UCHAR_ controllers = 0;
    try {
        const HeapRecord<nvme_adapter_list> list = stg::allocateZeroed<nvme_adapter_list>();
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
        const HeapRecord<znvTalkerMulti> request = stg::allocateZeroed<znvTalkerMulti>();
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

// ---- The local road of a request with code 0: PCIe link data out of a text file of the host.

RESULT CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion(CCommandDword* command) {
    LOG_ENTRY;
    RESULT result = 1;
    try {
        const PciDump pci = readPciDump(static_cast<const nvme_handle*>(getHandle()));
        result = pci.result;
        if (result == 0 && command->getcdw_6_7() != nullptr) {
            _VESKPCIInfo link = {};
            link.negotiatedLinkSpeed = lowByte(pci.link.negotiatedSpeed);
            link.maxLinkSpeed = lowByte(pci.link.maxSpeed);
            link.negotiatedLinkWidth = lowByte(pci.link.negotiatedWidth);
            link.maxLinkWidth = lowByte(pci.link.maxWidth);
            std::memcpy(command->getcdw_6_7(), &link, sizeof(link));
        }
    } catch (const std::bad_alloc& error) {
        stg::logLine(
            "CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion(): Memory allocation failed: ",
            error.what());
        result = 1;
    } catch (const std::exception& error) {
        stg::logLine("CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion() : Exception Error: ",
                     error.what());
        result = 1;
    }
    LOG_EXIT;
    return result;
}

RESULT CVMWareZNVDeviceTalker::getPCIeInfo(std::map<STDSTR, USHORT_INT>& values) {
    const PciDump pci = readPciDump(static_cast<const nvme_handle*>(getHandle()));
    // Also what a failed parse leaves has its names, with 0.
    if (pci.parsed) {
        stg::nameLinkValues(pci.link, values);
    }
    return pci.result;
}
