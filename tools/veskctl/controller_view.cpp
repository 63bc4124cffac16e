#include "veskctl/controller_view.h"

#include "veskctl/pcie_link_view.h"

#include <fmt/format.h>

namespace veskctl {

namespace {

using Json = nlohmann::ordered_json;

Json pciToJson(const PciIdentity& pci) {
    const std::optional<std::string> address = pci.address();
    Json json;
    json["vendor_id"] = pci.vendorId;
    json["device_id"] = pci.deviceId;
    json["subsystem_vendor_id"] = pci.subsystemVendorId;
    json["subsystem_device_id"] = pci.subsystemDeviceId;
    json["address"] = address ? Json(*address) : Json();
    json["address_raw"] = pci.addressRaw;
    return json;
}

void addId(const char* name, unsigned id, Table& table) {
    table.addLine(name, fmt::format("0x{:04x}", id));
}

void addAddress(const PciIdentity& pci, Table& table) {
    const std::optional<std::string> address = pci.address();
    table.addLine("PCI address", address.value_or("not reported"),
                  address ? Tone::Plain : Tone::Faint);
}

}  // namespace

Json controllerToJson(const Controller& controller) {
    Json json;
    json["responding"] = controller.responding();
    json["pci"] = pciToJson(controller.pci);
    json["firmware_version"] = controller.firmwareVersionText();
    json["pcie_link"] = pcieLinkToJson(controller.link);
    json["physical_disk_count"] = controller.physicalDiskCount;
    json["virtual_disk_count"] = controller.virtualDiskCount;
    json["port_count"] = controller.portCount;
    json["max_buffer_size_raw"] = controller.maxBufferSizeRaw;
    return json;
}

void addControllerSections(const Controller& controller, Table& table) {
    table.addSection("Controller");
    if (!controller.responding()) {
        table.addLine("State", "not responding", Tone::Warning);
    }
    addAddress(controller.pci, table);
    addId("Vendor ID", controller.pci.vendorId, table);
    addId("Device ID", controller.pci.deviceId, table);
    addId("Subsystem vendor ID", controller.pci.subsystemVendorId, table);
    addId("Subsystem device ID", controller.pci.subsystemDeviceId, table);
    table.addLine("Firmware version", controller.firmwareVersionText());

    table.addSection("PCIe link");
    addPcieLinkLines(controller.link, table);

    table.addSection("Contents");
    table.addLine("Physical disks", fmt::format("{}", controller.physicalDiskCount));
    table.addLine("Virtual disks", fmt::format("{}", controller.virtualDiskCount));
    table.addLine("Ports", fmt::format("{}", controller.portCount));
    table.addLine("Max buffer size",
                  fmt::format("{} (unit not stated)", controller.maxBufferSizeRaw));
}

}  // namespace veskctl
