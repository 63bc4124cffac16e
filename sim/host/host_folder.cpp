#include "sim/host/host_folder.h"

#include "sim/host/replace_file.h"

#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>

namespace vesksim {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kPowerManagement = 0x40;
constexpr std::size_t kMsix = 0x50;
constexpr std::size_t kExpress = 0x70;

class ConfigSpace {
public:
    void put8(std::size_t offset, unsigned value) {
        m_bytes.at(offset) = static_cast<std::uint8_t>(value);
    }
    void put16(std::size_t offset, unsigned value) {
        put8(offset, value);
        put8(offset + 1, value >> 8U);
    }
    void put32(std::size_t offset, unsigned value) {
        put16(offset, value);
        put16(offset + 2, value >> 16U);
    }
    const std::array<std::uint8_t, 256>& bytes() const { return m_bytes; }

private:
    std::array<std::uint8_t, 256> m_bytes = {};
};

void putHeader(ConfigSpace& space, const PciIds& ids, const PciAddress& address) {
    // A window for each bus and function, so that adapters do not share memory.
    const unsigned window =
        0xA0000000U + (unsigned{address.bus} << 20U) + (unsigned{address.function} << 16U);
    space.put16(0x00, ids.vendor);
    space.put16(0x02, ids.device);
    space.put16(0x04, 0x0406);            // command: memory, bus master, no INTx
    space.put16(0x06, 0x0010);            // status: has a capability list
    space.put8(0x08, 0x01);               // revision
    space.put8(0x09, 0x02);               // programming interface: NVMe
    space.put8(0x0A, 0x08);               // subclass: non-volatile memory
    space.put8(0x0B, 0x01);               // class: mass storage
    space.put8(0x0C, 0x10);               // cache line of 64 bytes
    space.put32(0x10, window | 0x4U);     // BAR 0: memory, 64 bits wide
    space.put32(0x20, window + 0x8000U);  // BAR 4: memory, 32 bits wide
    space.put16(0x2C, ids.subsystemVendor);
    space.put16(0x2E, ids.subsystemDevice);
    space.put8(0x34, kPowerManagement);
    space.put8(0x3C, 0x0B);  // interrupt line
    space.put8(0x3D, 0x01);  // interrupt pin A
}

void putPowerManagement(ConfigSpace& space) {
    space.put8(kPowerManagement, 0x01);
    space.put8(kPowerManagement + 1, kMsix);
    space.put16(kPowerManagement + 2, 0x0003);  // version 3
    space.put16(kPowerManagement + 4, 0x0008);  // no soft reset, state D0
}

void putMsix(ConfigSpace& space) {
    space.put8(kMsix, 0x11);
    space.put8(kMsix + 1, kExpress);
    space.put16(kMsix + 2, 0x801F);      // enabled, 32 vectors
    space.put32(kMsix + 4, 0x00002000);  // table in BAR 0
    space.put32(kMsix + 8, 0x00003000);  // pending bits in BAR 0
}

void putExpress(ConfigSpace& space, const PcieLink& link) {
    space.put8(kExpress, 0x10);
    space.put8(kExpress + 1, 0x00);         // end of the list
    space.put16(kExpress + 2, 0x0002);      // version 2, endpoint
    space.put32(kExpress + 4, 0x10008FE1);  // payloads up to 256 bytes, function level reset
    space.put16(kExpress + 8, 0x293F);      // payload 256 bytes, read requests 512 bytes
    space.put16(kExpress + 0x0A, 0x0000);
    space.put32(kExpress + 0x0C, unsigned{link.maxSpeed} | (unsigned{link.maxWidth} << 4U) |
                                     0x00400000U);  // ASPM optionality compliance
    space.put16(kExpress + 0x10, 0x0040);           // common clock
    space.put16(kExpress + 0x12,
                unsigned{link.speed} | (unsigned{link.width} << 4U) | 0x1000U);  // slot clock
    space.put32(kExpress + 0x24, 0x0000001F);  // completion timeout ranges A to D
    // One bit for each speed up to the highest, the slowest in bit 1.
    space.put32(kExpress + 0x2C, (2U << link.maxSpeed) - 2U);
    space.put16(kExpress + 0x30, link.maxSpeed);  // target speed
}

// The first 256 bytes of an adapter's PCI configuration space: header, and a capability list of
// power management, MSI-X and, last, PCI Express with the link of the scenario.
std::array<std::uint8_t, 256> pciConfigSpace(const Adapter& adapter) {
    ConfigSpace space;
    putHeader(space, adapter.pciIds, adapter.pciAddress);
    putPowerManagement(space);
    putMsix(space);
    putExpress(space, adapter.link);
    return space.bytes();
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

namespace {

// These follow the scenario at every start.
void writeCurrent(const fs::path& file, const HostFile& wanted, const std::string& usual) {
    if (wanted.present) {
        replaceFile(file, wanted.text.value_or(usual));
    } else {
        fs::remove(file);
    }
}

// These belong to whoever administers the host, once they are there.
void writeOnce(const fs::path& file, const HostFile& wanted, const std::string& usual) {
    if (wanted.present && !fs::exists(file)) {
        replaceFile(file, wanted.text.value_or(usual));
    }
}

}  // namespace

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
