// The local road of a request with code 0: PCIe link data out of a text file of the host.
#include "transport/vmware_device_talker.h"

#include "support/log_line.h"
#include "support/trace.h"
#include "transport/device_talker_helper.h"
#include "transport/pcie_link_info.h"

#include <cstring>
#include <exception>
#include <fstream>
#include <new>
#include <string>
#include <vector>

namespace {

const char* const kPciDumpFile = "/opt/orvo/pciconfig/Templspciconfig.txt";
constexpr int kDumpLines = 16;  // of 16 bytes each

UCHAR_ lowByte(USHORT_INT value) {
    return static_cast<UCHAR_>(value & 0xFF);
}

}  // namespace

RESULT CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion(CCommandDword* command) {
    LOG_ENTRY;
    RESULT result = 1;
    try {
        std::map<STDSTR, USHORT_INT> values;
        result = getPCIeInfo(values);
        if (result == 0 && command->getcdw_6_7() != nullptr) {
            _VESKPCIInfo link = {};
            link.negotiatedLinkSpeed = lowByte(values["Negotiated Link Speed"]);
            link.maxLinkSpeed = lowByte(values["Max Link Speed"]);
            link.negotiatedLinkWidth = lowByte(values["Negotiated Link Width"]);
            link.maxLinkWidth = lowByte(values["Max Link Width"]);
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
    LOG_ENTRY;
    RESULT result = 1;
    const auto* const adapter = static_cast<const nvme_handle*>(getHandle());
    if (adapter != nullptr) {
        stg::IZNVDeviceTalker_Helper helper;
        std::ifstream file(kPciDumpFile);
        std::vector<USHORT_INT> dump;
        std::string line;
        // ODDITY: the count is never reset, so a second header reads no lines of its own and parses
        // the first dump again. Pinned by PciLink.SecondHeaderParsesTheFirstDumpAgain.
        int dumpLines = 0;
        while (std::getline(file, line)) {
            if (line.find(adapter->name) == std::string::npos) {
                continue;
            }
            stg::logLine(
                "CVMWareZNVDeviceTalker::getPCIeInfo: Found Zenthra NVMe controller in pci "
                "config file");
            while (dumpLines < kDumpLines && std::getline(file, line)) {
                ++dumpLines;
                result = helper.fetchHexDumpLineIntoVector(line, dump, 0);
                if (result != 0) {
                    break;
                }
            }
            if (result != 0) {
                continue;
            }
            result = helper.parsePCIHexDump(dump, values);
            stg::logLine("CVMWareZNVDeviceTalker::getPCIeInfo(): Parse PCI config space hex dump "
                         "result: ",
                         result);
            stg::logLine("CVMWareZNVDeviceTalker::getPCIeInfo(): Negotiated Link Speed ",
                         values["Negotiated Link Speed"]);
            stg::logLine("CVMWareZNVDeviceTalker::getPCIeInfo(): Max Link Speed: ",
                         values["Max Link Speed"]);
            stg::logLine("CVMWareZNVDeviceTalker::getPCIeInfo(): Negotiated Link Width: ",
                         values["Negotiated Link Width"]);
            stg::logLine("CVMWareZNVDeviceTalker::getPCIeInfo(): Max Link Width: ",
                         values["Max Link Width"]);
        }
    }
    LOG_EXIT;
    return result;
}
