// The controller's record: what its bytes mean, and how replies become bytes of it.
#include "adapter_page.h"
#include "record_field.h"
#include "traced_host.h"

#include "controller/adapter_data.h"
#include "transport/pcie_link_info.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <new>
#include <vector>

namespace {

using namespace vesktest;

_AdapaterData* asReply(std::vector<std::uint8_t>& page) {
    return reinterpret_cast<_AdapaterData*>(page.data());
}

TEST(ControllerRecord, EachFieldHasItsPlaceAndIsReadAsItWasSet) {
    using C = CController;
    expectFields<C>(
        {
            field("SlotNo", &C::setSlotNo, &C::getSlotNo, 0xF4030201, 52, {1, 2, 3, 0xF4}),
            field("VendorID", &C::setVendorID, &C::getVendorID, 0xF201, 64, {1, 0xF2}),
            field("SubVendorID", &C::setSubVendorID, &C::getSubVendorID, 0xF201, 66, {1, 0xF2}),
            field("DeviceID", &C::setDeviceID, &C::getDeviceID, 0xF201, 68, {1, 0xF2}),
            field("SubDeviceID", &C::setSubDeviceID, &C::getSubDeviceID, 0xF201, 70, {1, 0xF2}),
            field("PortCount", &C::setPortCount, &C::getPortCount, 0xC1, 72, {0xC1}),
            field("PDCount", &C::setPDCount, &C::getPDCount, 0xC2, 90, {0xC2}),
            field("VDCount", &C::setVDCount, &C::getVDCount, 0xC3, 93, {0xC3}),
            field("MaxBufSize", &C::setMaxBufSize, &C::getMaxBufSize, 0xF201, 106, {1, 0xF2}),
            field("MaxSpeed", &C::setMaxSpeed, &C::getMaxSpeed, 0xC4, 272, {0xC4}),
            field("LinkSpeed", &C::setLinkSpeed, &C::getLinkSpeed, 0xC5, 273, {0xC5}),
            field("MaxLinkWidth", &C::setMaxLinkWidth, &C::getMaxLinkWidth, 0xC6, 274, {0xC6}),
            field("LinkWidth", &C::setLinkWidth, &C::getLinkWidth, 0xC7, 275, {0xC7}),
        },
        [](const C& controller) {
            const ControllerBytes bytes = bytesOf(controller);
            return std::vector<std::uint8_t>(bytes.begin(), bytes.end());
        });
}

TEST(ControllerRecord, AddressIsThreeBytesAndAZeroAndItsImageIsLogged) {
    TracedHost host;
    CController controller;
    host.forgetLines();
    controller.setBDF(_BDF{0x07, 0x1E, 0x3B});
    ControllerBytes expected{};
    putBytes(expected, 48, {0x07, 0x1E, 0x3B, 0x00});
    EXPECT_EQ(bytesOf(controller), expected);
    EXPECT_EQ(controller.getBDF().function, 0x07);
    EXPECT_EQ(controller.getBDF().device, 0x1E);
    EXPECT_EQ(controller.getBDF().bus, 0x3B);
    EXPECT_EQ(host.messages(), LogLines{"CController::setBDF: m_SystemIOBusNumber: 3874311"});
    host.forgetLines();
    controller.setBDF(_BDF{0xFF, 0xFE, 0xFD});
    EXPECT_EQ(controller.getBDF().function, 0xFF);
    EXPECT_EQ(controller.getBDF().device, 0xFE);
    EXPECT_EQ(controller.getBDF().bus, 0xFD);
    EXPECT_EQ(host.messages(), LogLines{"CController::setBDF: m_SystemIOBusNumber: 16645887"});
}

TEST(ControllerRecord, FirmwareVersionIsOneNumberWithTheMajorVersionLowest) {
    CController controller;
    controller.setFirmwareVersion(_PackageVersion{0x1111, 0x2222, 0x3333, 0x4444});
    ControllerBytes expected{};
    putBytes(expected, 24, {0x11, 0x11, 0x22, 0x22, 0x33, 0x33, 0x44, 0x44});
    EXPECT_EQ(bytesOf(controller), expected);
    const _PackageVersion version = controller.getFirmwareVersion();
    std::uint64_t number = 0;
    std::memcpy(&number, &version, sizeof number);
    EXPECT_EQ(number, 0x4444333322221111U);
}

TEST(ControllerRecord, IsZeroAfterConstructionWhateverMemoryHeld) {
    alignas(CController) std::array<std::uint8_t, 304> memory;
    memory.fill(0xEE);
    const auto* const controller = new (memory.data()) CController;
    EXPECT_EQ(bytesOf(*controller), ControllerBytes{});
    controller->~CController();
}

TEST(ControllerRecord, TakesIdentityFromTheReply) {
    TracedHost host;
    std::vector<std::uint8_t> page = adapterPage();
    CController controller;
    host.forgetLines();
    controller.setAttributes(asReply(page));
    EXPECT_EQ(bytesOf(controller), identityBytes());
    EXPECT_EQ(host.messages(), LogLines{"CController::setBDF: m_SystemIOBusNumber: 3874311"});
    EXPECT_TRUE(host.traced("CController::setAttributes()"));
}

TEST(ControllerRecord, KeepsTheLastFirmwareVersionForTheProcess) {
    using Numbers = std::array<USHORT_INT, 4>;
    const auto version = [] {
        const _PackageVersion& kept = CController::firwareVer;
        return Numbers{kept.majorVersion, kept.minorVersion, kept.revisionNumber, kept.buildNumber};
    };
    EXPECT_EQ(version(), (Numbers{0, 0, 0, 0}));
    std::vector<std::uint8_t> page = adapterPage();
    {
        CController controller;
        controller.setAttributes(asReply(page));
    }
    EXPECT_EQ(version(), (Numbers{0x0A01, 0x0B02, 0x0C03, 0x0D04}));
    CController other;
    other.setFirmwareVersion(_PackageVersion{9, 9, 9, 9});
    EXPECT_EQ(version(), (Numbers{0x0A01, 0x0B02, 0x0C03, 0x0D04}));
    page.assign(4096, 0);
    other.setAttributes(asReply(page));
    EXPECT_EQ(bytesOf(other), ControllerBytes{});
    EXPECT_EQ(version(), (Numbers{0, 0, 0, 0}));
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
