// Decoding of the 304 bytes.
#include "sample_record.h"

#include <gtest/gtest.h>

namespace {

using veskctl::Controller;
using veskctl::ControllerRecord;
using veskctl::decodeController;
using veskctl::PciIdentity;

TEST(ControllerRecord, DecodesEveryFieldAmongNoise) {
    const Controller controller = decodeController(sampleRecord());
    EXPECT_EQ(controller.pci.vendorId, 0x1234);
    EXPECT_EQ(controller.pci.subsystemVendorId, 0x9ABC);
    EXPECT_EQ(controller.pci.deviceId, 0x5678);
    EXPECT_EQ(controller.pci.subsystemDeviceId, 0xDEF0);
    EXPECT_EQ(controller.pci.addressRaw, 0x3B0000U);
    EXPECT_EQ(controller.firmwareVersionText(), "2.3.300.5000");
    EXPECT_EQ(controller.link.maxSpeedCode, 4);
    EXPECT_EQ(controller.link.currentSpeedCode, 3);
    EXPECT_EQ(controller.link.maxWidthCode, 8);
    EXPECT_EQ(controller.link.currentWidthCode, 4);
    EXPECT_EQ(controller.portCount, 4U);
    EXPECT_EQ(controller.physicalDiskCount, 2U);
    EXPECT_EQ(controller.virtualDiskCount, 1U);
    EXPECT_EQ(controller.maxBufferSizeRaw, 4096U);
    EXPECT_TRUE(controller.responding());
}

TEST(ControllerRecord, StartsZeroedAndAligned) {
    ControllerRecord record;
    for (const std::uint8_t byte : record.bytes) {
        ASSERT_EQ(byte, 0);
    }
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(record.get()) % 4, 0U);
}

TEST(ControllerRecord, ZerosAreNoAnswer) {
    EXPECT_FALSE(decodeController(ControllerRecord()).responding());
}

TEST(ControllerRecord, LinkCountsAndAddressAloneAreNoAnswer) {
    ControllerRecord record;
    putBytes(record, 48, {0x00, 0x00, 0x3B});
    putBytes(record, 90, {0x02});
    putBytes(record, 272, {4, 4, 8, 8});
    EXPECT_FALSE(decodeController(record).responding());
}

TEST(ControllerRecord, AnyIdOrVersionPartIsAnAnswer) {
    for (const std::size_t offset : {24U, 26U, 28U, 31U, 64U, 66U, 68U, 70U}) {
        ControllerRecord record;
        putBytes(record, offset, {0x01});
        EXPECT_TRUE(decodeController(record).responding()) << offset;
    }
}

TEST(PciIdentity, AddressIsBusDeviceFunctionInHex) {
    PciIdentity pci;
    pci.addressRaw = 0x00AF1F07;
    EXPECT_EQ(pci.address(), "af:1f.7");
    pci.addressRaw = 0x003B0000;
    EXPECT_EQ(pci.address(), "3b:00.0");
}

TEST(PciIdentity, ZeroAddressIsNotReported) {
    EXPECT_FALSE(PciIdentity().address().has_value());
}

}  // namespace
