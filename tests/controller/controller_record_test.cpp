// The controller's record: what its bytes mean, and how replies become bytes of it.
#include "adapter_page.h"
#include "traced_host.h"

#include "controller/adapter_data.h"
#include "transport/pcie_link_info.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using vesktest::bytesOf;
using vesktest::ControllerBytes;
using vesktest::LogLines;
using vesktest::putBytes;
using vesktest::TracedHost;

_AdapaterData* asReply(std::vector<std::uint8_t>& page) {
    return reinterpret_cast<_AdapaterData*>(page.data());
}

struct SetterCase {
    const char* name;
    void (*set)(CController&);
    std::size_t offset;
    std::vector<std::uint8_t> bytes;
};

void PrintTo(const SetterCase& setter, std::ostream* stream) {
    *stream << setter.name;
}

class EachSetter : public ::testing::TestWithParam<SetterCase> {};

TEST_P(EachSetter, WritesItsBytesAndNoOthers) {
    const SetterCase& setter = GetParam();
    CController controller;
    setter.set(controller);
    ControllerBytes expected{};
    for (std::size_t i = 0; i < setter.bytes.size(); ++i) {
        expected[setter.offset + i] = setter.bytes[i];
    }
    EXPECT_EQ(bytesOf(controller), expected);
}

INSTANTIATE_TEST_SUITE_P(
    ControllerRecord, EachSetter,
    ::testing::Values(
        SetterCase{"FirmwareVersion",
                   [](CController& c) {
                       c.setFirmwareVersion(_PackageVersion{0x0201, 0x0403, 0x0605, 0x0807});
                   },
                   24,
                   {1, 2, 3, 4, 5, 6, 7, 8}},
        SetterCase{"BDF",
                   [](CController& c) {
                       c.setBDF(_BDF{7, 0x1F, 0xFE});
                   },
                   48,
                   {7, 0x1F, 0xFE, 0}},
        SetterCase{"SlotNo", [](CController& c) { c.setSlotNo(0x04030201); }, 52, {1, 2, 3, 4}},
        SetterCase{"VendorID", [](CController& c) { c.setVendorID(0x0201); }, 64, {1, 2}},
        SetterCase{"SubVendorID", [](CController& c) { c.setSubVendorID(0x0201); }, 66, {1, 2}},
        SetterCase{"DeviceID", [](CController& c) { c.setDeviceID(0x0201); }, 68, {1, 2}},
        SetterCase{"SubDeviceID", [](CController& c) { c.setSubDeviceID(0x0201); }, 70, {1, 2}},
        SetterCase{"PortCount", [](CController& c) { c.setPortCount(255); }, 72, {255}},
        SetterCase{"PDCount", [](CController& c) { c.setPDCount(255); }, 90, {255}},
        SetterCase{"VDCount", [](CController& c) { c.setVDCount(255); }, 93, {255}},
        SetterCase{"MaxBufSize", [](CController& c) { c.setMaxBufSize(0x0201); }, 106, {1, 2}},
        SetterCase{"MaxSpeed", [](CController& c) { c.setMaxSpeed(255); }, 272, {255}},
        SetterCase{"LinkSpeed", [](CController& c) { c.setLinkSpeed(255); }, 273, {255}},
        SetterCase{"MaxLinkWidth", [](CController& c) { c.setMaxLinkWidth(255); }, 274, {255}},
        SetterCase{"LinkWidth", [](CController& c) { c.setLinkWidth(255); }, 275, {255}}),
    [](const ::testing::TestParamInfo<SetterCase>& param) {
        return std::string(param.param.name);
    });

TEST(ControllerRecord, Is304PlainBytes) {
    EXPECT_EQ(sizeof(CController), 304U);
    EXPECT_FALSE(std::is_polymorphic_v<CController>);
}

TEST(ControllerRecord, IsZeroAfterConstructionWhateverMemoryHeld) {
    alignas(CController) std::array<std::uint8_t, 304> memory;
    memory.fill(0xEE);
    const auto* const controller = new (memory.data()) CController;
    EXPECT_EQ(bytesOf(*controller), ControllerBytes{});
    controller->~CController();
}

TEST(ControllerRecord, GettersReadWhatSettersStored) {
    CController controller;
    controller.setVendorID(0xF001);
    controller.setSubVendorID(0xF002);
    controller.setDeviceID(0xF003);
    controller.setSubDeviceID(0xF004);
    controller.setLinkSpeed(0x81);
    controller.setLinkWidth(0x82);
    controller.setMaxSpeed(0x83);
    controller.setMaxLinkWidth(0x84);
    controller.setPortCount(0x85);
    controller.setVDCount(0x86);
    controller.setPDCount(0x87);
    controller.setMaxBufSize(0xF005);
    controller.setSlotNo(0xF0000006);
    controller.setBDF(_BDF{0x91, 0x92, 0x93});
    EXPECT_EQ(controller.getVendorID(), 0xF001);
    EXPECT_EQ(controller.getSubVendorID(), 0xF002);
    EXPECT_EQ(controller.getDeviceID(), 0xF003);
    EXPECT_EQ(controller.getSubDeviceID(), 0xF004);
    EXPECT_EQ(controller.getLinkSpeed(), 0x81);
    EXPECT_EQ(controller.getLinkWidth(), 0x82);
    EXPECT_EQ(controller.getMaxSpeed(), 0x83);
    EXPECT_EQ(controller.getMaxLinkWidth(), 0x84);
    EXPECT_EQ(controller.getPortCount(), 0x85);
    EXPECT_EQ(controller.getVDCount(), 0x86);
    EXPECT_EQ(controller.getPDCount(), 0x87);
    EXPECT_EQ(controller.getMaxBufSize(), 0xF005);
    EXPECT_EQ(controller.getSlotNo(), 0xF0000006);
    EXPECT_EQ(controller.getBDF().function, 0x91);
    EXPECT_EQ(controller.getBDF().device, 0x92);
    EXPECT_EQ(controller.getBDF().bus, 0x93);
}

TEST(ControllerRecord, FirmwareVersionIsOneNumberWithTheMajorVersionLowest) {
    CController controller;
    controller.setFirmwareVersion(_PackageVersion{0x1111, 0x2222, 0x3333, 0x4444});
    const _PackageVersion version = controller.getFirmwareVersion();
    std::uint64_t number = 0;
    std::memcpy(&number, &version, sizeof number);
    EXPECT_EQ(number, 0x4444333322221111U);
}

TEST(ControllerRecord, SettingTheAddressLogsItsImage) {
    TracedHost host;
    CController controller;
    host.forgetLines();
    controller.setBDF(_BDF{0x07, 0x1E, 0x3B});
    EXPECT_EQ(host.messages(), LogLines{"CController::setBDF: m_SystemIOBusNumber: 3874311"});
    host.forgetLines();
    controller.setBDF(_BDF{0xFF, 0xFF, 0xFF});
    EXPECT_EQ(host.messages(), LogLines{"CController::setBDF: m_SystemIOBusNumber: 16777215"});
}

TEST(ControllerRecord, TakesIdentityFromTheReply) {
    TracedHost host;
    std::vector<std::uint8_t> page = vesktest::adapterPage();
    CController controller;
    host.forgetLines();
    controller.setAttributes(asReply(page));
    EXPECT_EQ(bytesOf(controller), vesktest::identityBytes());
    EXPECT_EQ(host.messages(), LogLines{"CController::setBDF: m_SystemIOBusNumber: 3874311"});
    EXPECT_TRUE(host.traced("CController::setAttributes()"));
}

TEST(ControllerRecord, FourthByteOfTheAddressIsZeroWhateverTheDeviceSent) {
    std::vector<std::uint8_t> page = vesktest::adapterPage();
    page[167] = 0xFF;
    CController controller;
    controller.setAttributes(asReply(page));
    EXPECT_EQ(bytesOf(controller)[50], 0x3B);
    EXPECT_EQ(bytesOf(controller)[51], 0);
}

TEST(ControllerRecord, KeepsTheLastFirmwareVersionForTheProcess) {
    std::vector<std::uint8_t> page = vesktest::adapterPage();
    {
        CController controller;
        controller.setAttributes(asReply(page));
    }
    EXPECT_EQ(CController::firwareVer.majorVersion, 0x0A01);
    EXPECT_EQ(CController::firwareVer.minorVersion, 0x0B02);
    EXPECT_EQ(CController::firwareVer.revisionNumber, 0x0C03);
    EXPECT_EQ(CController::firwareVer.buildNumber, 0x0D04);
    CController other;
    other.setFirmwareVersion(_PackageVersion{9, 9, 9, 9});
    EXPECT_EQ(CController::firwareVer.majorVersion, 0x0A01);
    page.assign(4096, 0);
    other.setAttributes(asReply(page));
    EXPECT_EQ(CController::firwareVer.majorVersion, 0);
    EXPECT_EQ(CController::firwareVer.minorVersion, 0);
    EXPECT_EQ(CController::firwareVer.revisionNumber, 0);
    EXPECT_EQ(CController::firwareVer.buildNumber, 0);
}

TEST(ControllerRecord, ZeroReplyGivesAZeroRecord) {
    std::vector<std::uint8_t> page(4096, 0);
    CController controller;
    controller.setAttributes(asReply(page));
    EXPECT_EQ(bytesOf(controller), ControllerBytes{});
}

TEST(ControllerRecord, TakesTheLinkFromItsFourBytes) {
    TracedHost host;
    _VESKPCIInfo link{};
    std::memcpy(&link, "\x03\x05\x04\x08", 4);
    CController controller;
    host.forgetLines();
    controller.setAttributes(&link);
    ControllerBytes expected{};
    putBytes(expected, 272, {0x05, 0x03, 0x08, 0x04});
    EXPECT_EQ(bytesOf(controller), expected);
    EXPECT_TRUE(host.traced("CController::setAttributes()"));
    EXPECT_EQ(host.messages(), LogLines{});
}

TEST(ControllerRecord, LifeIsTraced) {
    TracedHost host;
    { const CController controller; }
    EXPECT_EQ(
        host.lines(),
        (LogLines{"CController::CController() ENTRY ", "CController::CController() EXIT ",
                  "CController::~CController()libVeskNvme: CController::~CController() ENTRY ",
                  "CController::~CController()libVeskNvme: CController::~CController() EXIT "}));
}

}  // namespace
