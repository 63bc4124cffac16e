// A PCI configuration dump: its lines become bytes, and the walk through the bytes ends at the PCI
// Express capability.
#include "traced_host.h"

#include "transport/pci_dump_parser.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace std::string_literals;
using namespace vesktest;

using Dump = std::vector<USHORT_INT>;
using Values = std::map<STDSTR, USHORT_INT>;

const char* const kBadColumn = "IZNVDeviceTalker_Helper::fetchHexDumpLineIntoVector(): Error "
                               "fetching number from hex string: stoul";
const std::string kLine = "4b 1b 41 22 07 04 10 00 00 02 08 01 0A FF 80 7f";
const Dump kBytes = {0x4B, 0x1B, 0x41, 0x22, 0x07, 0x04, 0x10, 0, 0, 2, 8, 1, 10, 255, 0x80, 0x7F};

class PciDumpLine : public ::testing::Test {
protected:
    RESULT fetch(const std::string& line, USHORT_INT firstColumn = 0) {
        host.forgetLines();
        return helper.fetchHexDumpLineIntoVector(line, dump, firstColumn);
    }

    TracedHost host;
    stg::IZNVDeviceTalker_Helper helper;
    Dump dump;
};

struct Line {
    const char* what;
    std::string text;
    USHORT_INT firstColumn;
    Dump bytes;
    std::size_t badColumns;
};

TEST_F(PciDumpLine, HasAByteAtEveryThirdColumn) {
    const Line lines[] = {
        {"sixteen bytes", kLine, 0, kBytes, 0},
        {"a trailing blank", kLine + " ", 0, kBytes, 0},
        {"a trailing carriage return", kLine + "\r", 0, kBytes, 0},
        {"two trailing blanks", kLine + "  ", 0, kBytes, 1},
        {"any separators", "01-02:03z04\00005901"s, 0, {1, 2, 3, 4, 5, 1}, 0},
        {"a last digit alone", "01 2", 0, {1, 2}, 0},
        {"one digit", "c", 0, {12}, 0},
        {"nothing", "", 0, {}, 0},
        {"from the second byte on", "01 02 03", 3, {2, 3}, 0},
        {"from the second character on", "x01 02", 1, {1, 2}, 0},
        {"from the end on", "01 02", 5, {}, 0},
        {"from behind the end on", "01 02", 65535, {}, 0},
        {"bad columns between good ones", "01 zz 03 .. 05", 0, {1, 3, 5}, 2},
        {"a good column behind a bad one", "zz 01", 0, {1}, 1},
        {"numbers that end at another character", "1g f. 7\0 9"s, 0, {1, 15, 7, 9}, 0},
        {"signs and blanks in front", "01 -1 +2  3 \t4 05", 0, {1, 5}, 4},
        {"NUL bytes", "01 \0\0 02"s, 0, {1, 2}, 1},
        {"a length of 0 in 16 bits", std::string(65536, '1'), 0, {}, 0},
        {"a length of 1 in 16 bits", std::string(65537, '1'), 0, {0x11}, 0},
        {"a length of 4 in 16 bits", std::string(65540, '1'), 0, {0x11, 0x11}, 0},
        {"the longest line less one", std::string(65534, '0'), 0, Dump(21845), 0},
        {"the longest line", std::string(65535, '0'), 0, Dump(21845), 0},
        {"from its second character on", std::string(65534, '0'), 1, Dump(21845), 0},
        {"from its third character on", std::string(65535, '0'), 2, Dump(21845), 0},
        {"its last character", std::string(65535, '0'), 65534, Dump(1), 0},
    };
    for (const Line& now : lines) {
        SCOPED_TRACE(now.what);
        dump.clear();
        EXPECT_EQ(fetch(now.text, now.firstColumn), now.badColumns == 0 ? 0 : 1);
        EXPECT_EQ(dump, now.bytes);
        EXPECT_EQ(host.messages(), LogLines(now.badColumns, kBadColumn));
        EXPECT_TRUE(host.traced("stg::IZNVDeviceTalker_Helper::fetchHexDumpLineIntoVector()"));
    }
}

TEST_F(PciDumpLine, IsAppended) {
    dump = {7, 8};
    EXPECT_EQ(fetch("09 0a"), 0);
    EXPECT_EQ(dump, (Dump{7, 8, 9, 10}));
}

std::string initialOffset(const char* number) {
    return std::string("IZNVDeviceTalker_Helper::parsePCIHexDump(): Initial Offset: ") + number;
}

std::string capability(const char* number) {
    return std::string("IZNVDeviceTalker_Helper::parsePCIHexDump(): Current Capability: ") + number;
}

std::string offset(const char* number) {
    return std::string("IZNVDeviceTalker_Helper::parsePCIHexDump(): Current Offset: ") + number;
}

// Negotiated speed, greatest speed, negotiated width, greatest width.
Values link(USHORT_INT speed, USHORT_INT maxSpeed, USHORT_INT width, USHORT_INT maxWidth) {
    return {{"Negotiated Link Speed", speed},
            {"Max Link Speed", maxSpeed},
            {"Negotiated Link Width", width},
            {"Max Link Width", maxWidth}};
}

class PciDump : public ::testing::Test {
protected:
    RESULT parse() {
        host.forgetLines();
        values.clear();
        const RESULT result = helper.parsePCIHexDump(dump, values);
        EXPECT_TRUE(host.traced("stg::IZNVDeviceTalker_Helper::parsePCIHexDump()"));
        return result;
    }

    void put(std::initializer_list<std::pair<std::size_t, USHORT_INT>> bytes) {
        for (const auto& [place, byte] : bytes) {
            dump.at(place) = byte;
        }
    }

    // Five capabilities in a row, the last with this next pointer.
    void putFive(USHORT_INT next) {
        put({{0x34, 0x40}, {0x40, 1}, {0x41, 0x48}, {0x48, 5}, {0x49, 0x50}});
        put({{0x50, 0x11}, {0x51, 0x60}, {0x60, 3}, {0x61, 0x70}, {0x70, 9}, {0x71, next}});
    }

    TracedHost host;
    stg::IZNVDeviceTalker_Helper helper;
    Dump dump = Dump(256, 0);
    Values values;
};

TEST_F(PciDump, CapabilityInFirstPlaceHasNoOffsetLine) {
    put({{0x34, 0x40}, {0x40, 0x10}, {0x41, 0x60}, {0x4C, 0x85}, {0x52, 0x43}});
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values, link(3, 5, 4, 8));
    EXPECT_EQ(host.messages(), (LogLines{initialOffset("64"), capability("16")}));
}

TEST_F(PciDump, CapabilityInSecondPlace) {
    put({{0x34, 0x50}, {0x50, 5}, {0x51, 0x80}, {0x80, 0x10}, {0x8C, 0x21}, {0x92, 0x12}});
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values, link(2, 1, 1, 2));
    EXPECT_EQ(host.messages(),
              (LogLines{initialOffset("80"), capability("5"), offset("128"), capability("16")}));
}

TEST_F(PciDump, AllBitsOfBothLowBytes) {
    put({{0x34, 0x40}, {0x40, 0x10}, {0x4C, 0xFF}, {0x52, 0xFE}});
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values, link(14, 15, 15, 15));
}

TEST_F(PciDump, SixteenLanesReadAsZero) {
    put({{0x34, 0x40}, {0x40, 0x10}, {0x4C, 0x03}, {0x4D, 0x01}, {0x52, 0x03}, {0x53, 0x01}});
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values, link(3, 3, 0, 0));
}

TEST_F(PciDump, CapabilityInSixthPlaceIsFoundAndInTheSeventhNot) {
    putFive(0x80);
    put({{0x80, 0x10}, {0x8C, 0x21}, {0x92, 0x43}});
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values, link(3, 1, 4, 2));
    LogLines expected = {initialOffset("64"), capability("1"),  offset("72"),  capability("5"),
                         offset("80"),        capability("17"), offset("96"),  capability("3"),
                         offset("112"),       capability("9"),  offset("128"), capability("16")};
    EXPECT_EQ(host.messages(), expected);
    put({{0x80, 2}, {0x81, 0x90}, {0x90, 0x10}});
    EXPECT_EQ(parse(), 1);
    EXPECT_EQ(values, Values{});
    expected.back() = capability("2");
    expected.push_back(offset("144"));
    EXPECT_EQ(host.messages(), expected);
}

TEST_F(PciDump, NextPointerZeroIsFollowed) {
    // To the vendor number: its low byte is an id there and its high byte the next offset.
    put({{0, 0x4B}, {1, 0x1B}, {0x34, 0x40}, {0x40, 1}, {0x1B, 0x10}, {0x27, 0x21}, {0x2D, 0x43}});
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values, link(3, 1, 4, 2));
    EXPECT_EQ(host.messages(), (LogLines{initialOffset("64"), capability("1"), offset("0"),
                                         capability("75"), offset("27"), capability("16")}));
}

TEST_F(PciDump, CapabilityAtOffsetZeroCounts) {
    put({{0, 0x10}, {0x0C, 0x21}, {0x12, 0x43}});
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values, link(3, 1, 4, 2));
}

TEST_F(PciDump, LoopInTheListEndsAfterSixHops) {
    put({{0x34, 0x40}, {0x40, 5}, {0x41, 0x40}});
    EXPECT_EQ(parse(), 1);
    EXPECT_EQ(values, Values{});
    EXPECT_EQ(count(host.messages(), capability("5")), 6U);
    EXPECT_EQ(count(host.messages(), offset("64")), 6U);
}

TEST_F(PciDump, WhatLeadsBeyondTheDumpIsAFailure) {
    struct Case {
        const char* what;
        std::size_t size;
        std::map<std::size_t, USHORT_INT> bytes;
    };
    const Case cases[] = {
        {"no dump", 0, {}},
        {"one that ends before the pointer", 0x34, {}},
        {"the pointer", 0x40, {{0x34, 0x40}}},
        {"a pointer that is no byte", 0x40, {{0x34, 0xFFFF}}},
        {"the next pointer", 256, {{0x34, 0xFF}, {0xFF, 5}}},
        {"the link status", 256, {{0x34, 0xEE}, {0xEE, 0x10}}},
        {"all registers", 256, {{0x34, 0xFF}, {0xFF, 0x10}}},
    };
    for (const Case& now : cases) {
        SCOPED_TRACE(now.what);
        dump.assign(now.size, now.size == 0x34 ? 0x10 : 0);
        for (const auto& [place, byte] : now.bytes) {
            dump.at(place) = byte;
        }
        EXPECT_EQ(parse(), 1);
        EXPECT_EQ(values, Values{});
    }
}

TEST_F(PciDump, LastByteOfTheDumpMayBeTheLinkStatus) {
    put({{0x34, 0xED}, {0xED, 0x10}, {0xF9, 0x84}, {0xFF, 0x43}});
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values, link(3, 4, 4, 8));
    dump.assign(0x53, 0);
    put({{0x34, 0x40}, {0x40, 0x10}, {0x52, 0x43}});
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values, link(3, 0, 4, 0));
}

TEST_F(PciDump, EntriesThatAreNoBytesDoNoHarm) {
    dump.assign(256, 0xFFFF);
    EXPECT_EQ(parse(), 1);
    EXPECT_EQ(values, Values{});
    put({{0x34, 0x40}, {0x40, 0x10}});
    EXPECT_EQ(parse(), 0);
    EXPECT_EQ(values, link(15, 15, 31, 31));
}

}  // namespace
