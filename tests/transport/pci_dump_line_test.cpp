// One line of a PCI configuration dump.
#include "traced_host.h"

#include "transport/pci_dump_parser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace std::string_literals;
using vesktest::LogLines;
using vesktest::TracedHost;

using Dump = std::vector<USHORT_INT>;

const char* const kBadColumn = "IZNVDeviceTalker_Helper::fetchHexDumpLineIntoVector(): Error "
                               "fetching number from hex string: stoul";
const char* const kLine = "4b 1b 41 22 07 04 10 00 00 02 08 01 0A FF 80 7f";
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

TEST_F(PciDumpLine, HasAByteAtEveryThirdColumn) {
    EXPECT_EQ(fetch(kLine), 0);
    EXPECT_EQ(dump, kBytes);
    EXPECT_EQ(host.messages(), LogLines{});
    EXPECT_TRUE(host.traced("stg::IZNVDeviceTalker_Helper::fetchHexDumpLineIntoVector()"));
}

TEST_F(PciDumpLine, TrailingBlankChangesNothing) {
    EXPECT_EQ(fetch(kLine + " "s), 0);
    EXPECT_EQ(dump, kBytes);
}

TEST_F(PciDumpLine, TrailingCarriageReturnChangesNothing) {
    EXPECT_EQ(fetch(kLine + "\r"s), 0);
    EXPECT_EQ(dump, kBytes);
}

TEST_F(PciDumpLine, SecondTrailingBlankIsABadColumn) {
    EXPECT_EQ(fetch(kLine + "  "s), 1);
    EXPECT_EQ(dump, kBytes);
    EXPECT_EQ(host.messages(), LogLines{kBadColumn});
}

TEST_F(PciDumpLine, SeparatorMayBeAnyCharacter) {
    EXPECT_EQ(fetch("01-02:03z04\00005901"s), 0);
    EXPECT_EQ(dump, (Dump{1, 2, 3, 4, 5, 1}));
}

TEST_F(PciDumpLine, LastDigitMayStandAlone) {
    EXPECT_EQ(fetch("01 2"), 0);
    EXPECT_EQ(dump, (Dump{1, 2}));
    dump.clear();
    EXPECT_EQ(fetch("c"), 0);
    EXPECT_EQ(dump, Dump{12});
}

TEST_F(PciDumpLine, IsAppended) {
    dump = {7, 8};
    EXPECT_EQ(fetch("09 0a"), 0);
    EXPECT_EQ(dump, (Dump{7, 8, 9, 10}));
}

TEST_F(PciDumpLine, EmptyLineIsNoFailure) {
    EXPECT_EQ(fetch(""), 0);
    EXPECT_EQ(dump, Dump{});
}

TEST_F(PciDumpLine, StartsAtTheFirstColumn) {
    EXPECT_EQ(fetch("01 02 03", 3), 0);
    EXPECT_EQ(dump, (Dump{2, 3}));
    dump.clear();
    EXPECT_EQ(fetch("x01 02", 1), 0);
    EXPECT_EQ(dump, (Dump{1, 2}));
    dump.clear();
    EXPECT_EQ(fetch("01 02", 5), 0);
    EXPECT_EQ(fetch("01 02", 65535), 0);
    EXPECT_EQ(dump, Dump{});
}

TEST_F(PciDumpLine, BadColumnIsLeftOutAndTheFollowingOnesAreRead) {
    EXPECT_EQ(fetch("01 zz 03 .. 05"), 1);
    EXPECT_EQ(dump, (Dump{1, 3, 5}));
    EXPECT_EQ(host.messages(), (LogLines{kBadColumn, kBadColumn}));
    EXPECT_TRUE(host.traced("stg::IZNVDeviceTalker_Helper::fetchHexDumpLineIntoVector()"));
}

TEST_F(PciDumpLine, GoodColumnBehindABadOneDoesNotMendTheResult) {
    EXPECT_EQ(fetch("zz 01"), 1);
    EXPECT_EQ(dump, Dump{1});
}

TEST_F(PciDumpLine, ConversionEndsAtTheFirstOtherCharacter) {
    EXPECT_EQ(fetch("1g f. 7\0 9"s), 0);
    EXPECT_EQ(dump, (Dump{1, 15, 7, 9}));
}

TEST_F(PciDumpLine, ColumnThatStartsWithNoDigitIsBad) {
    EXPECT_EQ(fetch("01 -1 +2  3 \t4 05"), 1);
    EXPECT_EQ(dump, (Dump{1, 5}));
    EXPECT_EQ(host.messages(), (LogLines{kBadColumn, kBadColumn, kBadColumn, kBadColumn}));
}

TEST_F(PciDumpLine, NulBytesAreBadColumns) {
    EXPECT_EQ(fetch("01 \0\0 02"s), 1);
    EXPECT_EQ(dump, (Dump{1, 2}));
    EXPECT_EQ(host.messages(), LogLines{kBadColumn});
}

TEST_F(PciDumpLine, LengthCountsAs16Bits) {
    EXPECT_EQ(fetch(std::string(65536, '1')), 0);
    EXPECT_EQ(dump, Dump{});
    EXPECT_EQ(fetch(std::string(65537, '1')), 0);
    EXPECT_EQ(dump, Dump{0x11});
    dump.clear();
    EXPECT_EQ(fetch(std::string(65540, '1')), 0);
    EXPECT_EQ(dump, (Dump{0x11, 0x11}));
}

TEST_F(PciDumpLine, LongestLinesEnd) {
    const std::string line(65535, '0');
    EXPECT_EQ(fetch(line.substr(1)), 0);
    EXPECT_EQ(dump.size(), 21845U);
    dump.clear();
    EXPECT_EQ(fetch(line), 0);
    EXPECT_EQ(dump.size(), 21845U);
    dump.clear();
    EXPECT_EQ(fetch(line.substr(1), 1), 0);
    EXPECT_EQ(dump.size(), 21845U);
    dump.clear();
    EXPECT_EQ(fetch(line, 2), 0);
    EXPECT_EQ(dump.size(), 21845U);
    dump.clear();
    EXPECT_EQ(fetch(line, 65534), 0);
    EXPECT_EQ(dump, Dump{0});
}

}  // namespace
