// The controller and its link: asked for, decoded, shown.
#include "veskctl/controller.h"

#include "veskctl/report.h"

#include "fake_library.h"
#include "samples.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace veskctl {

namespace {

class ControllerOfAHost : public WithFakeLibrary {
protected:
    Controller read() { return readController(library.functions(), problems); }
};

std::string shown(const Controller& controller) {
    Blocks blocks;
    addControllerSections(controller, blocks);
    return blocks.render(false);
}

TEST_F(ControllerOfAHost, EveryFieldIsFoundAmongNoise) {
    library.controller = sampleController().bytes();
    const Controller controller = read();
    EXPECT_EQ(compact(controllerToJson(controller)), compact(R"({
        "responding": true,
        "pci": {"vendor_id": 4660, "device_id": 22136, "subsystem_vendor_id": 39612,
                "subsystem_device_id": 57072, "address": "3b:00.0", "address_raw": 3866624},
        "firmware_version": "2.3.300.5000",
        "pcie_link": {"current_speed_gts": 8.0, "max_speed_gts": 16.0, "current_width": 4,
                      "max_width": 8, "downgraded": true, "current_speed_code": 3,
                      "max_speed_code": 4, "current_width_code": 4, "max_width_code": 8},
        "physical_disk_count": 2, "virtual_disk_count": 1, "port_count": 4,
        "max_buffer_size_raw": 4096})"));
    EXPECT_EQ(shown(controller), R"(Controller
  PCI address          3b:00.0
  Vendor ID            0x1234
  Device ID            0x5678
  Subsystem vendor ID  0x9abc
  Subsystem device ID  0xdef0
  Firmware version     2.3.300.5000

PCIe link
  Current speed        8 GT/s
  Maximum speed        16 GT/s
  Current width        4 lanes
  Maximum width        8 lanes
! Below maximum        yes (the slot may limit it, or it is idle)

Contents
  Physical disks       2
  Virtual disks        1
  Ports                4
  Max buffer size      4096 (unit not stated)
)");
    EXPECT_TRUE(problems.empty());
}

// The record starts zeroed, and a library whose device commands failed leaves it so.
TEST_F(ControllerOfAHost, ZerosAreNoAnswerAndKeepEveryField) {
    const Controller controller = read();
    EXPECT_EQ(compact(controllerToJson(controller)), compact(R"({
        "responding": false,
        "pci": {"vendor_id": 0, "device_id": 0, "subsystem_vendor_id": 0,
                "subsystem_device_id": 0, "address": null, "address_raw": 0},
        "firmware_version": "0.0.0.0",
        "pcie_link": {"current_speed_gts": null, "max_speed_gts": null, "current_width": null,
                      "max_width": null, "downgraded": null, "current_speed_code": 0,
                      "max_speed_code": 0, "current_width_code": 0, "max_width_code": 0},
        "physical_disk_count": 0, "virtual_disk_count": 0, "port_count": 0,
        "max_buffer_size_raw": 0})"));
    const std::string text = shown(controller);
    EXPECT_TRUE(contains(text, "! State                not responding\n")) << text;
    EXPECT_TRUE(contains(text, "  PCI address          not reported\n")) << text;
    EXPECT_TRUE(contains(text, "  Firmware version     0.0.0.0\n")) << text;
    EXPECT_EQ(told(problems),
              std::vector<std::string>{"controller_not_responding: the controller did not answer"});
}

TEST_F(ControllerOfAHost, AFailedCallIsAProblemAndWhatCameIsKept) {
    library.controller = sampleController().bytes();
    library.results["adapterGetInfo"] = 1;
    EXPECT_EQ(read().pci.vendorId, 0x1234);
    EXPECT_EQ(told(problems),
              std::vector<std::string>{"library_call_failed: the library's ZT_Adapter_GetInfo "
                                       "failed with result 1 (fail)"});
}

TEST_F(ControllerOfAHost, LinkCountsAndAddressAloneAreNoAnswer) {
    library.controller = std::array<std::uint8_t, 304>();
    for (const std::size_t offset : {48U, 50U, 72U, 90U, 93U, 106U, 272U, 273U, 274U, 275U}) {
        library.controller->at(offset) = 4;
    }
    EXPECT_FALSE(read().responding());
}

TEST_F(ControllerOfAHost, AnyIdOrVersionPartIsAnAnswer) {
    for (const std::size_t offset : {24U, 26U, 28U, 31U, 64U, 66U, 68U, 70U}) {
        library.controller = std::array<std::uint8_t, 304>();
        library.controller->at(offset) = 1;
        EXPECT_TRUE(read().responding()) << offset;
    }
    EXPECT_TRUE(problems.empty());
}

TEST(PciIdentity, AddressIsBusDeviceFunctionInHex) {
    PciIdentity pci;
    EXPECT_EQ(pci.address(), std::nullopt);
    pci.addressRaw = 0x00AF1F07;
    EXPECT_EQ(pci.address(), "af:1f.7");
    pci.addressRaw = 0x003B0000;
    EXPECT_EQ(pci.address(), "3b:00.0");
}

PcieLink makeLink(unsigned currentSpeed, unsigned maxSpeed, unsigned currentWidth,
                  unsigned maxWidth) {
    PcieLink link;
    link.currentSpeedCode = static_cast<std::uint8_t>(currentSpeed);
    link.maxSpeedCode = static_cast<std::uint8_t>(maxSpeed);
    link.currentWidthCode = static_cast<std::uint8_t>(currentWidth);
    link.maxWidthCode = static_cast<std::uint8_t>(maxWidth);
    return link;
}

TEST(PcieLink, SpeedCodesOneToSixHaveASpeed) {
    const std::optional<double> none;
    const std::vector<std::pair<unsigned, std::optional<double>>> speeds = {
        {0, none}, {1, 2.5},  {2, 5.0},  {3, 8.0},   {4, 16.0},
        {5, 32.0}, {6, 64.0}, {7, none}, {15, none}, {255, none}};
    for (const auto& [code, speed] : speeds) {
        EXPECT_EQ(makeLink(code, 0, 0, 0).currentSpeedGts(), speed) << code;
        EXPECT_EQ(makeLink(0, code, 0, 0).maxSpeedGts(), speed) << code;
    }
}

TEST(PcieLink, WidthZeroIsNotReported) {
    EXPECT_EQ(makeLink(0, 0, 4, 0).currentWidth(), 4U);
    EXPECT_EQ(makeLink(0, 0, 4, 0).maxWidth(), std::nullopt);
    EXPECT_EQ(makeLink(0, 0, 0, 8).currentWidth(), std::nullopt);
    EXPECT_EQ(makeLink(0, 0, 0, 8).maxWidth(), 8U);
}

TEST(PcieLink, OnlyAKnownLossIsDowngraded) {
    EXPECT_EQ(makeLink(4, 4, 8, 8).downgraded(), false);
    EXPECT_EQ(makeLink(3, 4, 8, 8).downgraded(), true);
    EXPECT_EQ(makeLink(4, 4, 4, 8).downgraded(), true);
    // One side unknown.
    EXPECT_EQ(makeLink(3, 4, 0, 0).downgraded(), true);
    EXPECT_EQ(makeLink(0, 4, 4, 8).downgraded(), true);
    EXPECT_EQ(makeLink(4, 4, 0, 0).downgraded(), std::nullopt);
    EXPECT_EQ(makeLink(4, 4, 8, 0).downgraded(), std::nullopt);
    EXPECT_EQ(makeLink(9, 4, 8, 8).downgraded(), std::nullopt);
    EXPECT_EQ(makeLink(0, 0, 0, 0).downgraded(), std::nullopt);
}

TEST(PcieLink, LinesOfAllKinds) {
    Controller controller;
    controller.link = makeLink(1, 3, 1, 8);
    EXPECT_TRUE(contains(shown(controller), R"(PCIe link
  Current speed        2.5 GT/s
  Maximum speed        8 GT/s
  Current width        1 lane
  Maximum width        8 lanes
! Below maximum        yes (the slot)"));
    controller.link = makeLink(0, 9, 0, 0);
    EXPECT_TRUE(contains(shown(controller), R"(PCIe link
  Current speed        not reported
  Maximum speed        unknown (code 9)
  Current width        not reported (16 lanes read so too)
  Maximum width        not reported (16 lanes read so too)
  Below maximum        unknown
)"));
    controller.link = makeLink(4, 4, 8, 8);
    EXPECT_TRUE(contains(shown(controller), "  Below maximum        no\n"));
}

}  // namespace

}  // namespace veskctl
