#include "veskctl/controller_record.h"

#include <fmt/format.h>

namespace veskctl {

namespace {

std::uint8_t read8(const ControllerRecord& record, std::size_t offset) {
    return record.bytes[offset];
}

std::uint16_t read16(const ControllerRecord& record, std::size_t offset) {
    return static_cast<std::uint16_t>(record.bytes[offset] | (record.bytes[offset + 1] << 8U));
}

std::uint32_t read32(const ControllerRecord& record, std::size_t offset) {
    return read16(record, offset) | (static_cast<std::uint32_t>(read16(record, offset + 2)) << 16U);
}

}  // namespace

std::optional<std::string> PciIdentity::address() const {
    if (addressRaw == 0) {
        return std::nullopt;
    }
    return fmt::format("{:02x}:{:02x}.{:x}", (addressRaw >> 16U) & 0xFFU,
                       (addressRaw >> 8U) & 0xFFU, addressRaw & 0xFFU);
}

std::string Controller::firmwareVersionText() const {
    return fmt::format("{}.{}.{}.{}", firmwareVersion[0], firmwareVersion[1], firmwareVersion[2],
                       firmwareVersion[3]);
}

bool Controller::responding() const {
    const std::array<std::uint16_t, 4> noVersion{};
    return firmwareVersion != noVersion || pci.vendorId != 0 || pci.deviceId != 0 ||
           pci.subsystemVendorId != 0 || pci.subsystemDeviceId != 0;
}

Controller decodeController(const ControllerRecord& record) {
    Controller controller;
    controller.pci.vendorId = read16(record, CCONTROLLER_VENDOR_ID);
    controller.pci.deviceId = read16(record, CCONTROLLER_DEVICE_ID);
    controller.pci.subsystemVendorId = read16(record, CCONTROLLER_SUB_VENDOR_ID);
    controller.pci.subsystemDeviceId = read16(record, CCONTROLLER_SUB_DEVICE_ID);
    controller.pci.addressRaw = read32(record, CCONTROLLER_SYSTEM_IO_BUS_NUMBER);
    for (std::size_t part = 0; part < controller.firmwareVersion.size(); ++part) {
        controller.firmwareVersion[part] = read16(record, CCONTROLLER_FIRMWARE_VERSION + 2 * part);
    }
    controller.link.currentSpeedCode = read8(record, CCONTROLLER_LINK_SPEED);
    controller.link.maxSpeedCode = read8(record, CCONTROLLER_MAX_LINK_SPEED);
    controller.link.currentWidthCode = read8(record, CCONTROLLER_LINK_WIDTH);
    controller.link.maxWidthCode = read8(record, CCONTROLLER_MAX_LINK_WIDTH);
    controller.physicalDiskCount = read8(record, CCONTROLLER_PHYSICAL_DISK_COUNT);
    controller.virtualDiskCount = read8(record, CCONTROLLER_VIRTUAL_DISK_COUNT);
    controller.portCount = read8(record, CCONTROLLER_PORT_COUNT);
    controller.maxBufferSizeRaw = read16(record, CCONTROLLER_MAX_BUFFER_SIZE);
    return controller;
}

}  // namespace veskctl
