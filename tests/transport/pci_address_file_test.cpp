// The search for an adapter's PCI address in the host's text file.
#include "noise.h"
#include "traced_host.h"

#include "transport/management_calls.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace {

using namespace std::string_literals;
using namespace vesktest;

const char* const kBadText = "stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF: Error converting "
                             "hex string to unsigned long: stoul";

class PciAddressFile : public ::testing::Test {
protected:
    RESULT find(const std::string& text) {
        host.files().write(kPciAddressPath, text);
        host.forgetLines();
        return helper.findAndSetBDF(&adapter, address);
    }

    // Bus, device, function.
    void expectAddress(const std::array<UCHAR_, 3>& expected) const {
        EXPECT_EQ((std::array<UCHAR_, 3>{address.bus, address.device, address.function}), expected);
    }

    TracedHost host;
    nvme_handle adapter{"vmhba2", 1};
    stg::CVmwareZNVDeviceTalker_Helper helper;
    BDF address{0xEE, 0xEE, 0xEE};
};

struct Line {
    const char* what;
    std::string text;
    std::array<UCHAR_, 3> address;  // bus, device, function
};

TEST_F(PciAddressFile, AddressIsFoundInTheLineWithTheName) {
    const Line lines[] = {
        {"in front of the name",
         "0000:3b:1e.5 Mass storage controller [vmhba2]\n",
         {0x3B, 0x1E, 5}},
        {"behind the name", "vmhba2 0000:af:00.1", {0xAF, 0x00, 1}},
        {"upper case", "vmhba2 0000:FE:1D.F\n", {0xFE, 0x1D, 15}},
        {"a rest that is ignored",
         "0000:3b:1e.5 a:b.c :::: ... vmhba2 zz:zz.z\r\n",
         {0x3B, 0x1E, 5}},
        {"short numbers", "0:3:0.0 vmhba2\n", {3, 0, 0}},
        {"numbers that end at another character", "0:4x:5y.6z vmhba2\n", {4, 5, 6}},
        {"two and two and one characters", "0:123:456.78 vmhba2\n", {0x12, 0x45, 7}},
        {"a point in front of the second colon", "0.9.9:11:12.3 vmhba2\n", {0x11, 0x12, 3}},
        {"a colon in first place", ":21:12.3 vmhba2\n", {0x21, 0x12, 3}},
        {"a colon that shifts all", "vmhba2:aa 0000:3b:00.7\n", {0xAA, 0x3B, 7}},
        {"lines without the name in front",
         "0000:01:01.1 vmhba1\n\n0000:02:02.2 vmhba\n0000:03:03.3 vmhba2\n",
         {3, 3, 3}},
        {"the first of two lines", "0000:04:04.4 vmhba2\n0000:05:05.5 vmhba2\n", {4, 4, 4}},
        {"a longer name that holds the name",
         "0000:06:06.6 xvmhba21\n0000:05:05.5 vmhba2\n",
         {6, 6, 6}},
        {"NUL bytes", "\0\0 vmhba2\0 0000:3b\0:01\0.4\0\n"s, {0x3B, 1, 4}},
    };
    for (const Line& now : lines) {
        SCOPED_TRACE(now.what);
        address = {0xEE, 0xEE, 0xEE};
        EXPECT_EQ(find(now.text), 0);
        expectAddress(now.address);
        EXPECT_EQ(host.messages(), LogLines{});
        EXPECT_TRUE(host.traced("stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF()"));
    }
}

TEST_F(PciAddressFile, LineThatHoldsNoAddressIsAConversionFailure) {
    // What is converted in front of the bad number is stored.
    const Line lines[] = {
        {"bad bus", "0000:zz:01.2 vmhba2\n", {0xEE, 0xEE, 0xEE}},
        {"bad device", "0000:01:zz.2 vmhba2\n", {1, 0xEE, 0xEE}},
        {"bad function", "0000:01:02.z vmhba2\n", {1, 2, 0xEE}},
        {"another name", "0000:01:01.1 vmhba1\n", {0xEE, 0xEE, 0xEE}},
        {"another name at the end", "0000:01:01.1 vmhba1", {0xEE, 0xEE, 0xEE}},
        {"a cut name", "vm\0hba2 0000:01:01.1"s, {0xEE, 0xEE, 0xEE}},
        {"empty", "", {0xEE, 0xEE, 0xEE}},
        {"empty lines", "\n\n\n", {0xEE, 0xEE, 0xEE}},
        {"the name alone", "vmhba2\n", {0xEE, 0xEE, 0xEE}},
        {"no colons", "3b.00.0 vmhba2\n", {0xEE, 0xEE, 0xEE}},
        {"one colon", "0000:3b vmhba2\n", {0x3B, 0xEE, 0xEE}},
        {"no point", "0000:3b:00 vmhba2\n", {0x3B, 0, 0xEE}},
        {"the point in front", "00.00:3b:00 vmhba2\n", {0x3B, 0, 0xEE}},
        {"end behind a colon", "vmhba2 0000:", {0xEE, 0xEE, 0xEE}},
        {"line end behind a colon", "vmhba2 0000:\n", {0xEE, 0xEE, 0xEE}},
        {"end behind the second colon", "vmhba2 0000:3b:", {0x3B, 0xEE, 0xEE}},
        {"end behind the point", "vmhba2 0000:3b:00.", {0x3B, 0, 0xEE}},
        {"line end behind the point", "vmhba2 0000:3b:00.\n0\n", {0x3B, 0, 0xEE}},
        {"marks alone", "vmhba2 ::.", {0xEE, 0xEE, 0xEE}},
        {"NUL bytes for numbers", "vmhba2 0000:\0\0:\0\0.\0"s, {0xEE, 0xEE, 0xEE}},
    };
    for (const Line& now : lines) {
        SCOPED_TRACE(now.what);
        address = {0xEE, 0xEE, 0xEE};
        EXPECT_EQ(find(now.text), 1);
        expectAddress(now.address);
        EXPECT_EQ(host.messages(), LogLines{kBadText});
        EXPECT_TRUE(host.traced("stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF()"));
    }
}

TEST_F(PciAddressFile, MissingFileIsLogged) {
    host.forgetLines();
    EXPECT_EQ(helper.findAndSetBDF(&adapter, address), 1);
    expectAddress({0xEE, 0xEE, 0xEE});
    EXPECT_EQ(
        host.messages(),
        LogLines{
            "stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF: PCI BDF file could not be opened"});
    EXPECT_TRUE(host.traced("stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF()"));
}

TEST_F(PciAddressFile, MegabytesWithoutALineEndAreRead) {
    const std::string filler(3000000, 'x');
    EXPECT_EQ(find(filler + "vmhba2" + filler + ":21" + filler + ":12" + filler + ".3"), 0);
    expectAddress({0x21, 0x12, 3});
    for (const std::string& text : {filler, filler + "vmhba2" + filler, std::string(1000000, '\n'),
                                    "vmhba2" + std::string(1000000, ':')}) {
        EXPECT_EQ(find(text), 1);
        EXPECT_EQ(host.messages(), LogLines{kBadText});
    }
}

TEST_F(PciAddressFile, ArbitraryBytesDoNoHarm) {
    for (std::uint32_t seed = 0; seed < 200; ++seed) {
        const std::vector<std::uint8_t> bytes = noise(300, seed);
        const std::string text = "vmhba2:" + std::string(bytes.begin(), bytes.end());
        const RESULT result = find(text);
        EXPECT_TRUE(result == 0 || result == 1);
        EXPECT_EQ(host.messages().size(), result);
    }
}

}  // namespace
