// The search for an adapter's PCI address in the host's text file.
#include "noise.h"
#include "traced_host.h"

#include "transport/management_calls.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::string_literals;
using vesktest::LogLines;
using vesktest::TracedHost;

const char* const kBadText = "stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF: Error converting "
                             "hex string to unsigned long: stoul";

class PciAddressFile : public ::testing::Test {
protected:
    RESULT find(const std::string& text) {
        host.files().write(vesktest::kPciAddressPath, text);
        host.forgetLines();
        return helper.findAndSetBDF(&adapter, address);
    }

    void expectAddress(UCHAR_ bus, UCHAR_ device, UCHAR_ function) const {
        EXPECT_EQ(address.bus, bus);
        EXPECT_EQ(address.device, device);
        EXPECT_EQ(address.function, function);
    }

    void expectConversionFailure(const std::string& text) {
        EXPECT_EQ(find(text), 1);
        ASSERT_EQ(host.messages().size(), 1U);
        EXPECT_EQ(host.messages()[0].rfind("stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF: "
                                           "Error converting hex string to unsigned long: ",
                                           0),
                  0U);
        EXPECT_TRUE(host.traced("stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF()"));
    }

    TracedHost host;
    nvme_handle adapter{"vmhba2", 1};
    stg::CVmwareZNVDeviceTalker_Helper helper;
    BDF address{0xEE, 0xEE, 0xEE};
};

TEST_F(PciAddressFile, AddressInFrontOfTheName) {
    EXPECT_EQ(find("0000:3b:1e.5 Mass storage controller [vmhba2]\n"), 0);
    expectAddress(0x3B, 0x1E, 5);
    EXPECT_EQ(host.messages(), LogLines{});
    EXPECT_TRUE(host.traced("stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF()"));
}

TEST_F(PciAddressFile, AddressBehindTheName) {
    EXPECT_EQ(find("vmhba2 0000:af:00.1"), 0);
    expectAddress(0xAF, 0x00, 1);
}

TEST_F(PciAddressFile, UpperCaseDigits) {
    EXPECT_EQ(find("vmhba2 0000:FE:1D.F\n"), 0);
    expectAddress(0xFE, 0x1D, 15);
}

TEST_F(PciAddressFile, RestOfTheLineIsIgnored) {
    EXPECT_EQ(find("0000:3b:1e.5 a:b.c :::: ... vmhba2 zz:zz.z\r\n"), 0);
    expectAddress(0x3B, 0x1E, 5);
}

TEST_F(PciAddressFile, ConversionEndsAtTheFirstOtherCharacter) {
    EXPECT_EQ(find("0:3:0.0 vmhba2\n"), 0);
    expectAddress(3, 0, 0);
    EXPECT_EQ(find("0:4x:5y.6z vmhba2\n"), 0);
    expectAddress(4, 5, 6);
}

TEST_F(PciAddressFile, OnlyTwoAndTwoAndOneCharactersAreTaken) {
    EXPECT_EQ(find("0:123:456.78 vmhba2\n"), 0);
    expectAddress(0x12, 0x45, 7);
}

TEST_F(PciAddressFile, PointsInFrontOfTheSecondColonDoNotCount) {
    EXPECT_EQ(find("0.9.9:11:12.3 vmhba2\n"), 0);
    expectAddress(0x11, 0x12, 3);
}

TEST_F(PciAddressFile, ColonInFrontOfTheAddressShiftsIt) {
    EXPECT_EQ(find("vmhba2:aa 0000:3b:00.7\n"), 0);
    expectAddress(0xAA, 0x3B, 7);
}

TEST_F(PciAddressFile, LinesWithoutTheNameAreSkipped) {
    EXPECT_EQ(find("0000:01:01.1 vmhba1\n\n0000:02:02.2 vmhba\n0000:03:03.3 vmhba2\n"), 0);
    expectAddress(3, 3, 3);
}

TEST_F(PciAddressFile, FirstLineWithTheNameCounts) {
    EXPECT_EQ(find("0000:04:04.4 vmhba2\n0000:05:05.5 vmhba2\n"), 0);
    expectAddress(4, 4, 4);
}

TEST_F(PciAddressFile, LongerNameThatHoldsTheNameMatches) {
    EXPECT_EQ(find("0000:06:06.6 xvmhba21\n0000:05:05.5 vmhba2\n"), 0);
    expectAddress(6, 6, 6);
}

TEST_F(PciAddressFile, MissingFileIsLogged) {
    host.forgetLines();
    EXPECT_EQ(helper.findAndSetBDF(&adapter, address), 1);
    expectAddress(0xEE, 0xEE, 0xEE);
    EXPECT_EQ(
        host.messages(),
        LogLines{
            "stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF: PCI BDF file could not be opened"});
    EXPECT_TRUE(host.traced("stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF()"));
}

TEST_F(PciAddressFile, BadBusLeavesTheAddressAlone) {
    EXPECT_EQ(find("0000:zz:01.2 vmhba2\n"), 1);
    expectAddress(0xEE, 0xEE, 0xEE);
    EXPECT_EQ(host.messages(), LogLines{kBadText});
}

TEST_F(PciAddressFile, BadDeviceComesAfterTheBusIsStored) {
    EXPECT_EQ(find("0000:01:zz.2 vmhba2\n"), 1);
    expectAddress(1, 0xEE, 0xEE);
    EXPECT_EQ(host.messages(), LogLines{kBadText});
}

TEST_F(PciAddressFile, BadFunctionComesAfterBusAndDeviceAreStored) {
    EXPECT_EQ(find("0000:01:02.z vmhba2\n"), 1);
    expectAddress(1, 2, 0xEE);
    EXPECT_EQ(host.messages(), LogLines{kBadText});
}

TEST_F(PciAddressFile, NoLineWithTheNameIsAConversionFailure) {
    expectConversionFailure("0000:01:01.1 vmhba1\n");
    expectConversionFailure("0000:01:01.1 vmhba1");
    expectConversionFailure("");
    expectConversionFailure("\n\n\n");
    expectAddress(0xEE, 0xEE, 0xEE);
}

TEST_F(PciAddressFile, LineWithoutItsColonsOrPointIsAConversionFailure) {
    expectConversionFailure("vmhba2\n");
    expectConversionFailure("3b.00.0 vmhba2\n");
    expectConversionFailure("0000:3b vmhba2\n");
    expectConversionFailure("0000:3b:00 vmhba2\n");
    expectConversionFailure("00.00:3b:00 vmhba2\n");
}

TEST_F(PciAddressFile, LineThatEndsTooEarlyIsAConversionFailure) {
    expectConversionFailure("vmhba2 0000:");
    expectConversionFailure("vmhba2 0000:\n");
    expectConversionFailure("vmhba2 0000:3b:");
    expectConversionFailure("vmhba2 0000:3b:00.");
    expectConversionFailure("vmhba2 0000:3b:00.\n0\n");
    expectConversionFailure("vmhba2 ::.");
}

TEST_F(PciAddressFile, NulBytesAreCharactersLikeOthers) {
    EXPECT_EQ(find("\0\0 vmhba2\0 0000:3b\0:01\0.4\0\n"s), 0);
    expectAddress(0x3B, 1, 4);
    expectConversionFailure("vmhba2 0000:\0\0:\0\0.\0"s);
    expectConversionFailure("vm\0hba2 0000:01:01.1"s);
}

TEST_F(PciAddressFile, MegabytesWithoutALineEndAreRead) {
    const std::string filler(3000000, 'x');
    EXPECT_EQ(find(filler + "vmhba2" + filler + ":21" + filler + ":12" + filler + ".3"), 0);
    expectAddress(0x21, 0x12, 3);
    expectConversionFailure(filler);
    expectConversionFailure(filler + "vmhba2" + filler);
    expectConversionFailure(std::string(1000000, '\n'));
    expectConversionFailure("vmhba2" + std::string(1000000, ':'));
}

TEST_F(PciAddressFile, ArbitraryBytesDoNoHarm) {
    for (std::uint32_t seed = 0; seed < 200; ++seed) {
        const std::vector<std::uint8_t> bytes = vesktest::noise(300, seed);
        const std::string text = "vmhba2:" + std::string(bytes.begin(), bytes.end());
        const RESULT result = find(text);
        EXPECT_TRUE(result == 0 || result == 1);
        EXPECT_EQ(host.messages().size(), result);
    }
}

}  // namespace
