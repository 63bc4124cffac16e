#include "veskctl/controller.h"

#include "veskctl/command.h"
#include "veskctl/format.h"
#include "veskctl/record.h"
#include "veskctl/report.h"
#include "veskctl/session.h"

#include "VeskNvme.h"

#include <cstddef>

namespace veskctl {

namespace {

std::optional<double> speedOf(std::uint8_t code) {
    switch (code) {
    case 1:
        return 2.5;
    case 2:
        return 5.0;
    case 3:
        return 8.0;
    case 4:
        return 16.0;
    case 5:
        return 32.0;
    case 6:
        return 64.0;
    default:
        return std::nullopt;
    }
}

// The record has no room for 16 lanes: they read 0, as an unknown width does.
std::optional<unsigned> widthOf(std::uint8_t code) {
    return code == 0 ? std::nullopt : std::optional<unsigned>(code);
}

template <class Value>
std::optional<bool> below(const std::optional<Value>& current, const std::optional<Value>& max) {
    if (!current || !max) {
        return std::nullopt;
    }
    return *current < *max;
}

}  // namespace

std::optional<double> PcieLink::currentSpeedGts() const {
    return speedOf(currentSpeedCode);
}

std::optional<double> PcieLink::maxSpeedGts() const {
    return speedOf(maxSpeedCode);
}

std::optional<unsigned> PcieLink::currentWidth() const {
    return widthOf(currentWidthCode);
}

std::optional<unsigned> PcieLink::maxWidth() const {
    return widthOf(maxWidthCode);
}

std::optional<bool> PcieLink::downgraded() const {
    const std::optional<bool> slower = below(currentSpeedGts(), maxSpeedGts());
    const std::optional<bool> narrower = below(currentWidth(), maxWidth());
    if (slower.value_or(false) || narrower.value_or(false)) {
        return true;
    }
    if (!slower || !narrower) {
        return std::nullopt;
    }
    return false;
}

std::optional<std::string> PciIdentity::address() const {
    if (addressRaw == 0) {
        return std::nullopt;
    }
    return format("{:02x}:{:02x}.{:x}", (addressRaw >> 16U) & 0xFFU, (addressRaw >> 8U) & 0xFFU,
                  addressRaw & 0xFFU);
}

namespace {

std::string speedAndWidth(const std::optional<double>& speed,
                          const std::optional<unsigned>& width) {
    return format("{} GT/s x{}", speed ? format("{}", *speed) : "?",
                  width ? format("{}", *width) : "?");
}

}  // namespace

std::string linkText(const PcieLink& link) {
    return speedAndWidth(link.currentSpeedGts(), link.currentWidth());
}

std::string maxLinkText(const PcieLink& link) {
    return speedAndWidth(link.maxSpeedGts(), link.maxWidth());
}

std::string Controller::firmwareVersionText() const {
    return format("{}.{}.{}.{}", firmwareVersion[0], firmwareVersion[1], firmwareVersion[2],
                  firmwareVersion[3]);
}

bool Controller::responding() const {
    const std::array<std::uint16_t, 4> noVersion{};
    return firmwareVersion != noVersion || pci.vendorId != 0 || pci.deviceId != 0 ||
           pci.subsystemVendorId != 0 || pci.subsystemDeviceId != 0;
}

// Asking the library.

namespace {

constexpr std::size_t kControllerRecordSize = 304;

// What the library fills. Read by offsets: the class behind the record lives in the library, which
// this program does not link.
struct alignas(CController) ControllerRecord {
    std::array<std::uint8_t, kControllerRecordSize> bytes{};

    CController* get() { return reinterpret_cast<CController*>(bytes.data()); }
};
static_assert(sizeof(ControllerRecord) == sizeof(CController), "the library fills all of it");

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

}  // namespace

Controller readController(const LibraryFunctions& functions, std::vector<Problem>& problems) {
    ControllerRecord record;
    UCHAR_ count = 0;
    const UCHAR_ result = functions.adapterGetInfo(0, &count, record.get());
    const Controller controller = decodeController(record);
    if (result != ERR_NONE) {
        problems.push_back(libraryCallFailed("ZT_Adapter_GetInfo", result));
    }
    if (!controller.responding()) {
        problems.push_back(didNotAnswer(ProblemKind::ControllerNotResponding, "the controller"));
    }
    return controller;
}

// Showing.

namespace {

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

}  // namespace

Json pcieLinkToJson(const PcieLink& link) {
    Json json;
    json["current_speed_gts"] = valueOrNull(link.currentSpeedGts());
    json["max_speed_gts"] = valueOrNull(link.maxSpeedGts());
    json["current_width"] = valueOrNull(link.currentWidth());
    json["max_width"] = valueOrNull(link.maxWidth());
    json["downgraded"] = valueOrNull(link.downgraded());
    json["current_speed_code"] = link.currentSpeedCode;
    json["max_speed_code"] = link.maxSpeedCode;
    json["current_width_code"] = link.currentWidthCode;
    json["max_width_code"] = link.maxWidthCode;
    return json;
}

namespace {

void addSpeed(const std::string& name, const std::optional<double>& speed, unsigned code,
              Blocks& blocks) {
    if (speed) {
        blocks.addLine(name, format("{} GT/s", *speed));
    } else if (code == 0) {
        blocks.addLine(name, "not reported", Tone::Faint);
    } else {
        blocks.addLine(name, format("unknown (code {})", code), Tone::Faint);
    }
}

void addWidth(const std::string& name, const std::optional<unsigned>& width, Blocks& blocks) {
    if (!width) {
        blocks.addLine(name, "not reported (16 lanes read so too)", Tone::Faint);
    } else {
        blocks.addLine(name, format("{} {}", *width, *width == 1 ? "lane" : "lanes"));
    }
}

void addDowngraded(const std::optional<bool>& downgraded, Blocks& blocks) {
    const std::string name = "Below maximum";
    if (!downgraded) {
        blocks.addLine(name, "unknown", Tone::Faint);
    } else if (*downgraded) {
        blocks.addLine(name, "yes (the slot may limit it, or it is idle)", Tone::Warning);
    } else {
        blocks.addLine(name, "no");
    }
}

}  // namespace

void addPcieLinkSection(const PcieLink& link, Blocks& blocks) {
    blocks.addSection("PCIe link");
    addSpeed("Current speed", link.currentSpeedGts(), link.currentSpeedCode, blocks);
    addSpeed("Maximum speed", link.maxSpeedGts(), link.maxSpeedCode, blocks);
    addWidth("Current width", link.currentWidth(), blocks);
    addWidth("Maximum width", link.maxWidth(), blocks);
    addDowngraded(link.downgraded(), blocks);
}

namespace {

void addId(const char* name, unsigned id, Blocks& blocks) {
    blocks.addLine(name, format("0x{:04x}", id));
}

void addAddress(const PciIdentity& pci, Blocks& blocks) {
    const std::optional<std::string> address = pci.address();
    blocks.addLine("PCI address", address.value_or("not reported"),
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

void addControllerSections(const Controller& controller, Blocks& blocks) {
    blocks.addSection("Controller");
    if (!controller.responding()) {
        blocks.addLine("State", "not responding", Tone::Warning);
    }
    addAddress(controller.pci, blocks);
    addId("Vendor ID", controller.pci.vendorId, blocks);
    addId("Device ID", controller.pci.deviceId, blocks);
    addId("Subsystem vendor ID", controller.pci.subsystemVendorId, blocks);
    addId("Subsystem device ID", controller.pci.subsystemDeviceId, blocks);
    blocks.addLine("Firmware version", controller.firmwareVersionText());

    addPcieLinkSection(controller.link, blocks);

    blocks.addSection("Contents");
    blocks.addLine("Physical disks", format("{}", controller.physicalDiskCount));
    blocks.addLine("Virtual disks", format("{}", controller.virtualDiskCount));
    blocks.addLine("Ports", format("{}", controller.portCount));
    blocks.addLine("Max buffer size", format("{} (unit not stated)", controller.maxBufferSizeRaw));
}

// The command.

namespace {

void runController(const CommandContext& context, Report& report) {
    report.items = "controllers";
    report.fields["controllers"] = Json::array();
    const Session session(context, report);
    const Controller controller = readController(session.functions(), report.problems);
    report.fields["controllers"].push_back(controllerToJson(controller));
    addControllerSections(controller, report.blocks);
}

}  // namespace

Command controllerCommand() {
    return {"controller",
            "Show the controller: identity, firmware, PCIe link, counts",
            [](Options&) { return CommandRunner(runController); },
            {},
            true,
            {{"controller", "what the controller says of itself"},
             {"controller --json | jq -r .controllers[0].firmware_version", "its firmware"}}};
}

}  // namespace veskctl
