#include "veskctl/controller_record.h"

#include "veskctl/little_endian.h"

#include <fmt/format.h>

namespace veskctl {

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
    const std::uint8_t* const bytes = record.bytes.data();
    Controller controller;
    controller.pci.vendorId = read16(bytes + CCONTROLLER_VENDOR_ID);
    controller.pci.deviceId = read16(bytes + CCONTROLLER_DEVICE_ID);
    controller.pci.subsystemVendorId = read16(bytes + CCONTROLLER_SUB_VENDOR_ID);
    controller.pci.subsystemDeviceId = read16(bytes + CCONTROLLER_SUB_DEVICE_ID);
    controller.pci.addressRaw = read32(bytes + CCONTROLLER_SYSTEM_IO_BUS_NUMBER);
    for (std::size_t part = 0; part < controller.firmwareVersion.size(); ++part) {
        controller.firmwareVersion[part] = read16(bytes + CCONTROLLER_FIRMWARE_VERSION + 2 * part);
    }
    controller.link.currentSpeedCode = bytes[CCONTROLLER_LINK_SPEED];
    controller.link.maxSpeedCode = bytes[CCONTROLLER_MAX_LINK_SPEED];
    controller.link.currentWidthCode = bytes[CCONTROLLER_LINK_WIDTH];
    controller.link.maxWidthCode = bytes[CCONTROLLER_MAX_LINK_WIDTH];
    controller.physicalDiskCount = bytes[CCONTROLLER_PHYSICAL_DISK_COUNT];
    controller.virtualDiskCount = bytes[CCONTROLLER_VIRTUAL_DISK_COUNT];
    controller.portCount = bytes[CCONTROLLER_PORT_COUNT];
    controller.maxBufferSizeRaw = read16(bytes + CCONTROLLER_MAX_BUFFER_SIZE);
    return controller;
}

}  // namespace veskctl
