#include "pci_config_space.h"

#include <cstddef>

namespace vesksim {

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

}  // namespace

std::array<std::uint8_t, 256> pciConfigSpace(const Adapter& adapter) {
    ConfigSpace space;
    putHeader(space, adapter.pciIds, adapter.pciAddress);
    putPowerManagement(space);
    putMsix(space);
    putExpress(space, adapter.link);
    return space.bytes();
}

}  // namespace vesksim
