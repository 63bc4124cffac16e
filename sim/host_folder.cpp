#include "host_folder.h"

#include "pci_config_space.h"

#include <fmt/format.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace vesksim {

namespace fs = std::filesystem;

namespace {

void writeText(const fs::path& file, const std::string& text) {
    errno = 0;
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream << text;
    stream.close();
    if (!stream) {
        throw std::system_error(errno, std::generic_category(), file.string());
    }
}

// These follow the scenario at every start.
void writeCurrent(const fs::path& file, const HostFile& wanted, const std::string& usual) {
    if (wanted.present) {
        writeText(file, wanted.text.value_or(usual));
    } else {
        fs::remove(file);
    }
}

// These belong to whoever administers the host, once they are there.
void writeOnce(const fs::path& file, const HostFile& wanted, const std::string& usual) {
    if (wanted.present && !fs::exists(file)) {
        writeText(file, wanted.text.value_or(usual));
    }
}

std::string addressOf(const Adapter& adapter) {
    const PciAddress& pci = adapter.pciAddress;
    return fmt::format("{:04x}:{:02x}:{:02x}.{:x}", pci.domain, pci.bus, pci.device, pci.function);
}

}  // namespace

// One line for each adapter, the address first: no colon may stand before it.
std::string pciAddressText(const Scenario& scenario) {
    std::string text;
    for (const Adapter& adapter : scenario.adapters) {
        text += fmt::format("{} Mass storage controller: {} [{}]\n", addressOf(adapter),
                            adapter.model, adapter.name);
    }
    return text;
}

// Behind a line with the adapter's name 16 lines of 16 bytes, without offsets.
std::string pciConfigText(const Scenario& scenario) {
    std::string text;
    for (const Adapter& adapter : scenario.adapters) {
        text += fmt::format("{} {}\n", addressOf(adapter), adapter.name);
        const auto bytes = pciConfigSpace(adapter);
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            text += fmt::format("{:02x}{}", bytes[i], i % 16 == 15 ? '\n' : ' ');
        }
    }
    return text;
}

std::string configIniText() {
    return R"(; Settings of libVeskNVMe. They are read when the library starts.
; A semicolon in the first column makes a comment; no blanks around the equals sign.

; Debug: On writes the trace log /scratch/log/libVeskNVMe.log, anything else does not.
[Logging]
Debug=On

; pollingIntervalInSeconds: time between two looks at the controller's event log.
; Values below 50 count as 50.
[Polling]
pollingIntervalInSeconds=50
)";
}

std::string alertMappingIniText() {
    return R"(; Which events of the controller are reported, and under which code.
; A row is the controller's code, an equals sign and the reported code, both in decimal.
; An event without a row is not reported, nor is one with the code 65535.
; A code that is the beginning of another one (1 of 10) stands before it.

; Events of the adapter. 1: controller started, 2: firmware updated, 3: temperature too high,
; 10: link slowed down, 11: link restored.
[Adapter]
1=2001
2=2002
3=2003
10=2010
11=2011

; Events of virtual disks. 201: optimal, 202: degraded, 203: rebuild done, 204: failed.
[VirtualDevice]
201=2201
202=2202
203=2203
204=2204

; Events of physical disks. 101: online, 102: removed, 103: failed, 104: health alert.
[PhysicalDevice]
101=2101
102=2102
103=2103
104=2104

; SequenceNumber: the last event that was delivered. The library rewrites it, and takes for it what
; stands behind the last equals sign of this file: nothing may follow.
[EventSequenceNumber]
SequenceNumber=0
)";
}

fs::path hostFolder(const std::string& root) {
    if (root.empty() || fs::path(root).lexically_normal() == "/") {
        throw std::invalid_argument("host folder: \"" + root +
                                    "\" would be the machine's own root");
    }
    return root;
}

void writeHostFiles(const std::string& root, const Scenario& scenario) {
    const fs::path folder = hostFolder(root);
    const fs::path pci = folder / "opt/orvo/pciconfig";
    const fs::path ini = folder / "opt/orvo/kelpdesk/etc/kelpdesk-storage";
    for (const fs::path& needed : {folder / "scratch/log", folder / "var/log", pci, ini}) {
        fs::create_directories(needed);
    }
    writeCurrent(pci / "Templspcibdf.txt", scenario.pciAddressFile, pciAddressText(scenario));
    writeCurrent(pci / "Templspciconfig.txt", scenario.pciConfigFile, pciConfigText(scenario));
    writeOnce(ini / "libVeskNVMeConfig.ini", scenario.configIni, configIniText());
    writeOnce(ini / "libVeskNVMeAlertMapping.ini", scenario.alertMappingIni, alertMappingIniText());
}

}  // namespace vesksim
