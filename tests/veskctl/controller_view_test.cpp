// A controller as JSON and as a table.
#include "veskctl/controller_view.h"

#include "sample_record.h"

#include <gtest/gtest.h>

namespace {

using nlohmann::ordered_json;
using veskctl::addControllerSections;
using veskctl::Controller;
using veskctl::ControllerRecord;
using veskctl::controllerToJson;
using veskctl::decodeController;
using veskctl::Table;

std::string shown(const Controller& controller) {
    Table table;
    addControllerSections(controller, table);
    return table.render(false);
}

TEST(ControllerView, JsonOfASample) {
    EXPECT_EQ(controllerToJson(decodeController(sampleRecord())), ordered_json::parse(R"({
        "responding": true,
        "pci": {"vendor_id": 4660, "device_id": 22136, "subsystem_vendor_id": 39612,
                "subsystem_device_id": 57072, "address": "3b:00.0", "address_raw": 3866624},
        "firmware_version": "2.3.300.5000",
        "pcie_link": {"current_speed_gts": 8.0, "max_speed_gts": 16.0, "current_width": 4,
                      "max_width": 8, "downgraded": true, "current_speed_code": 3,
                      "max_speed_code": 4, "current_width_code": 4, "max_width_code": 8},
        "physical_disk_count": 2, "virtual_disk_count": 1, "port_count": 4,
        "max_buffer_size_raw": 4096})"));
}

TEST(ControllerView, JsonOfZerosKeepsEveryField) {
    EXPECT_EQ(controllerToJson(decodeController(ControllerRecord())), ordered_json::parse(R"({
        "responding": false,
        "pci": {"vendor_id": 0, "device_id": 0, "subsystem_vendor_id": 0,
                "subsystem_device_id": 0, "address": null, "address_raw": 0},
        "firmware_version": "0.0.0.0",
        "pcie_link": {"current_speed_gts": null, "max_speed_gts": null, "current_width": null,
                      "max_width": null, "downgraded": null, "current_speed_code": 0,
                      "max_speed_code": 0, "current_width_code": 0, "max_width_code": 0},
        "physical_disk_count": 0, "virtual_disk_count": 0, "port_count": 0,
        "max_buffer_size_raw": 0})"));
}

TEST(ControllerView, TableOfASample) {
    EXPECT_EQ(shown(decodeController(sampleRecord())),
              "Controller\n"
              "  PCI address          3b:00.0\n"
              "  Vendor ID            0x1234\n"
              "  Device ID            0x5678\n"
              "  Subsystem vendor ID  0x9abc\n"
              "  Subsystem device ID  0xdef0\n"
              "  Firmware version     2.3.300.5000\n"
              "\n"
              "PCIe link\n"
              "  Current speed        8 GT/s\n"
              "  Maximum speed        16 GT/s\n"
              "  Current width        4 lanes\n"
              "  Maximum width        8 lanes\n"
              "  Below maximum        yes (the slot may limit it, or it is idle)\n"
              "\n"
              "Contents\n"
              "  Physical disks       2\n"
              "  Virtual disks        1\n"
              "  Ports                4\n"
              "  Max buffer size      4096 (unit not stated)\n");
}

TEST(ControllerView, TableSaysWhenTheControllerIsSilent) {
    const std::string text = shown(decodeController(ControllerRecord()));
    EXPECT_NE(text.find("  State                not responding\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  PCI address          not reported\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  Firmware version     0.0.0.0\n"), std::string::npos) << text;
}

}  // namespace
