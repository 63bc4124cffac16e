// The PCIe link of the adapter out of the host's dump file, and the local command that asks for it.
#include "connected_talker.h"
#include "memory_faults.h"
#include "noise.h"
#include "pci_dump_file.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>

namespace {

using namespace std::string_literals;
using namespace vesktest;

using Values = std::map<STDSTR, USHORT_INT>;
using Link = std::array<std::uint8_t, 4>;

const Values kValues = {{"Negotiated Link Speed", 3},
                        {"Max Link Speed", 5},
                        {"Negotiated Link Width", 4},
                        {"Max Link Width", 8}};
const Values kZeros = {{"Negotiated Link Speed", 0},
                       {"Max Link Speed", 0},
                       {"Negotiated Link Width", 0},
                       {"Max Link Width", 0}};
const char* const kFound =
    "CVMWareZNVDeviceTalker::getPCIeInfo: Found Zenthra NVMe controller in pci config file";
const char* const kBadColumn = "IZNVDeviceTalker_Helper::fetchHexDumpLineIntoVector(): Error "
                               "fetching number from hex string: stoul";
const char* const kParsed =
    "CVMWareZNVDeviceTalker::getPCIeInfo(): Parse PCI config space hex dump result: 0";
const char* const kNotParsed =
    "CVMWareZNVDeviceTalker::getPCIeInfo(): Parse PCI config space hex dump result: 1";
const char* const kNoMemory = "CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion(): Memory "
                              "allocation failed: std::bad_alloc";
const Link kUntouched = {0xE1, 0xE2, 0xE3, 0xE4};

// The good dump with other characters in place of the first such ones.
std::string rowsWith(const std::string& old, const std::string& other) {
    std::string rows = kDumpRows;
    return rows.replace(rows.find(old), other.size(), other);
}

class PciLink : public ::testing::Test {
protected:
    void write(const std::string& text) const { host.files().write(kPciConfigPath, text); }

    RESULT read() {
        host.forgetLines();
        values.clear();
        return talker().getPCIeInfo(values);
    }

    // The command, with a buffer that was filled before.
    RESULT execute() {
        link = kUntouched;
        CCommandDword command;
        command.setcdw_6_7(link.data());
        host.forgetLines();
        return talker().executeCMD(&command, 0);
    }

    // What is made of a file, by itself and by the command; of the log, the lines of headers, rows
    // and parses.
    void expectFile(const std::string& text, RESULT result, const Values& expected,
                    const LogLines& lines) {
        SCOPED_TRACE(text.substr(0, 300));
        write(text);
        EXPECT_EQ(read(), result);
        EXPECT_EQ(values, expected);
        LogLines own;
        for (const std::string& line : host.messages()) {
            if (line == kFound || line == kBadColumn || line == kParsed || line == kNotParsed) {
                own.push_back(line);
            }
        }
        EXPECT_EQ(own, lines);
        EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::getPCIeInfo()"));
        EXPECT_EQ(execute(), result);
        EXPECT_EQ(link, result == 0 ? (Link{3, 5, 4, 8}) : kUntouched);
    }

    CVMWareZNVDeviceTalker& talker() const { return connected.talker(); }

    TracedHost host;
    ScriptedDriver driver;  // without a script: no call may come but the last close
    ConnectedTalker connected{driver};
    const std::string good = std::string(kDumpHeader) + kDumpRows;
    Values values;
    Link link{};
};

TEST_F(PciLink, IsReadFromTheDump) {
    write(good);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(values, kValues);
    EXPECT_EQ(host.messages(),
              (LogLines{kFound, "IZNVDeviceTalker_Helper::parsePCIHexDump(): Initial Offset: 64",
                        "IZNVDeviceTalker_Helper::parsePCIHexDump(): Current Capability: 1",
                        "IZNVDeviceTalker_Helper::parsePCIHexDump(): Current Offset: 112",
                        "IZNVDeviceTalker_Helper::parsePCIHexDump(): Current Capability: 16",
                        kParsed, "CVMWareZNVDeviceTalker::getPCIeInfo(): Negotiated Link Speed 3",
                        "CVMWareZNVDeviceTalker::getPCIeInfo(): Max Link Speed: 5",
                        "CVMWareZNVDeviceTalker::getPCIeInfo(): Negotiated Link Width: 4",
                        "CVMWareZNVDeviceTalker::getPCIeInfo(): Max Link Width: 8"}));
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::getPCIeInfo()"));
}

TEST_F(PciLink, CommandPutsTheFourBytesInTheirOrder) {
    write(good);
    EXPECT_EQ(execute(), 0);
    EXPECT_EQ(link, (Link{3, 5, 4, 8}));
    EXPECT_EQ(host.messages().back(), "CVMWareZNVDeviceTalker::executeCMD: Return code: 0");
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::executeCMD()"));
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion()"));
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST_F(PciLink, MissingFileFailsTheCommandWithoutAWordAndLeavesItsBufferAlone) {
    EXPECT_EQ(execute(), 1);
    EXPECT_EQ(link, kUntouched);
    EXPECT_EQ(host.messages(), LogLines{"CVMWareZNVDeviceTalker::executeCMD: Return code: 1"});
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST_F(PciLink, CommandWithoutABufferSucceedsAndGoesNowhere) {
    write(good);
    CCommandDword command;
    EXPECT_EQ(talker().executeCMD(&command, 0), 0);
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST_F(PciLink, WithoutAHandleTheCommandFailsAndReadsNothing) {
    write(good);
    const std::unique_ptr<nvme_handle, decltype(&std::free)> kept(
        static_cast<nvme_handle*>(talker().getHandle()), &std::free);
    talker().setHandle(nullptr);
    EXPECT_EQ(execute(), 1);
    EXPECT_EQ(link, kUntouched);
    EXPECT_FALSE(contains(host.messages(), kFound));
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST_F(PciLink, FileWithoutADumpOfTheAdapterFails) {
    expectFile("", 1, {}, {});
    expectFile("0000:3b:00.0 [vmhba1]\n"s + kDumpRows, 1, {}, {});
    expectFile(kDumpHeader, 1, {}, {kFound});
    expectFile("vmhba2" + std::string(2000000, 'f'), 1, {}, {kFound});
}

TEST_F(PciLink, DumpIsFoundBehindALineThatHoldsTheName) {
    expectFile("ff ff ff ff\n\nzz\n0000:01:00.0 [vmhba1]\n" + (kDumpRows + good), 0, kValues,
               {kFound, kParsed});
    expectFile("x vmhba21 y\n"s + kDumpRows, 0, kValues, {kFound, kParsed});
}

TEST_F(PciLink, DumpEndsBehindTheSixteenthRow) {
    expectFile(good + "zz zz\nyy\n", 0, kValues, {kFound, kParsed});
    expectFile(good + std::string(2000000, 'f'), 0, kValues, {kFound, kParsed});
}

TEST_F(PciLink, CarriageReturnsAndAMissingLastLineEndAreNoMatter) {
    std::string text = good;
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) {
        text.insert(at, "\r");
    }
    expectFile(text, 0, kValues, {kFound, kParsed});
    expectFile(text.substr(0, text.size() - 2), 0, kValues, {kFound, kParsed});
}

TEST_F(PciLink, CutDumpGoesToTheParserWithWhatItHas) {
    // Nine rows hold all that is read, three do not reach the list's pointer.
    expectFile(kDumpHeader + std::string(kDumpRows, std::size_t{9} * 48), 0, kValues,
               {kFound, kParsed});
    expectFile(kDumpHeader + std::string(kDumpRows, std::size_t{3} * 48), 1, kZeros,
               {kFound, kNotParsed});
    expectFile(kDumpHeader + std::string(500000, '\n'), 1, kZeros, {kFound, kNotParsed});
    // One that is longer than 256 bytes.
    expectFile(kDumpHeader + std::string(65534, '0') + "\n" + kDumpRows, 1, kZeros,
               {kFound, kNotParsed});
}

TEST_F(PciLink, BadRowMeansNoParseUntilAFurtherHeader) {
    expectFile(kDumpHeader + rowsWith("43", "zz"), 1, {}, {kFound, kBadColumn});
    expectFile(kDumpHeader + "zz\n"s + good, 0, kValues, {kFound, kBadColumn, kFound, kParsed});
    // Of sixteen rows none is left to read.
    std::string badLastRow = kDumpRows;
    badLastRow.replace(badLastRow.size() - 3, 2, "zz");
    expectFile(kDumpHeader + badLastRow + good, 1, {}, {kFound, kBadColumn, kFound});
}

TEST_F(PciLink, SecondHeaderParsesTheFirstDumpAgain) {
    std::string other = kDumpRows;
    other.replace(other.find("85"), 2, "11");
    other.replace(other.find("43"), 2, "22");
    write(std::string(kDumpHeader) + kDumpRows + kDumpHeader + other);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(values, kValues);
    EXPECT_EQ(count(host.messages(), kFound), 2U);
    EXPECT_EQ(count(host.messages(), kParsed), 2U);
    EXPECT_EQ(count(host.messages(), "CVMWareZNVDeviceTalker::getPCIeInfo(): Max Link Speed: 5"),
              2U);
}

TEST_F(PciLink, FailedParseStillLogsTheFourValues) {
    write(kDumpHeader + rowsWith("10 00 02 00", "11"));
    EXPECT_EQ(read(), 1);
    EXPECT_EQ(values, kZeros);
    const LogLines messages = host.messages();
    ASSERT_EQ(messages.size(), 19U);
    EXPECT_EQ(
        (LogLines(messages.end() - 5, messages.end())),
        (LogLines{kNotParsed, "CVMWareZNVDeviceTalker::getPCIeInfo(): Negotiated Link Speed 0",
                  "CVMWareZNVDeviceTalker::getPCIeInfo(): Max Link Speed: 0",
                  "CVMWareZNVDeviceTalker::getPCIeInfo(): Negotiated Link Width: 0",
                  "CVMWareZNVDeviceTalker::getPCIeInfo(): Max Link Width: 0"}));
    EXPECT_EQ(execute(), 1);
    EXPECT_EQ(link, kUntouched);
}

TEST_F(PciLink, ArbitraryBytesFailTheCommand) {
    for (std::uint32_t seed = 0; seed < 20; ++seed) {
        const std::vector<std::uint8_t> bytes = noise(2000, seed);
        write(kDumpHeader + std::string(bytes.begin(), bytes.end()) + "\0\n\0\0"s);
        EXPECT_EQ(read(), 1);
        EXPECT_EQ(execute(), 1);
        EXPECT_EQ(link, kUntouched);
    }
}

TEST_F(PciLink, HexadecimalDumpsThatLeadNowhereFailTheCommand) {
    const std::array<const char*, 4> bytes = {"ff ", "fe ", "35 ", "33 "};
    for (const char* byte : bytes) {
        std::string text = kDumpHeader;
        for (int row = 0; row < 16; ++row) {
            for (int column = 0; column < 16; ++column) {
                text += byte;
            }
            text += '\n';
        }
        write(text);
        EXPECT_EQ(execute(), 1);
        EXPECT_EQ(link, kUntouched);
    }
}

TEST_F(PciLink, AllocationFailureWhileReadingFailsTheCommand) {
    if (!kCanFailNew) {
        GTEST_SKIP() << kWhyNewCannotFail;
    }
    write(good);
    {
        // The bytes of the dump, 16 bits each.
        const FailNew fault(AllocationSize::exactly(512));
        EXPECT_EQ(execute(), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(link, kUntouched);
    EXPECT_EQ(host.messages(),
              (LogLines{kNoMemory, "CVMWareZNVDeviceTalker::executeCMD: Return code: 1"}));
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion()"));
}

TEST_F(PciLink, EachAllocationThatFailsFailsTheCommandOrLosesALineOfTheLog) {
    if (!kCanFailNew) {
        GTEST_SKIP() << kWhyNewCannotFail;
    }
    write(good);
    CCommandDword command;
    command.setcdw_6_7(link.data());
    bool triggered = true;
    unsigned failures = 0;
    for (unsigned nth = 1; triggered; ++nth) {
        SCOPED_TRACE(nth);
        link = kUntouched;
        RESULT result = 0;
        {
            const FailNew fault(AllocationSize::any(), nth);
            result = talker().executeCMD(&command, 0);
            triggered = fault.triggered();
        }
        ASSERT_EQ(link, result == 0 ? (Link{3, 5, 4, 8}) : kUntouched);
        failures += result;
    }
    EXPECT_GE(failures, 2U) << "the name of the file, and the dump";
}

}  // namespace
