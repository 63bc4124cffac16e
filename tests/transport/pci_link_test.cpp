// The PCIe link of the adapter out of the host's dump file, and the local command that asks for it.
#include "connected_talker.h"
#include "noise.h"
#include "pci_dump_file.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <string>

namespace {

using namespace std::string_literals;
using vesktest::kDumpHeader;
using vesktest::kDumpRows;
using vesktest::LogLines;
using vesktest::makeHandle;
using vesktest::ScriptedDriver;
using vesktest::TracedHost;

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

class PciLink : public ::testing::Test {
protected:
    void write(const std::string& text) const {
        host.files().write(vesktest::kPciConfigPath, text);
    }

    RESULT read() {
        host.forgetLines();
        values.clear();
        return talker().getPCIeInfo(values);
    }

    // The command, with a buffer that was filled before.
    RESULT execute() {
        link = {0xE1, 0xE2, 0xE3, 0xE4};
        CCommandDword command;
        command.setcdw_6_7(link.data());
        host.forgetLines();
        return talker().executeCMD(&command, 0);
    }

    CVMWareZNVDeviceTalker& talker() const { return connected.talker(); }

    TracedHost host;
    ScriptedDriver driver;  // without a script: no call may come but the last close
    vesktest::ConnectedTalker connected{driver};
    Values values;
    Link link{};
};

TEST_F(PciLink, IsReadFromTheDump) {
    write(std::string(kDumpHeader) + kDumpRows);
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
    write(std::string(kDumpHeader) + kDumpRows);
    EXPECT_EQ(execute(), 0);
    EXPECT_EQ(link, (Link{3, 5, 4, 8}));
    EXPECT_EQ(host.messages().back(), "CVMWareZNVDeviceTalker::executeCMD: Return code: 0");
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::executeCMD()"));
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion()"));
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST_F(PciLink, FailedCommandLeavesTheBufferAlone) {
    EXPECT_EQ(execute(), 1);
    EXPECT_EQ(link, (Link{0xE1, 0xE2, 0xE3, 0xE4}));
    EXPECT_EQ(host.messages(), LogLines{"CVMWareZNVDeviceTalker::executeCMD: Return code: 1"});
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST_F(PciLink, CommandWithoutABufferIsNoHarm) {
    write(std::string(kDumpHeader) + kDumpRows);
    CCommandDword command;
    talker().executeCMD(&command, 0);
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST_F(PciLink, WithoutAHandleTheCommandFailsAndReadsNothing) {
    write(std::string(kDumpHeader) + kDumpRows);
    const std::unique_ptr<nvme_handle, decltype(&std::free)> kept(
        static_cast<nvme_handle*>(talker().getHandle()), &std::free);
    talker().setHandle(nullptr);
    EXPECT_EQ(execute(), 1);
    EXPECT_EQ(link, (Link{0xE1, 0xE2, 0xE3, 0xE4}));
    EXPECT_FALSE(vesktest::contains(host.messages(), kFound));
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST_F(PciLink, MissingFileIsAFailureWithoutAWord) {
    EXPECT_EQ(read(), 1);
    EXPECT_EQ(values, Values{});
    EXPECT_EQ(host.messages(), LogLines{});
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::getPCIeInfo()"));
}

TEST_F(PciLink, NoHeaderOfTheAdapterIsAFailureWithoutAWord) {
    write("0000:3b:00.0 [vmhba1]\n"s + kDumpRows);
    EXPECT_EQ(read(), 1);
    write("");
    EXPECT_EQ(read(), 1);
    EXPECT_EQ(values, Values{});
    EXPECT_EQ(host.messages(), LogLines{});
}

TEST_F(PciLink, HeaderWithoutADumpIsAFailure) {
    write(kDumpHeader);
    EXPECT_EQ(read(), 1);
    EXPECT_EQ(values, Values{});
    EXPECT_EQ(host.messages(), LogLines{kFound});
}

TEST_F(PciLink, LinesBeforeTheHeaderAreSkipped) {
    write("ff ff ff ff\n\nzz\n0000:01:00.0 [vmhba1]\n"s + kDumpRows + kDumpHeader + kDumpRows);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(values, kValues);
    EXPECT_EQ(vesktest::count(host.messages(), kFound), 1U);
}

TEST_F(PciLink, HeaderOfALongerNameMatches) {
    write("x vmhba21 y\n"s + kDumpRows);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(values, kValues);
}

TEST_F(PciLink, LinesBehindTheSixteenthAreNoDump) {
    write(std::string(kDumpHeader) + kDumpRows + "zz zz\nyy\n");
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(values, kValues);
    EXPECT_FALSE(vesktest::contains(host.messages(), kBadColumn));
}

TEST_F(PciLink, CarriageReturnsAndAMissingLastLineEndAreNoMatter) {
    std::string text = std::string(kDumpHeader) + kDumpRows;
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) {
        text.insert(at, "\r");
    }
    write(text);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(values, kValues);
    text.resize(text.size() - 2);
    write(text);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(values, kValues);
}

TEST_F(PciLink, SecondHeaderParsesTheFirstDumpAgain) {
    std::string other = kDumpRows;
    other.replace(other.find("85"), 2, "11");
    other.replace(other.find("43"), 2, "22");
    write(std::string(kDumpHeader) + kDumpRows + kDumpHeader + other);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(values, kValues);
    EXPECT_EQ(vesktest::count(host.messages(), kFound), 2U);
    EXPECT_EQ(vesktest::count(host.messages(), kParsed), 2U);
    EXPECT_EQ(vesktest::count(host.messages(),
                              "CVMWareZNVDeviceTalker::getPCIeInfo(): Max Link Speed: 5"),
              2U);
}

TEST_F(PciLink, CutDumpGoesToTheParserWithWhatItHas) {
    // Nine rows hold all that is read, three do not reach the list's pointer.
    write(std::string(kDumpHeader) + std::string(kDumpRows, std::size_t{9} * 48));
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(values, kValues);
    write(std::string(kDumpHeader) + std::string(kDumpRows, std::size_t{3} * 48));
    EXPECT_EQ(read(), 1);
    EXPECT_EQ(values, kZeros);
}

TEST_F(PciLink, FailedParseStillLogsTheFourValues) {
    std::string rows = kDumpRows;
    rows.replace(rows.find("10 00 02 00"), 2, "11");
    write(kDumpHeader + rows);
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
    EXPECT_EQ(link, (Link{0xE1, 0xE2, 0xE3, 0xE4}));
}

TEST_F(PciLink, BadRowMeansNoParse) {
    std::string rows = kDumpRows;
    rows.replace(rows.find("43"), 2, "zz");
    write(kDumpHeader + rows);
    EXPECT_EQ(read(), 1);
    EXPECT_EQ(values, Values{});
    EXPECT_EQ(host.messages(), (LogLines{kFound, kBadColumn}));
    EXPECT_EQ(execute(), 1);
    EXPECT_EQ(link, (Link{0xE1, 0xE2, 0xE3, 0xE4}));
}

TEST_F(PciLink, FurtherHeaderRestartsTheReadingBehindABadRow) {
    write(kDumpHeader + "zz\n"s + kDumpHeader + kDumpRows);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(values, kValues);
    EXPECT_EQ(vesktest::count(host.messages(), kFound), 2U);
    EXPECT_TRUE(vesktest::inOrder(host.messages(), {kFound, kBadColumn, kFound, kParsed}));
}

TEST_F(PciLink, FurtherHeaderBehindABadLastRowDoesNotParse) {
    std::string rows = kDumpRows;
    rows.replace(rows.size() - 3, 2, "zz");
    write(kDumpHeader + rows + kDumpHeader + kDumpRows);
    EXPECT_EQ(read(), 1);
    EXPECT_EQ(values, Values{});
    EXPECT_EQ(host.messages(), (LogLines{kFound, kBadColumn, kFound}));
}

TEST_F(PciLink, HugeLinesEnd) {
    write(std::string(kDumpHeader) + kDumpRows + std::string(2000000, 'f'));
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(values, kValues);
    write(kDumpHeader + std::string(65534, '0') + "\n" + kDumpRows);
    EXPECT_EQ(read(), 1);
    write("vmhba2" + std::string(2000000, 'f'));
    EXPECT_EQ(read(), 1);
    write(std::string(kDumpHeader) + std::string(500000, '\n'));
    EXPECT_EQ(read(), 1);
}

TEST_F(PciLink, ArbitraryBytesDoNoHarm) {
    for (std::uint32_t seed = 0; seed < 20; ++seed) {
        const std::vector<std::uint8_t> bytes = vesktest::noise(2000, seed);
        write(kDumpHeader + std::string(bytes.begin(), bytes.end()) + "\0\n\0\0"s);
        EXPECT_EQ(read(), 1);
        EXPECT_EQ(execute(), 1);
        EXPECT_EQ(link, (Link{0xE1, 0xE2, 0xE3, 0xE4}));
    }
}

TEST_F(PciLink, HexadecimalDumpsThatLeadNowhereDoNoHarm) {
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
        EXPECT_EQ(link, (Link{0xE1, 0xE2, 0xE3, 0xE4}));
    }
}

}  // namespace
