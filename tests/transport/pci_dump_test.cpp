// The walk through a dump of configuration space to the PCI Express capability.
#include "traced_host.h"

#include "transport/pci_dump_parser.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace {

using vesktest::LogLines;
using vesktest::TracedHost;

using Dump = std::vector<USHORT_INT>;
using Values = std::map<STDSTR, USHORT_INT>;

const char* const kInitial = "IZNVDeviceTalker_Helper::parsePCIHexDump(): Initial Offset: ";
const char* const kCapability = "IZNVDeviceTalker_Helper::parsePCIHexDump(): Current Capability: ";
const char* const kOffset = "IZNVDeviceTalker_Helper::parsePCIHexDump(): Current Offset: ";

std::string line(const char* text, const char* number) {
    return std::string(text) + number;
}

class PciDump : public ::testing::Test {
protected:
    RESULT parse() {
        host.forgetLines();
        return helper.parsePCIHexDump(dump, values);
    }

    void putCapability(std::size_t offset, USHORT_INT id, USHORT_INT next) {
        dump[offset] = id;
        dump[offset + 1] = next;
    }

    // Five capabilities in a row, the last with this next pointer.
    void putFive(USHORT_INT next) {
        dump[0x34] = 0x40;
        putCapability(0x40, 1, 0x48);
        putCapability(0x48, 5, 0x50);
        putCapability(0x50, 0x11, 0x60);
        putCapability(0x60, 3, 0x70);
        putCapability(0x70, 9, next);
    }

    TracedHost host;
    stg::IZNVDeviceTalker_Helper helper;
    Dump dump = Dump(256, 0);
    Values values;
};

TEST_F(PciDump, FourLanesAtTheThirdSpeed) {
    dump[0x34] = 0x40;
    putCapability(0x40, 0x10, 0);
    dump[0x4C] = 0x85;
    dump[0x52] = 0x43;
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values, (Values{{"Negotiated Link Speed", 3},
                              {"Max Link Speed", 5},
                              {"Negotiated Link Width", 4},
                              {"Max Link Width", 8}}));
    EXPECT_TRUE(host.traced("stg::IZNVDeviceTalker_Helper::parsePCIHexDump()"));
}

TEST_F(PciDump, CapabilityInFirstPlaceHasNoOffsetLine) {
    dump[0x34] = 0x40;
    putCapability(0x40, 0x10, 0x60);
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(host.messages(), (LogLines{line(kInitial, "64"), line(kCapability, "16")}));
}

TEST_F(PciDump, CapabilityInSecondPlace) {
    dump[0x34] = 0x50;
    putCapability(0x50, 5, 0x80);
    putCapability(0x80, 0x10, 0);
    dump[0x8C] = 0x21;
    dump[0x92] = 0x12;
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values, (Values{{"Negotiated Link Speed", 2},
                              {"Max Link Speed", 1},
                              {"Negotiated Link Width", 1},
                              {"Max Link Width", 2}}));
    EXPECT_EQ(host.messages(), (LogLines{line(kInitial, "80"), line(kCapability, "5"),
                                         line(kOffset, "128"), line(kCapability, "16")}));
}

TEST_F(PciDump, AllBitsOfBothLowBytes) {
    dump[0x34] = 0x40;
    putCapability(0x40, 0x10, 0);
    dump[0x4C] = 0xFF;
    dump[0x52] = 0xFE;
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values, (Values{{"Negotiated Link Speed", 14},
                              {"Max Link Speed", 15},
                              {"Negotiated Link Width", 15},
                              {"Max Link Width", 15}}));
}

TEST_F(PciDump, SixteenLanesReadAsZero) {
    dump[0x34] = 0x40;
    putCapability(0x40, 0x10, 0);
    dump[0x4C] = 0x03;
    dump[0x4D] = 0x01;
    dump[0x52] = 0x03;
    dump[0x53] = 0x01;
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values, (Values{{"Negotiated Link Speed", 3},
                              {"Max Link Speed", 3},
                              {"Negotiated Link Width", 0},
                              {"Max Link Width", 0}}));
}

TEST_F(PciDump, CapabilityInSixthPlaceIsFound) {
    putFive(0x80);
    putCapability(0x80, 0x10, 0);
    dump[0x92] = 0x43;
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values["Negotiated Link Speed"], 3);
    EXPECT_EQ(host.messages(),
              (LogLines{line(kInitial, "64"),  //
                        line(kCapability, "1"), line(kOffset, "72"), line(kCapability, "5"),
                        line(kOffset, "80"), line(kCapability, "17"), line(kOffset, "96"),
                        line(kCapability, "3"), line(kOffset, "112"), line(kCapability, "9"),
                        line(kOffset, "128"), line(kCapability, "16")}));
}

TEST_F(PciDump, CapabilityInSeventhPlaceIsNotFound) {
    putFive(0x80);
    putCapability(0x80, 2, 0x90);
    putCapability(0x90, 0x10, 0);
    EXPECT_EQ(parse(), 1);
    EXPECT_EQ(values, Values{});
    EXPECT_EQ(host.messages(),
              (LogLines{line(kInitial, "64"),  //
                        line(kCapability, "1"), line(kOffset, "72"), line(kCapability, "5"),
                        line(kOffset, "80"), line(kCapability, "17"), line(kOffset, "96"),
                        line(kCapability, "3"), line(kOffset, "112"), line(kCapability, "9"),
                        line(kOffset, "128"), line(kCapability, "2"), line(kOffset, "144")}));
    EXPECT_TRUE(host.traced("stg::IZNVDeviceTalker_Helper::parsePCIHexDump()"));
}

TEST_F(PciDump, NextPointerZeroIsFollowed) {
    // To the vendor number: its low byte is an id there and its high byte the next offset.
    dump[0] = 0x4B;
    dump[1] = 0x1B;
    dump[0x34] = 0x40;
    putCapability(0x40, 1, 0);
    putCapability(0x1B, 0x10, 0);
    dump[0x1B + 0x12] = 0x43;
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values["Negotiated Link Width"], 4);
    EXPECT_EQ(host.messages(),
              (LogLines{line(kInitial, "64"), line(kCapability, "1"), line(kOffset, "0"),
                        line(kCapability, "75"), line(kOffset, "27"), line(kCapability, "16")}));
}

TEST_F(PciDump, CapabilityAtOffsetZeroCounts) {
    dump[0] = 0x10;
    dump[0x0C] = 0x21;
    dump[0x12] = 0x43;
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values, (Values{{"Negotiated Link Speed", 3},
                              {"Max Link Speed", 1},
                              {"Negotiated Link Width", 4},
                              {"Max Link Width", 2}}));
}

TEST_F(PciDump, LoopInTheListEndsAfterSixHops) {
    dump[0x34] = 0x40;
    putCapability(0x40, 5, 0x40);
    EXPECT_EQ(parse(), 1);
    EXPECT_EQ(vesktest::count(host.messages(), line(kCapability, "5")), 6U);
    EXPECT_EQ(vesktest::count(host.messages(), line(kOffset, "64")), 6U);
}

TEST_F(PciDump, DumpThatEndsBeforeThePointerIsAFailure) {
    dump.clear();
    EXPECT_EQ(parse(), 1);
    dump.assign(0x34, 0x10);
    EXPECT_EQ(parse(), 1);
    EXPECT_EQ(values, Values{});
}

TEST_F(PciDump, PointerBeyondTheDumpIsAFailure) {
    dump.resize(0x40);
    dump[0x34] = 0x40;
    EXPECT_EQ(parse(), 1);
    dump[0x34] = 0xFFFF;
    EXPECT_EQ(parse(), 1);
    EXPECT_EQ(values, Values{});
}

TEST_F(PciDump, NextPointerBeyondTheDumpIsAFailure) {
    dump[0x34] = 0xFF;
    dump[0xFF] = 5;
    EXPECT_EQ(parse(), 1);
    EXPECT_EQ(values, Values{});
}

TEST_F(PciDump, RegistersBeyondTheDumpAreAFailure) {
    dump[0x34] = 0xEE;
    dump[0xEE] = 0x10;
    EXPECT_EQ(parse(), 1);
    EXPECT_EQ(values, Values{});
    dump[0x34] = 0xFF;
    dump[0xFF] = 0x10;
    EXPECT_EQ(parse(), 1);
    EXPECT_EQ(values, Values{});
}

TEST_F(PciDump, LastByteOfTheDumpMayBeTheLinkStatus) {
    dump[0x34] = 0xED;
    dump[0xED] = 0x10;
    dump[0xF9] = 0x84;
    dump[0xFF] = 0x43;
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values, (Values{{"Negotiated Link Speed", 3},
                              {"Max Link Speed", 4},
                              {"Negotiated Link Width", 4},
                              {"Max Link Width", 8}}));
}

TEST_F(PciDump, ShortDumpThatHoldsAllThatIsReadIsEnough) {
    dump.resize(0x53);
    dump[0x34] = 0x40;
    putCapability(0x40, 0x10, 0);
    dump[0x52] = 0x43;
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values["Negotiated Link Speed"], 3);
}

TEST_F(PciDump, EntriesThatAreNoBytesDoNoHarm) {
    for (USHORT_INT& entry : dump) {
        entry = 0xFFFF;
    }
    EXPECT_EQ(parse(), 1);
    dump[0x34] = 0x40;
    dump[0x40] = 0x10;
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values["Negotiated Link Speed"], 15);
    EXPECT_EQ(values["Negotiated Link Width"], 31);
}

}  // namespace
